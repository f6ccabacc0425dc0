#pragma once
// A form's client area with its controls composed as a page: the printed
// form. Everything is drawn with vectors in twips at true scale (1440 to the
// inch), the picture box through the board painter without its circles, so
// the sheet is sharp on any device.

#include <QImage>
#include <QString>

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

// Writes the page to path: a PDF for ".pdf", a PNG for ".png" (at 144 dpi),
// anything else fails. True when the file was written.
bool RenderFormToFile(Form& form, const QString& path);

}  // namespace pelmora
