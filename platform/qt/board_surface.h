#pragma once
// The view of a PictureBox: the grid picture painted with vectors, then the
// circles drawn on it. A press of the mouse goes to the model in twips.

#include <QWidget>

#include "platform/qt/control_views.h"

namespace pelmora {

class BoardSurface final : public QWidget, public ControlView {
  Q_OBJECT
 public:
  BoardSurface(PictureBox& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

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
