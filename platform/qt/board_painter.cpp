#include "platform/qt/board_painter.h"

#include <QColor>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QRawFont>
#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <set>
#include <tuple>

#include "platform/qt/conversions.h"

namespace pelmora {

namespace {

constexpr int kLetterTwips = 165;           // 8.25 pt at 20 twips to the point
constexpr double kPaperLineTwips = 15.0;    // about a quarter of a millimetre
constexpr double kTextMarginTwips = 30.0;   // room beside text that isn't centred
const QColor kLineColour(0xC0, 0xC0, 0xC0);

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

  // The glyphs of many cells, drawn in one call.
  struct Batch {
    QList<quint32> glyphs;
    QList<QPointF> positions;
  };

  // Adds the text of a cell to batch, or draws it at once when this face
  // lacks one of its letters (drawText then finds a face that has it).
  void Add(Batch& batch, QPainter& painter, const QRectF& cell, Qt::Alignment align, const QString& text) const {
    const QList<quint32> glyphs = raw.isValid() ? raw.glyphIndexesForString(text) : QList<quint32>();
    if (glyphs.isEmpty() || glyphs.contains(0)) {
      painter.setFont(font);
      painter.drawText(TextOrigin(cell, align, metrics.horizontalAdvance(text), metrics.ascent(),
                                  metrics.descent()),
                       text);
      return;
    }
    const QList<QPointF> advances = raw.advancesForGlyphIndexes(glyphs);
    double width = 0;
    for (const QPointF& advance : advances) width += advance.x();
    QPointF at = TextOrigin(cell, align, width, raw.ascent(), raw.descent());
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
      batch.glyphs.append(glyphs[i]);
      batch.positions.append(at);
      at.rx() += advances[i].x();
    }
  }

  void Draw(QPainter& painter, const Batch& batch) const {
    if (batch.glyphs.isEmpty()) return;
    QGlyphRun run;
    run.setRawFont(raw);
    run.setGlyphIndexes(batch.glyphs);
    run.setPositions(batch.positions);
    painter.drawGlyphRun(QPointF(0, 0), run);
  }

  QFont font;
  QRawFont raw;
  QFontMetricsF metrics;
};

// The two faces, made once: a face is costly to make, and the idle shuffle
// paints ten times a second. Never destroyed, so that no font outlives the
// font database at exit.
const LetterFace& Face(bool bold) {
  static const LetterFace* const faces[2] = {new LetterFace(false), new LetterFace(true)};
  return *faces[bold ? 1 : 0];
}

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

namespace {

// Where the ink of any one letter A to Z of either face lies when it is
// centred in a cell, in twips from the cell's centre, with a logical pixel
// to spare for the edges that antialiasing softens.
QRectF LetterInk() {
  static const QRectF ink = [] {
    QRectF all;
    for (bool bold : {false, true}) {
      const LetterFace& face = Face(bold);
      for (char c = 'A'; c <= 'Z'; ++c) {
        const QChar letter{QLatin1Char(c)};
        const QPointF origin(-face.metrics.horizontalAdvance(letter) / 2,
                             (face.raw.ascent() - face.raw.descent()) / 2);
        all |= face.metrics.boundingRect(letter).translated(origin);
      }
    }
    return all.adjusted(-15, -15, 15, 15);
  }();
  return ink;
}

}  // namespace

bool IsLoneLetter(const GridCell& cell) {
  return cell.alignment == 4 &&
         (cell.text.empty() || (cell.text.size() == 1 && cell.text[0] >= 'A' && cell.text[0] <= 'Z'));
}

QRectF LetterBoxTwips(const QRectF& cell) { return LetterInk().translated(cell.center()).intersected(cell); }

namespace {

// Lone letters drawn once at the device's scale, on their white box, and
// then copied into place: a copy costs a fraction of drawing a glyph, and
// the idle shuffle paints 225 letters ten times a second. Drawn for their
// own pixels at every scale (never a bitmap stretched), each lands on the
// whole device pixel nearest its place.
class LetterSprites {
 public:
  const QImage& Of(const GridCell& cell, const QSizeF& cellTwips, double devicePerTwip) {
    if (devicePerTwip != devicePerTwip_ || cellTwips != cell_) {
      images_.clear();
      devicePerTwip_ = devicePerTwip;
      cell_ = cellTwips;
    }
    QImage& image = images_[{cell.text, cell.bold}];
    if (image.isNull()) {
      const QRectF box = LetterBoxTwips(QRectF(QPointF(), cellTwips));
      image = QImage(QSizeF(box.size() * devicePerTwip).toSize().expandedTo(QSize(1, 1)), QImage::Format_RGB32);
      image.fill(Qt::white);
      QPainter painter(&image);
      painter.setRenderHint(QPainter::TextAntialiasing, true);
      painter.scale(devicePerTwip, devicePerTwip);
      painter.translate(-box.topLeft());
      LetterFace::Batch glyphs;
      Face(cell.bold).Add(glyphs, painter, QRectF(QPointF(), cellTwips), AlignmentOf(cell.alignment),
                          QString::fromLatin1(cell.text.data(), static_cast<qsizetype>(cell.text.size())));
      painter.setPen(Qt::black);
      Face(cell.bold).Draw(painter, glyphs);
    }
    return image;
  }

