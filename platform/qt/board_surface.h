#pragma once
// The view of a PictureBox: the grid picture painted with vectors at the
// window's scale, then the circles drawn on it. A press of the mouse goes to
// the model in twips.
//
// The board is also played from the keyboard: it takes the focus with Tab,
// the arrow keys move a focus cell (drawn as a focus frame), and Space or
// Enter presses that cell as a left click at its centre does. A screen reader
// hears the focus cell (letter, row, column, ring) on every move, what each
// press brought, and while no game is in play the model's idle line, which
// the shimmer of letters never changes (see board_accessible.h).

#include <QRegion>
#include <QWidget>
#include <functional>
#include <vector>

#include "platform/qt/board_accessible.h"
#include "platform/qt/control_view.h"

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

  // The focus cell, row and column from 0.
  int FocusRow() const { return focusRow_; }
  int FocusCol() const { return focusCol_; }

  // What a screen reader hears of the board.
  BoardVoice& Voice() { return voice_; }

  // Told of each circle once it is on screen.
  std::function<void(const CircleMark&)> onCircleShown;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

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
  // The pixels a lone letter's box covers in its cell.
  QRect LetterPixels(int row, int col) const;
  // The focus cell's pixels; none while the board has no cells.
  QRect FocusCellPixels() const;
  // Marks what the new picture changes for painting.
  void TakeChanges(const GridPicture* before, const GridPicture& after);
  // Paints a part of the surface whole: ground, picture, circles, frame.
  void PaintPart(QPainter& painter, const QRect& part);
  void MoveFocusCell(int rows, int cols);
  // The focus cell as a screen reader says it, or the idle line.
  QString FocusCellSaid() const;

  PictureHandle shown_;        // the picture on screen
  bool circlesShown_ = false;  // whether circles were drawn on it
  QRegion stale_;              // what the next Refresh must paint
  std::vector<int> letters_;   // cells whose lone letters alone changed
  QRegion lettersArea_;        // the pixels their boxes cover
  std::vector<double> xs_, ys_;
  int focusRow_ = 0;
  int focusCol_ = 0;
  BoardVoice voice_{*this};
};

// The mouse button as the controls' events number it: 1 left, 2 right,
// 4 middle; 0 for any other.
int MouseButtonOf(Qt::MouseButton button);

}  // namespace pelmora
