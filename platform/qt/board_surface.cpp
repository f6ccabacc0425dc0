#include "platform/qt/board_surface.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/qt/board_painter.h"
#include "platform/qt/form_window.h"
#include "platform/qt/keyboard.h"
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
  setFocusPolicy(Qt::StrongFocus);
  SyncGeometry();
  SyncVisible();
  shown_ = model.Picture();
  TakeCellEdges();
  Observe();
}

double BoardSurface::TwipsPerPixel() const { return kTwipsPerLogicalPixel / window_.Scale(); }

QPointF BoardSurface::PixelsOf(double xTwips, double yTwips) const {
  return QPointF(xTwips, yTwips) / TwipsPerPixel();
}

QPointF BoardSurface::TwipsOf(QPointF pixels) const {
  const auto exact = [](double twips) { return std::round(twips * 1e6) / 1e6; };
  return QPointF(exact(pixels.x() * TwipsPerPixel()), exact(pixels.y() * TwipsPerPixel()));
}

void BoardSurface::Rescale() {
  SyncGeometry();
  update();
}

void BoardSurface::TakeCellEdges() {
  xs_.assign(1, 0.0);
  ys_.assign(1, 0.0);
  if (!shown_) return;
  xs_ = shown_->ColumnEdges();
  ys_ = shown_->RowEdges();
  focusRow_ = std::clamp(focusRow_, 0, std::max(0, shown_->rows - 1));
  focusCol_ = std::clamp(focusCol_, 0, std::max(0, shown_->cols - 1));
}

QRectF BoardSurface::CellTwips(int row, int col) const {
  return QRectF(xs_[col], ys_[row], xs_[col + 1] - xs_[col], ys_[row + 1] - ys_[row]);
}

QRect BoardSurface::PixelsOfTwips(const QRectF& twips) const {
  const double scale = 1.0 / TwipsPerPixel();
  return QRectF(twips.topLeft() * scale, twips.size() * scale).toAlignedRect().adjusted(-1, -1, 1, 1);
}

QRect BoardSurface::CellPixels(int row, int col) const { return PixelsOfTwips(CellTwips(row, col)); }

QRect BoardSurface::LetterPixels(int row, int col) const {
  const QRectF cell = CellTwips(row, col);
  // Two pixels inside the cell's edges, clear of its lines and of the focus
  // frame's outer edge: all white there but the letter.
  return PixelsOfTwips(LetterBoxTwips(cell)) & PixelsOfTwips(cell).adjusted(3, 3, -3, -3);
}

QRect BoardSurface::FocusCellPixels() const {
  return shown_ && shown_->rows > 0 && shown_->cols > 0 ? CellPixels(focusRow_, focusCol_) : QRect();
}

void BoardSurface::TakeChanges(const GridPicture* before, const GridPicture& after) {
  if (!before || circlesShown_ || before->rows != after.rows || before->cols != after.cols ||
      before->rowHeights != after.rowHeights || before->colWidths != after.colWidths) {
    letters_.clear();
    stale_ += rect();
    update();
    return;
  }
  // The idle shuffle changes letters ten times a second: only the boxes of
  // the letters that changed are painted then, unless some cell changed in
  // another way, which paints its whole cell.
  std::vector<int> changed;
  bool lettersOnly = true;
  for (int r = 0; r < after.rows; ++r)
    for (int c = 0; c < after.cols; ++c) {
      const GridCell& was = before->At(r, c);
      const GridCell& now = after.At(r, c);
      if (was.text == now.text && was.bold == now.bold && was.alignment == now.alignment) continue;
      changed.push_back(r * after.cols + c);
      lettersOnly = lettersOnly && IsLoneLetter(was) && IsLoneLetter(now);
    }
  if (changed.empty()) return;
  QRegion stale;
  for (int index : changed) {
    const int r = index / after.cols;
    const int c = index % after.cols;
    stale += lettersOnly ? LetterPixels(r, c) : CellPixels(r, c);
  }
  if (lettersOnly) {
    letters_.insert(letters_.end(), changed.begin(), changed.end());
    lettersArea_ += stale;
  } else {
    letters_.clear();
  }
  stale_ += stale;
  update(stale);
}