 private:
  double devicePerTwip_ = 0;
  QSizeF cell_;
  std::map<std::pair<std::string, bool>, QImage> images_;
};

}  // namespace

void PaintGridLetters(QPainter& painter, const GridPicture& picture, const std::vector<int>& cells) {
  static LetterSprites& sprites = *new LetterSprites;  // kept to the end, like the faces
  const std::vector<double> xs = picture.ColumnEdges();
  const std::vector<double> ys = picture.RowEdges();
  // Device pixels are addressed directly (from the widget's corner, as the
  // world transform places things): the transform must only scale.
  const double ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
  const QTransform toDevice = painter.worldTransform() * QTransform::fromScale(ratio, ratio);
  if (toDevice.type() > QTransform::TxScale || toDevice.m11() != toDevice.m22() || toDevice.m11() <= 0) {
    for (int index : cells) {
      const int r = index / picture.cols;
      const int c = index % picture.cols;
      if (index >= 0 && r < picture.rows)
        PaintGridPicture(painter, picture, GridLines::Screen,
                         QRectF(xs[c], ys[r], xs[c + 1] - xs[c], ys[r + 1] - ys[r]));
    }
    return;
  }
  painter.save();
  painter.setWorldTransform(QTransform::fromScale(1 / ratio, 1 / ratio));
  for (int index : cells) {
    const int r = index / picture.cols;
    const int c = index % picture.cols;
    if (index < 0 || r >= picture.rows) continue;
    const QRectF cell(xs[c], ys[r], xs[c + 1] - xs[c], ys[r + 1] - ys[r]);
    const QPoint at = toDevice.map(LetterBoxTwips(cell).topLeft()).toPoint();
    painter.drawImage(at, sprites.Of(picture.At(r, c), cell.size(), toDevice.m11()));
  }
  painter.restore();
}

void PaintGridPicture(QPainter& painter, const GridPicture& picture, GridLines lines,
                      const QRectF& exposedTwips) {
  if (picture.rows <= 0 || picture.cols <= 0) return;
  painter.save();

  const std::vector<double> xs = picture.ColumnEdges();
  const std::vector<double> ys = picture.RowEdges();
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
  // covers exactly one device pixel row instead of smearing over two. On
  // screen a line is a rectangle one device pixel wide: filled, it lands on
  // whole pixels far faster than a stroke does.
  const double half = lines == GridLines::Screen ? TwipsPerDevicePixel(painter) / 2 : kPaperLineTwips / 2;
  QList<QLineF> gridLines;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    const double x = i == 0 ? xs[i] + half : xs[i] - half;
    if (x + 2 * half < area.left() || x - 2 * half > area.right()) continue;
    gridLines.append(QLineF(x, area.top(), x, area.bottom()));
  }
  for (std::size_t i = 0; i < ys.size(); ++i) {
    const double y = i == 0 ? ys[i] + half : ys[i] - half;
    if (y + 2 * half < area.top() || y - 2 * half > area.bottom()) continue;
    gridLines.append(QLineF(area.left(), y, area.right(), y));
  }
  if (lines == GridLines::Screen) {
    for (const QLineF& line : gridLines)
      painter.fillRect(QRectF(line.p1() - QPointF(half, half), line.p2() + QPointF(half, half)), kLineColour);
  } else {
    QPen pen(kLineColour);
    pen.setWidthF(kPaperLineTwips);
    painter.setPen(pen);
    painter.drawLines(gridLines);
  }

  const LetterFace& regular = Face(false);
  const LetterFace& bold = Face(true);
  painter.setPen(Qt::black);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  LetterFace::Batch regularGlyphs;
  LetterFace::Batch boldGlyphs;
  for (int r = 0; r < picture.rows; ++r) {
    if (ys[r + 1] < area.top() || ys[r] > area.bottom()) continue;
    for (int c = 0; c < picture.cols; ++c) {
      if (xs[c + 1] < area.left() || xs[c] > area.right()) continue;
      const GridCell& cell = picture.At(r, c);
      if (cell.text.empty()) continue;
      const QRectF box(xs[c], ys[r], xs[c + 1] - xs[c], ys[r + 1] - ys[r]);
      (cell.bold ? bold : regular)
          .Add(cell.bold ? boldGlyphs : regularGlyphs, painter, box, AlignmentOf(cell.alignment), ToQString(cell.text));
    }
  }
  painter.setPen(Qt::black);  // drawText of a missing letter may have left another font set
  regular.Draw(painter, regularGlyphs);
  bold.Draw(painter, boldGlyphs);
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
