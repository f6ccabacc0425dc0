#include "platform/qt/board_surface.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <cmath>

#include "platform/qt/board_painter.h"
#include "platform/qt/form_window.h"
#include "platform/qt/twips.h"

namespace pelmora {

int MouseButtonOf(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton: return 1;
    case Qt::RightButton: return 2;
    case Qt::MiddleButton: return 4;
    default: return 0;
  }
}

BoardSurface::BoardSurface(PictureBox& model, FormWindow& window, QWidget* parent)
    : QWidget(parent), ControlView(model, window) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  SyncGeometry();
  SyncVisible();
  Observe();
}

double BoardSurface::TwipsPerPixel() const { return kTwipsPerInch / window_.Dpi(); }

QPointF BoardSurface::PixelsOf(double xTwips, double yTwips) const {
  return QPointF(xTwips, yTwips) / TwipsPerPixel();
}

QPointF BoardSurface::TwipsOf(QPointF pixels) const {
  const auto exact = [](double twips) { return std::round(twips * 1e6) / 1e6; };
  return QPointF(exact(pixels.x() * TwipsPerPixel()), exact(pixels.y() * TwipsPerPixel()));
}

void BoardSurface::Sync(Change what, int index) {
  if (!model_) return;
  switch (what) {
    case Change::Picture:
      update();
      return;
    case Change::Circle: {
      // Drawn at once, not at the next pass of the event loop: a handler may
      // go on to wait in a message box with the circle meant to be in view.
      if (index < 0 || index >= static_cast<int>(Box().Circles().size())) return;
      const QRectF twips = CircleBoundsTwips(Box().Circles()[static_cast<std::size_t>(index)],
                                             TwipsPerPixel());
      const double scale = 1.0 / TwipsPerPixel();
      const QRectF pixels(twips.left() * scale, twips.top() * scale, twips.width() * scale,
                          twips.height() * scale);
      repaint(pixels.toAlignedRect().adjusted(-1, -1, 1, 1));
      if (onCircleShown) onCircleShown(Box().Circles()[static_cast<std::size_t>(index)]);
      return;
    }
    case Change::ZOrder:
      raise();
      return;
    case Change::Refresh:
      repaint();
      return;
    default:
      SyncCommon(what);
  }
}

void BoardSurface::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(event->rect(), palette().window());
  if (!model_) return;
  const double twipsPerPixel = TwipsPerPixel();
  const QRect exposed = event->rect();
  const QRectF exposedTwips(exposed.left() * twipsPerPixel, exposed.top() * twipsPerPixel,
                            exposed.width() * twipsPerPixel, exposed.height() * twipsPerPixel);
  painter.scale(1.0 / twipsPerPixel, 1.0 / twipsPerPixel);
  if (const PictureHandle& picture = Box().Picture())
    PaintGridPicture(painter, *picture, GridLines::Screen, exposedTwips);
  PaintCircles(painter, Box().Circles(), twipsPerPixel, exposedTwips);
}

void BoardSurface::mousePressEvent(QMouseEvent* event) {
  event->accept();
  auto* box = static_cast<PictureBox*>(model_);
  if (!box) return;
  const int button = MouseButtonOf(event->button());
  const int shift = ShiftStateOf(event->modifiers());
  const QPointF twips = TwipsOf(event->position());
  const auto x = static_cast<float>(twips.x());
  const auto y = static_cast<float>(twips.y());
  Door().Dispatch([box, button, shift, x, y] { box->UserMouseDown(button, shift, x, y); });
}

}  // namespace pelmora
