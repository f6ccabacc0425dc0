#include "platform/qt/form_printer.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPdfWriter>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "platform/control_visitor.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/conversions.h"
#include "platform/qt/twips.h"

namespace pelmora {

namespace {

constexpr double kTwipsPerPoint = 20.0;
constexpr double kFrameTwips = 15.0;
constexpr double kPaddingTwips = 45.0;
constexpr double kPngDpi = 144.0;  // ten twips to the pixel
const QColor kFrameColour(0x80, 0x80, 0x80);

// The platform's own face and size, as a pixel size in twips, so that text
// has the same size on paper as on the screen whatever the device's DPI.
QFont PageFont(bool bold) {
  QFont font = QGuiApplication::font();
  const double points = font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72.0 / 96.0;
  font.setPixelSize(static_cast<int>(std::lround(points * kTwipsPerPoint)));
  font.setBold(bold);
  font.setHintingPreference(QFont::PreferNoHinting);
  return font;
}

QRectF RectOf(const Control& c) { return QRectF(c.Left(), c.Top(), c.Width(), c.Height()); }

void Frame(QPainter& painter, const QRectF& box, const QColor& fill, double width = kFrameTwips) {
  QPen pen(kFrameColour);
  pen.setWidthF(width);
  painter.setPen(pen);
  painter.setBrush(fill);
  const double half = width / 2;
  painter.drawRect(box.adjusted(half, half, -half, -half));
}

void PaintList(QPainter& painter, const ListBox& list) {
  const QRectF box = RectOf(list);
  Frame(painter, box, list.BackColor ? FromRgb(*list.BackColor) : QColor(Qt::white));
  const QFont font = PageFont(false);
  const QFontMetricsF metrics(font);
  painter.setFont(font);
  painter.setPen(list.ForeColor ? FromRgb(*list.ForeColor) : QColor(Qt::black));
  painter.setClipRect(box.adjusted(kFrameTwips, kFrameTwips, -kFrameTwips, -kFrameTwips));
  double baseline = box.top() + kPaddingTwips + metrics.ascent();
  for (const std::string& item : list.Items()) {
    if (baseline - metrics.ascent() > box.bottom()) break;
    painter.drawText(QPointF(box.left() + kPaddingTwips, baseline), ToQString(item));
    baseline += metrics.lineSpacing();
  }
}

void PaintLabel(QPainter& painter, const Label& label) {
  const QRectF box = RectOf(label);
  if (label.BackColor) painter.fillRect(box, FromRgb(*label.BackColor));
  painter.setFont(PageFont(label.FontBold));
  painter.setPen(label.ForeColor ? FromRgb(*label.ForeColor) : QColor(Qt::black));
  painter.setClipRect(box);
  painter.drawText(box, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, ToQString(label.Caption()));
}

void PaintButton(QPainter& painter, const CommandButton& button) {
  const QRectF box = RectOf(button);
  Frame(painter, box, QColor(0xE0, 0xE0, 0xE0));
  painter.setFont(PageFont(false));
  painter.setPen(Qt::black);
  painter.setClipRect(box);
  painter.drawText(box, Qt::AlignCenter, ToQString(button.Caption()));
}

void PaintCheck(QPainter& painter, const CheckBox& check) {
  const QRectF box = RectOf(check);
  const double side = std::min(195.0, box.height());
  const QRectF tick(box.left(), box.center().y() - side / 2, side, side);
  Frame(painter, tick, check.Value() == 2 ? QColor(0xC0, 0xC0, 0xC0) : QColor(Qt::white));
  if (check.Value() != 0) {
    QPen pen(Qt::black);
    pen.setWidthF(25);
    painter.setPen(pen);
    const QRectF in = tick.adjusted(side / 4, side / 4, -side / 4, -side / 4);
    painter.drawLine(in.topLeft(), in.bottomRight());
    painter.drawLine(in.bottomLeft(), in.topRight());
  }
  painter.setFont(PageFont(false));
  painter.setPen(check.ForeColor ? FromRgb(*check.ForeColor) : QColor(Qt::black));
  const QRectF text = box.adjusted(side + 60, 0, 0, 0);
  painter.setClipRect(box);
  painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, ToQString(check.Caption()));
}

void PaintText(QPainter& painter, const TextBox& text) {
  const QRectF box = RectOf(text);
  Frame(painter, box, text.BackColor ? FromRgb(*text.BackColor) : QColor(Qt::white));
  painter.setFont(PageFont(false));
  painter.setPen(text.ForeColor ? FromRgb(*text.ForeColor) : QColor(Qt::black));
  painter.setClipRect(box);
  painter.drawText(box.adjusted(kPaddingTwips, 0, -kPaddingTwips, 0), Qt::AlignLeft | Qt::AlignVCenter,
                   ToQString(text.Text()));
}

void PaintPicture(QPainter& painter, const PictureBox& box) {
  const PictureHandle& picture = box.Picture();
  if (!picture) return;
  painter.setClipRect(RectOf(box));
  if (box.BorderStyle == 1) {
    Frame(painter, RectOf(box), Qt::white, PictureBox::kBorderTwips);
    painter.translate(PictureBox::kBorderTwips, PictureBox::kBorderTwips);
  }
  painter.translate(box.Left(), box.Top());
  // The printed picture is the one last assigned: what was drawn on the
  // surface (the circles) isn't part of it.
  PaintGridPicture(painter, *picture, GridLines::Paper);
}

}  // namespace

