#pragma once
// The view of a PictureBox: the grid picture painted with vectors at the
// window's scale, then the circles drawn on it. A press of the mouse goes to
// the model in twips.

#include <QRegion>
#include <QWidget>
#include <functional>
#include <vector>

#include "platform/qt/control_views.h"

namespace pelmora {

class BoardSurface final : public QWidget, public ControlView {
  Q_OBJECT
 public:
  BoardSurface(PictureBox& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }
  void Rescale() override;

  // Where a point of the surface given in twips lies in the widget, and
  // back, at the window's present scale. The way back is exact to a
  // millionth of a twip, so a press at the pixel of any twip position
  // reaches the handler as that position.
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
  // The cell edges of the picture shown, in twips from its corner.
  void TakeCellEdges();
  QRectF CellTwips(int row, int col) const;
  // The pixels that twips of the picture cover, with room for antialiased
  // edges.
  QRect PixelsOfTwips(const QRectF& twips) const;
  QRect CellPixels(int row, int col) const;
  // Marks what the new picture changes for painting.
  void TakeChanges(const GridPicture* before, const GridPicture& after);
  // Paints a part of the surface whole: ground, picture, circles.
  void PaintPart(QPainter& painter, const QRect& part);

  PictureHandle shown_;        // the picture on screen
  bool circlesShown_ = false;  // whether circles were drawn on it
  QRegion stale_;              // what the next Refresh must paint
  std::vector<int> letters_;   // cells whose lone letters alone changed
  QRect lettersArea_;          // the pixels their boxes cover
  std::vector<double> xs_, ys_;
};

// The mouse button as the controls' events number it: 1 left, 2 right,
// 4 middle; 0 for any other.
int MouseButtonOf(Qt::MouseButton button);

}  // namespace pelmora
