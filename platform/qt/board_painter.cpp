#include "platform/qt/board_painter.h"

#include <QColor>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QRawFont>
#include <cmath>
#include <set>
#include <tuple>

namespace pelmora {

namespace {

constexpr int kLetterTwips = 165;           // 8.25 pt at 20 twips to the point
constexpr double kPaperLineTwips = 15.0;    // about a quarter of a millimetre
constexpr double kTextMarginTwips = 30.0;   // room beside text that isn't centred
const QColor kLineColour(0xC0, 0xC0, 0xC0);

QColor FromRgb(std::uint32_t rgb) {
  return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                static_cast<int>(rgb & 0xFF));
}

// The grid's CellAlignment as Qt alignment: 0 to 8 run left, centre, right
// in steps of three, top, centre, bottom within each; anything else is the
// general alignment, which puts text on the left, centred vertically.
Qt::Alignment AlignmentOf(int cellAlignment) {
  if (cellAlignment < 0 || cellAlignment > 8) return Qt::AlignLeft | Qt::AlignVCenter;
  static constexpr Qt::AlignmentFlag kHorizontal[] = {Qt::AlignLeft, Qt::AlignHCenter,
                                                      Qt::AlignRight};
  static constexpr Qt::AlignmentFlag kVertical[] = {Qt::AlignTop, Qt::AlignVCenter,
                                                    Qt::AlignBottom};
  return kHorizontal[cellAlignment / 3] | kVertical[cellAlignment % 3];
}

// Where the baseline of text of the given width starts inside a cell.
QPointF TextOrigin(const QRectF& cell, Qt::Alignment align, double width, double ascent,
                   double descent) {
  double x = cell.left() + kTextMarginTwips;
  if (align & Qt::AlignHCenter) x = cell.left() + (cell.width() - width) / 2;
  else if (align & Qt::AlignRight) x = cell.right() - kTextMarginTwips - width;
  double baseline = cell.top() + (cell.height() + ascent - descent) / 2;
  if (align & Qt::AlignTop) baseline = cell.top() + ascent;
  else if (align & Qt::AlignBottom) baseline = cell.bottom() - descent;
  return QPointF(x, baseline);
}

// One face of the letters, ready to draw. Letters go out as glyph runs of
// the raw font: still outlines on every device, but without the text layout
// that drawText does for each call, which would cost most of a frame's
// budget over 225 cells.
struct LetterFace {
  explicit LetterFace(bool bold)
      : font(BoardLetterFont(bold)), raw(QRawFont::fromFont(font)), metrics(font) {}

  void Draw(QPainter& painter, const QRectF& cell, Qt::Alignment align, const QString& text) const {
    const QList<quint32> glyphs = raw.isValid() ? raw.glyphIndexesForString(text) : QList<quint32>();
    if (glyphs.isEmpty() || glyphs.contains(0)) {
      // A letter this face lacks: drawText finds a face that has it.
      painter.setFont(font);
      painter.drawText(TextOrigin(cell, align, metrics.horizontalAdvance(text), metrics.ascent(),
                                  metrics.descent()),
                       text);
      return;
    }
    const QList<QPointF> advances = raw.advancesForGlyphIndexes(glyphs);
    QList<QPointF> positions;
    positions.reserve(glyphs.size());
    double width = 0;
    for (const QPointF& advance : advances) {
      positions.append(QPointF(width, 0));
      width += advance.x();
    }
    QGlyphRun run;
    run.setRawFont(raw);
    run.setGlyphIndexes(glyphs);
    run.setPositions(positions);
    painter.drawGlyphRun(TextOrigin(cell, align, width, raw.ascent(), raw.descent()), run);
  }

  QFont font;
  QRawFont raw;
  QFontMetricsF metrics;
};

// The size of one device pixel in the painter's units, for lines that must
// stay one device pixel wide and fall on whole pixels.
double TwipsPerDevicePixel(const QPainter& painter) {
  const double scale = std::abs(painter.deviceTransform().m11());
  return scale > 0 ? 1.0 / scale : 1.0;
}

}  // namespace

QFont BoardLetterFont(bool bold) {
  QFont font(QStringLiteral("DejaVu Sans"));
  font.setPixelSize(kLetterTwips);
  font.setBold(bold);
  // Hinting snaps outlines to the pixel grid of an unscaled device; the
  // letters are drawn through a scaling transform, on screen and on paper.
  font.setHintingPreference(QFont::PreferNoHinting);
  return font;
}