void BoardSurface::Sync(Change what, int index) {
  if (!model_) return;
  switch (what) {
    case Change::Picture: {
      // Only what looks different is painted again; a new picture over
      // circles, or of another shape, is painted whole.
      const PictureHandle before = shown_;
      shown_ = Box().Picture();
      TakeCellEdges();
      if (shown_) {
        TakeChanges(before.get(), *shown_);
      } else {
        stale_ += rect();
        update();
      }
      circlesShown_ = false;
      voice_.Say(FocusCellSaid(), FocusCellPixels());
      return;
    }
    case Change::Circle: {
      // Drawn at once, not at the next pass of the event loop: a handler may
      // go on to wait in a message box with the circle meant to be in view.
      if (index < 0 || index >= static_cast<int>(Box().Circles().size())) return;
      circlesShown_ = true;
      const QRectF twips = CircleBoundsTwips(Box().Circles()[static_cast<std::size_t>(index)],
                                             kTwipsPerLogicalPixel);
      const double scale = 1.0 / TwipsPerPixel();
      repaint(QRectF(twips.topLeft() * scale, twips.size() * scale).toAlignedRect().adjusted(-1, -1, 1, 1));
      if (onCircleShown) onCircleShown(Box().Circles()[static_cast<std::size_t>(index)]);
      return;
    }
    case Change::ZOrder:
      raise();
      return;
    case Change::Narration: {
      const std::string& press = Box().Narrated().press;
      if (press.empty()) voice_.Say(FocusCellSaid(), FocusCellPixels());
      else voice_.Say(QString::fromStdString(press), FocusCellPixels(), /*again=*/true);
      return;
    }
    case Change::Refresh:
      // What is out of date is painted now.
      if (!stale_.isEmpty()) repaint(stale_);
      return;
    default:
      SyncCommon(what);
  }
}

void BoardSurface::paintEvent(QPaintEvent* event) {
  stale_ -= event->region();
  std::vector<int> letters;
  letters.swap(letters_);
  const bool lettersOnly =
      !letters.empty() && shown_ && event->region().subtracted(lettersArea_).isEmpty();
  lettersArea_ = QRegion();
  QPainter painter(this);
  const double twipsPerPixel = TwipsPerPixel();
  const bool frame = hasFocus() && shown_ && shown_->rows > 0 && shown_->cols > 0;
  if (lettersOnly) {
    // Every pixel of the region is painted, as the board promises Qt: a
    // window whose buffer has an alpha channel (Wayland's) hands the region
    // over cleared to transparent, and what is left so shows black. The
    // region holds only the inside of letter boxes, which is white but for
    // the letter.
    for (const QRect& part : event->region()) painter.fillRect(part, Qt::white);
    painter.save();
    painter.scale(1.0 / twipsPerPixel, 1.0 / twipsPerPixel);
    PaintGridLetters(painter, *shown_, letters);
    painter.restore();
    // The focus frame is drawn on fresh ground only: its cell is painted
    // whole again when its letter changed.
    const int focus = focusRow_ * shown_->cols + focusCol_;
    if (frame && std::find(letters.begin(), letters.end(), focus) != letters.end())
      PaintPart(painter, CellPixels(focusRow_, focusCol_));
    return;
  }
  for (const QRect& part : event->region()) PaintPart(painter, part);
}

void BoardSurface::PaintPart(QPainter& painter, const QRect& part) {
  painter.save();
  painter.setClipRect(part);
  const double twipsPerPixel = TwipsPerPixel();
  // The picture paints its own ground; the window's shows around it, down
  // to a pixel that the picture covers only in part.
  QRect ground;
  if (shown_ && model_) {
    const QSizeF size = QSizeF(xs_.back(), ys_.back()) / twipsPerPixel;
    ground = QRect(0, 0, static_cast<int>(size.width()), static_cast<int>(size.height()));
  }
  for (const QRect& bare : QRegion(part).subtracted(ground)) painter.fillRect(bare, palette().window());
  if (model_) {
    const QRectF exposedTwips(QPointF(part.topLeft()) * twipsPerPixel, QSizeF(part.size()) * twipsPerPixel);
    painter.save();
    painter.scale(1.0 / twipsPerPixel, 1.0 / twipsPerPixel);
    if (const PictureHandle& picture = Box().Picture())
      PaintGridPicture(painter, *picture, GridLines::Screen, exposedTwips);
    // The rings grow with the form, as everything else on it does.
    PaintCircles(painter, Box().Circles(), kTwipsPerLogicalPixel, exposedTwips);
    painter.restore();
  }
  QRect focusCell;
  if (shown_ && shown_->rows > 0 && shown_->cols > 0) focusCell = CellPixels(focusRow_, focusCol_);
  if (hasFocus() && part.intersects(focusCell)) {
    QStyleOptionFocusRect frame;
    frame.initFrom(this);
    frame.rect = focusCell.adjusted(3, 3, -3, -3);
    frame.backgroundColor = Qt::white;
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, this);
  }
  painter.restore();
}