void PaintFormPage(QPainter& painter, Form& form) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  // The grid and the timers are never on the page.
  for (Control* control : form.Controls()) {
    if (!control->Visible()) continue;
    painter.save();
    VisitControl(
        *control, [&](PictureBox& box) { PaintPicture(painter, box); },
        [&](Label& label) { PaintLabel(painter, label); }, [&](ListBox& list) { PaintList(painter, list); },
        [&](CommandButton& button) { PaintButton(painter, button); },
        [&](CheckBox& check) { PaintCheck(painter, check); }, [&](TextBox& text) { PaintText(painter, text); });
    painter.restore();
  }
  painter.restore();
}

bool PrintFormOn(QPagedPaintDevice& device, Form& form) {
  // Turn the page when the form is wider than the paper and fits across it.
  const QRectF room = device.pageLayout().paintRect(QPageLayout::Inch);
  const double width = form.ClientWidth() / kTwipsPerInch;
  const double height = form.ClientHeight() / kTwipsPerInch;
  if (width > room.width() && width <= room.height() && height <= room.width())
    device.setPageOrientation(device.pageLayout().orientation() == QPageLayout::Portrait
                                  ? QPageLayout::Landscape
                                  : QPageLayout::Portrait);

  QPainter painter;
  if (!painter.begin(&device)) return false;
  const double scale = device.logicalDpiX() / kTwipsPerInch;
  painter.scale(scale, device.logicalDpiY() / kTwipsPerInch);
  PaintFormPage(painter, form);
  return painter.end();
}

QImage RenderFormToImage(Form& form, double dpi) {
  QImage image(TwipsToWholePixels(form.ClientWidth(), dpi), TwipsToWholePixels(form.ClientHeight(), dpi),
               QImage::Format_RGB32);
  const int dotsPerMeter = static_cast<int>(std::lround(dpi / 0.0254));
  image.setDotsPerMeterX(dotsPerMeter);
  image.setDotsPerMeterY(dotsPerMeter);
  image.fill(Qt::white);
  QPainter painter(&image);
  painter.scale(dpi / kTwipsPerInch, dpi / kTwipsPerInch);
  PaintFormPage(painter, form);
  painter.end();
  return image;
}

QPageLayout SavedSheetLayout() {
  return QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(12.7, 12.7, 12.7, 12.7),
                     QPageLayout::Millimeter);
}

QByteArray RenderFormToPdf(Form& form, const QPageLayout& page) {
  QBuffer pdf;
  pdf.open(QIODevice::WriteOnly);
  {
    QPdfWriter writer(&pdf);
    writer.setResolution(1200);
    writer.setCreator(QStringLiteral("Pelmora"));
    writer.setTitle(QStringLiteral("Pelmora sheet"));
    writer.setPageLayout(page);
    if (!PrintFormOn(writer, form)) return {};
  }
  return pdf.data();
}

std::string WriteWholeFile(const QString& path, const QByteArray& bytes) {
  const QByteArray name = QFile::encodeName(path);
  const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return std::strerror(errno);
  const char* at = bytes.constData();
  for (qsizetype left = bytes.size(); left > 0;) {
    const ssize_t written = ::write(fd, at, static_cast<std::size_t>(left));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      const std::string why = std::strerror(written < 0 ? errno : ENOSPC);
      ::close(fd);
      ::unlink(name.constData());  // no half a sheet left behind
      return why;
    }
    at += written;
    left -= written;
  }
  // A full disk may show only now.
  if (::fsync(fd) != 0 && errno != EINVAL) {
    const std::string why = std::strerror(errno);
    ::close(fd);
    ::unlink(name.constData());
    return why;
  }
  if (::close(fd) != 0) {
    const std::string why = std::strerror(errno);
    ::unlink(name.constData());
    return why;
  }
  return {};
}

bool RenderFormToFile(Form& form, const QString& path) {
  const QString suffix = QFileInfo(path).suffix().toLower();
  if (suffix == QLatin1String("png")) return RenderFormToImage(form, kPngDpi).save(path, "PNG");
  if (suffix != QLatin1String("pdf")) return false;
  const QByteArray pdf = RenderFormToPdf(form, SavedSheetLayout());
  return !pdf.isEmpty() && WriteWholeFile(path, pdf).empty();
}

}  // namespace pelmora
