#pragma once
// A form's client area with its controls composed as a page: the printed
// form. Everything is drawn with vectors in twips at true scale (1440 to the
// inch), the picture box through the board painter without its circles, so
// the sheet is sharp on any device.

#include <QByteArray>
#include <QImage>
#include <QPageLayout>
#include <QString>
#include <string>

#include "platform/form.h"

class QPainter;
class QPagedPaintDevice;

namespace pelmora {

// Paints the form's client area and its visible controls; the painter's unit
// must be the twip.
void PaintFormPage(QPainter& painter, Form& form);

// Composes the page on a printer or a PDF writer, from the top left corner
// of its printable area. False when the device can't be painted on.
bool PrintFormOn(QPagedPaintDevice& device, Form& form);

// The page as an image at dpi (white where the form has nothing).
QImage RenderFormToImage(Form& form, double dpi);

// The page of a sheet saved as a PDF file: A4, half-inch margins.
QPageLayout SavedSheetLayout();

// The page as a PDF on the given paper, drawn inside its margins; empty when
// it can't be drawn.
QByteArray RenderFormToPdf(Form& form, const QPageLayout& page);

// Writes bytes to path, whole or not at all: empty when they are on disk,
// otherwise the system's words for what went wrong ("Permission denied",
// "No space left on device").
std::string WriteWholeFile(const QString& path, const QByteArray& bytes);

// Writes the page to path: a PDF for ".pdf" (on SavedSheetLayout), a PNG for
// ".png" (at 144 dpi), anything else fails. True when the file was written.
bool RenderFormToFile(Form& form, const QString& path);

}  // namespace pelmora