void BoardSurface::mousePressEvent(QMouseEvent* event) {
  event->accept();
  auto* box = static_cast<PictureBox*>(model_);
  if (!box) return;
  const int button = MouseButtonOf(event->button());
  const int shift = ShiftStateOf(event->modifiers());
  const QPointF twips = TwipsOf(event->position());
  // The keyboard goes on from the cell the mouse pressed.
  const auto row = std::upper_bound(ys_.begin(), ys_.end(), twips.y()) - ys_.begin() - 1;
  const auto col = std::upper_bound(xs_.begin(), xs_.end(), twips.x()) - xs_.begin() - 1;
  if (row >= 0 && col >= 0 && row + 1 < static_cast<long>(ys_.size()) && col + 1 < static_cast<long>(xs_.size()))
    MoveFocusCell(static_cast<int>(row) - focusRow_, static_cast<int>(col) - focusCol_);
  const auto x = static_cast<float>(twips.x());
  const auto y = static_cast<float>(twips.y());
  Door().Dispatch([box, button, shift, x, y] { box->UserMouseDown(button, shift, x, y); });
}

void BoardSurface::keyPressEvent(QKeyEvent* event) {
  auto* box = static_cast<PictureBox*>(model_);
  if (!box || !shown_ || shown_->rows <= 0 || shown_->cols <= 0) {
    QWidget::keyPressEvent(event);
    return;
  }
  switch (event->key()) {
    case Qt::Key_Left: MoveFocusCell(0, -1); break;
    case Qt::Key_Right: MoveFocusCell(0, 1); break;
    case Qt::Key_Up: MoveFocusCell(-1, 0); break;
    case Qt::Key_Down: MoveFocusCell(1, 0); break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter: {
      // A key held down presses once, as a mouse button held down does.
      if (event->isAutoRepeat()) break;
      // A left click at the cell's centre, through the same door and handler.
      const auto x = static_cast<float>((xs_[focusCol_] + xs_[focusCol_ + 1]) / 2);
      const auto y = static_cast<float>((ys_[focusRow_] + ys_[focusRow_ + 1]) / 2);
      Door().Dispatch([box, x, y] { box->UserMouseDown(1, 0, x, y); });
      break;
    }
    default:
      QWidget::keyPressEvent(event);
      return;
  }
  event->accept();
}

void BoardSurface::MoveFocusCell(int rows, int cols) {
  if (!shown_) return;
  const int row = std::clamp(focusRow_ + rows, 0, std::max(0, shown_->rows - 1));
  const int col = std::clamp(focusCol_ + cols, 0, std::max(0, shown_->cols - 1));
  if (row == focusRow_ && col == focusCol_) return;
  update(CellPixels(focusRow_, focusCol_));
  focusRow_ = row;
  focusCol_ = col;
  update(CellPixels(focusRow_, focusCol_));
  voice_.Say(FocusCellSaid(), FocusCellPixels());
}

QString BoardSurface::FocusCellSaid() const {
  if (!model_) return descriptiveName_;
  const PictureBox::Narration& told = Box().Narrated();
  if (!told.idle.empty()) return QString::fromStdString(told.idle);
  if (!shown_ || focusRow_ >= shown_->rows || focusCol_ >= shown_->cols) return descriptiveName_;
  const bool ringed = std::find(told.ringed.begin(), told.ringed.end(), std::pair{focusRow_, focusCol_}) !=
                      told.ringed.end();
  return QString::fromStdString(SpokenCell(shown_->At(focusRow_, focusCol_).text, focusRow_, focusCol_, ringed));
}

void BoardSurface::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  voice_.TellFocus(FocusCellSaid(), FocusCellPixels());
  if (shown_ && shown_->rows > 0) update(CellPixels(focusRow_, focusCol_));
}

void BoardSurface::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  if (shown_ && shown_->rows > 0) update(CellPixels(focusRow_, focusCol_));
}

}  // namespace pelmora
