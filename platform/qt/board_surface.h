#pragma once
// The view of a PictureBox: the grid picture painted with vectors, then the
// circles drawn on it. A press of the mouse goes to the model in twips.

#include <QWidget>
#include <functional>

#include "platform/qt/control_views.h"

namespace pelmora {

class BoardSurface final : public QWidget, public ControlView {
  Q_OBJECT
 public:
  BoardSurface(PictureBox& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

  // Where a point of the surface given in twips lies in the widget, and
  // back. The way back is exact to a millionth of a twip, so a press at the
  // pixel of any twip position reaches the handler as that position.
  QPointF PixelsOf(double xTwips, double yTwips) const;
  QPointF TwipsOf(QPointF pixels) const;

  // Told of each circle once it is on screen.
  std::function<void(const CircleMark&)> onCircleShown;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void Sync(Change what, int index) override;
  PictureBox& Box() const { return static_cast<PictureBox&>(*model_); }
  double TwipsPerPixel() const;
};

// The mouse button as the controls' events number it: 1 left, 2 right,
// 4 middle; 0 for any other.
int MouseButtonOf(Qt::MouseButton button);

}  // namespace pelmora
