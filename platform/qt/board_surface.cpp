#include "platform/qt/board_surface.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
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
  for (int c = 0; c < shown_->cols; ++c)
    xs_.push_back(xs_.back() + (c < static_cast<int>(shown_->colWidths.size()) ? shown_->colWidths[c] : 0));
  for (int r = 0; r < shown_->rows; ++r)
    ys_.push_back(ys_.back() + (r < static_cast<int>(shown_->rowHeights.size()) ? shown_->rowHeights[r] : 0));
}

QRectF BoardSurface::CellTwips(int row, int col) const {
  return QRectF(xs_[col], ys_[row], xs_[col + 1] - xs_[col], ys_[row + 1] - ys_[row]);
}

QRect BoardSurface::PixelsOfTwips(const QRectF& twips) const {
  const double scale = 1.0 / TwipsPerPixel();
  return QRectF(twips.topLeft() * scale, twips.size() * scale).toAlignedRect().adjusted(-1, -1, 1, 1);
}

QRect BoardSurface::CellPixels(int row, int col) const { return PixelsOfTwips(CellTwips(row, col)); }

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
    stale += lettersOnly ? PixelsOfTwips(LetterBoxTwips(CellTwips(r, c))) : CellPixels(r, c);
  }
  if (lettersOnly) {
    // One rectangle: the letters are painted box by box whatever it covers.
    letters_.insert(letters_.end(), changed.begin(), changed.end());
    lettersArea_ |= stale.boundingRect() & rect();
    stale = lettersArea_;
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
  const bool lettersOnly = !letters.empty() && shown_ && event->region() == QRegion(lettersArea_);
  lettersArea_ = QRect();
  QPainter painter(this);
  if (lettersOnly) {
    const double twipsPerPixel = TwipsPerPixel();
    painter.scale(1.0 / twipsPerPixel, 1.0 / twipsPerPixel);
    PaintGridLetters(painter, *shown_, letters);
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
  painter.restore();
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