void PaintGridPicture(QPainter& painter, const GridPicture& picture, GridLines lines,
                      const QRectF& exposedTwips) {
  if (picture.rows <= 0 || picture.cols <= 0) return;
  painter.save();

  std::vector<double> xs(static_cast<std::size_t>(picture.cols) + 1, 0.0);
  std::vector<double> ys(static_cast<std::size_t>(picture.rows) + 1, 0.0);
  for (int c = 0; c < picture.cols; ++c)
    xs[c + 1] = xs[c] + (c < static_cast<int>(picture.colWidths.size()) ? picture.colWidths[c] : 0);
  for (int r = 0; r < picture.rows; ++r)
    ys[r + 1] = ys[r] + (r < static_cast<int>(picture.rowHeights.size()) ? picture.rowHeights[r] : 0);
  const QRectF whole(0, 0, xs.back(), ys.back());
  const QRectF area = exposedTwips.isNull() ? whole : whole.intersected(exposedTwips);
  if (area.isEmpty()) {
    painter.restore();
    return;
  }

  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillRect(area, Qt::white);

  // Lines on every boundary. Each is pulled half a line's width into the
  // cells, so the outer frame stays inside the picture and a screen line
  // covers exactly one device pixel row instead of smearing over two.
  QPen pen(kLineColour);
  double half = 0;
  if (lines == GridLines::Screen) {
    pen.setCosmetic(true);
    pen.setWidth(1);
    half = TwipsPerDevicePixel(painter) / 2;
  } else {
    pen.setWidthF(kPaperLineTwips);
    half = kPaperLineTwips / 2;
  }
  painter.setPen(pen);
  for (std::size_t i = 0; i < xs.size(); ++i) {
    const double x = i == 0 ? xs[i] + half : xs[i] - half;
    if (x + 2 * half < area.left() || x - 2 * half > area.right()) continue;
    painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
  }
  for (std::size_t i = 0; i < ys.size(); ++i) {
    const double y = i == 0 ? ys[i] + half : ys[i] - half;
    if (y + 2 * half < area.top() || y - 2 * half > area.bottom()) continue;
    painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
  }

  const LetterFace regular(false);
  const LetterFace bold(true);
  painter.setPen(Qt::black);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  for (int r = 0; r < picture.rows; ++r) {
    if (ys[r + 1] < area.top() || ys[r] > area.bottom()) continue;
    for (int c = 0; c < picture.cols; ++c) {
      if (xs[c + 1] < area.left() || xs[c] > area.right()) continue;
      const GridCell& cell = picture.At(r, c);
      if (cell.text.empty()) continue;
      const QRectF box(xs[c], ys[r], xs[c + 1] - xs[c], ys[r + 1] - ys[r]);
      (cell.bold ? bold : regular)
          .Draw(painter, box, AlignmentOf(cell.alignment),
                QString::fromUtf8(cell.text.data(), static_cast<qsizetype>(cell.text.size())));
    }
  }
  painter.restore();
}

QRectF CircleBoundsTwips(const CircleMark& circle, double twipsPerLogicalPixel) {
  const double reach = circle.radius + circle.drawWidth * twipsPerLogicalPixel;
  return QRectF(circle.x - reach, circle.y - reach, 2 * reach, 2 * reach);
}

void PaintCircles(QPainter& painter, const std::vector<CircleMark>& circles,
                  double twipsPerLogicalPixel, const QRectF& exposedTwips) {
  if (circles.empty()) return;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setPen(Qt::NoPen);
  // A circle drawn again later at the same place and size is covered by the
  // later one pixel for pixel, as a wipe in white intends; left in, its
  // antialiased edge would show as a faint ring around the wipe.
  std::vector<bool> covered(circles.size(), false);
  std::set<std::tuple<double, double, double, int>> later;
  for (std::size_t i = circles.size(); i-- > 0;) {
    const CircleMark& c = circles[i];
    covered[i] = !later.emplace(c.x, c.y, c.radius, c.drawWidth).second;
  }
  for (std::size_t i = 0; i < circles.size(); ++i) {
    const CircleMark& circle = circles[i];
    if (covered[i]) continue;
    if (!exposedTwips.isNull() &&
        !exposedTwips.intersects(CircleBoundsTwips(circle, twipsPerLogicalPixel)))
      continue;
    // The ring a pen of that width would stroke, filled between its outer
    // and inner edges: the same pixels, for well under half the cost of the
    // stroker, which counts once a game has left a hundred circles.
    const double half = circle.drawWidth * twipsPerLogicalPixel / 2;
    const QPointF centre(circle.x, circle.y);
    QPainterPath ring;
    ring.addEllipse(centre, circle.radius + half, circle.radius + half);
    if (circle.radius > half) ring.addEllipse(centre, circle.radius - half, circle.radius - half);
    painter.setBrush(FromRgb(circle.colour));
    painter.drawPath(ring);
  }
  painter.restore();
}

}  // namespace pelmora
