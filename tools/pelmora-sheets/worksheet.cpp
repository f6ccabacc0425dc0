#include "tools/pelmora-sheets/worksheet.h"

#include <langinfo.h>

#include <QFontMetricsF>
#include <QIODevice>
#include <QPageLayout>
#include <QPageSize>
#include <algorithm>
#include <array>
#include <clocale>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace pelmora {

namespace {

constexpr int kResolution = 1200;
constexpr double kMarginMm = 15;
constexpr double kSmallestCellMm = 10;  // what a child's pencil can ring
constexpr int kMostBankColumns = 4;
const char* const kFace = "DejaVu Sans";

// Sixteen colours that stand apart from each other and stay dark enough to
// see on white paper; one for each word a game can hold.
constexpr std::array<std::uint32_t, 16> kBandColours = {
    0xE6194B, 0x3CB44B, 0x4363D8, 0xF58231, 0x911EB4, 0x0096C7, 0xF032E6, 0x9A6324,
    0x800000, 0x808000, 0x000075, 0x008080, 0xC9A800, 0xFF6F91, 0x5B5B5B, 0x6A3D9A};

QString Q(const std::string& text) { return QString::fromStdString(text); }

QFont Face(double points, bool bold = false) {
  QFont font(QString::fromLatin1(kFace));
  font.setPointSizeF(points);
  font.setBold(bold);
  return font;
}

// A line of text in at most width: its face made smaller, down to smallest,
// and cut short with an ellipsis only when even that is too wide.
QString FitLine(QFont& font, const QString& text, double width, double smallest, QPaintDevice* device) {
  while (QFontMetricsF(font, device).horizontalAdvance(text) > width && font.pointSizeF() > smallest)
    font.setPointSizeF(std::max(smallest, font.pointSizeF() - 0.5));
  return QFontMetricsF(font, device).elidedText(text, Qt::ElideRight, width);
}

}  // namespace

std::optional<Paper> PaperNamed(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower == "a4") return Paper::A4;
  if (lower == "letter") return Paper::Letter;
  return std::nullopt;
}

Paper LocalePaper() {
  if (std::setlocale(LC_PAPER, "") == nullptr) return Paper::A4;
  // glibc gives the locale's paper in whole millimetres, Letter being 216 by
  // 279, as a number in the low 32 bits of what passes for a string.
  auto millimetres = [](nl_item item) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(nl_langinfo(item)));
  };
  const std::uint32_t width = millimetres(_NL_PAPER_WIDTH), height = millimetres(_NL_PAPER_HEIGHT);
  return width == 216 && height == 279 ? Paper::Letter : Paper::A4;
}

BoardLetters::BoardLetters(const GridPicture& picture) : rows_(picture.rows), cols_(picture.cols) {
  ends_.reserve(picture.cells.size());
  for (const GridCell& cell : picture.cells) {
    text_ += cell.text;
    ends_.push_back(static_cast<std::uint16_t>(text_.size()));
  }
}

std::string_view BoardLetters::At(int row, int col) const {
  const auto i = static_cast<std::size_t>(row * cols_ + col);
  const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
  return std::string_view(text_).substr(begin, ends_[i] - begin);
}

namespace {

// The board with its top left corner at origin, cells of cell device pixels:
// light lines between the cells, a frame around them, and the letters on
// top of everything. With placed, each word gets a band from its first
// letter's centre to its last's, rounded at both ends, tinted so the letters
// read through it and where bands cross.
void PaintBoard(QPainter& painter, const BoardLetters& board, QPointF origin, double cell,
                const std::vector<WordPlacement>* placed) {
  painter.save();
  painter.translate(origin);
  const double width = cell * board.Cols(), height = cell * board.Rows();
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0xC8, 0xC8, 0xC8), cell * 0.02));
  for (int i = 1; i < board.Cols(); ++i) painter.drawLine(QPointF(i * cell, 0), QPointF(i * cell, height));
  for (int i = 1; i < board.Rows(); ++i) painter.drawLine(QPointF(0, i * cell), QPointF(width, i * cell));

  if (placed != nullptr) {
    const double radius = cell * 0.38;
    for (const WordPlacement& word : *placed) {
      if (word.length < 1) continue;
      const CellAddress first = LetterCell(word, 1), last = LetterCell(word, word.length);
      const QPointF from((first.col + 0.5) * cell, (first.row + 0.5) * cell);
      const QPointF to((last.col + 0.5) * cell, (last.row + 0.5) * cell);
      const double length = std::hypot(to.x() - from.x(), to.y() - from.y());
      const std::uint32_t rgb = kBandColours[static_cast<std::size_t>(word.word) % kBandColours.size()];
      QColor colour(static_cast<int>(rgb >> 16), static_cast<int>((rgb >> 8) & 0xFF), static_cast<int>(rgb & 0xFF));
      painter.save();
      painter.translate(from);
      painter.rotate(std::atan2(to.y() - from.y(), to.x() - from.x()) * 180 / std::numbers::pi);
      painter.setPen(QPen(colour, cell * 0.045));
      colour.setAlphaF(0.28);
      painter.setBrush(colour);
      painter.drawRoundedRect(QRectF(-radius, -radius, length + 2 * radius, 2 * radius), radius, radius);
      painter.restore();
    }
  }

  QFont letters = Face(12);
  letters.setPixelSize(static_cast<int>(std::lround(cell * 0.56)));
  painter.setFont(letters);
  painter.setPen(Qt::black);
  for (int row = 0; row < board.Rows(); ++row) {
    for (int col = 0; col < board.Cols(); ++col) {
      const std::string_view text = board.At(row, col);
      painter.drawText(QRectF(col * cell, row * cell, cell, cell), Qt::AlignCenter,
                       QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0x40, 0x40, 0x40), cell * 0.05));
  painter.drawRoundedRect(QRectF(0, 0, width, height), cell * 0.15, cell * 0.15);
  painter.restore();
}

}  // namespace

WorksheetPdf::WorksheetPdf(QIODevice& device, SheetOptions options)
    : options_(std::move(options)), writer_(&device) {
  writer_.setResolution(kResolution);
  writer_.setCreator(QStringLiteral("Pelmora"));
  writer_.setTitle(options_.title.empty() ? QStringLiteral("Word search") : Q(options_.title));
  writer_.setPageLayout(QPageLayout(QPageSize(options_.paper == Paper::Letter ? QPageSize::Letter : QPageSize::A4),
                                    QPageLayout::Portrait, QMarginsF(kMarginMm, kMarginMm, kMarginMm, kMarginMm),
                                    QPageLayout::Millimeter));
}

double WorksheetPdf::Mm(double millimetres) const { return millimetres * kResolution / 25.4; }

bool WorksheetPdf::NextPage() {
  if (failed_) return false;
  if (!started_) {
    started_ = painter_.begin(&writer_);
    failed_ = !started_;
  } else {
    failed_ = !writer_.newPage();
  }
  return !failed_;
}

double WorksheetPdf::PaintFoot(const QString& line) {
  const QFont font = Face(10);
  const double height = QFontMetricsF(font, &writer_).height();
  painter_.setFont(font);
  painter_.setPen(QColor(0x50, 0x50, 0x50));
  painter_.drawText(QRectF(0, writer_.height() - height, writer_.width(), height), Qt::AlignCenter, line);
  painter_.setPen(Qt::black);
  return writer_.height() - height;
}

double WorksheetPdf::PaintHead(bool wordList) {
  QPainter& p = painter_;
  const double width = writer_.width();
  double y = 0;
  if (!options_.title.empty()) {
    QFont font = Face(22, true);
    const QString title = FitLine(font, Q(options_.title), width, 14, &writer_);
    p.setFont(font);
    const double line = QFontMetricsF(font, &writer_).height();
    p.drawText(QRectF(0, y, width, line), Qt::AlignHCenter | Qt::AlignTop, title);
    y += line + Mm(5);
  }
  {
    const QFont font = Face(12);
    const QFontMetricsF metrics(font, &writer_);
    p.setFont(font);
    const double baseline = y + metrics.ascent() + Mm(2);
    const QString name = QStringLiteral("Name"), date = QStringLiteral("Date");
    const double dateAt = width * 0.68;
    p.drawText(QPointF(0, baseline), name);
    p.drawText(QPointF(dateAt, baseline), date);
    p.setPen(QPen(Qt::black, Mm(0.25)));
    const double under = baseline + Mm(0.6);
    p.drawLine(QPointF(metrics.horizontalAdvance(name) + Mm(2), under), QPointF(dateAt - Mm(8), under));
    p.drawLine(QPointF(dateAt + metrics.horizontalAdvance(date) + Mm(2), under), QPointF(width, under));
    y = under + Mm(6);
  }
  {
    QFont font = Face(12);
    const QString line =
        wordList ? QStringLiteral("Find the words below in the grid: across, down or diagonally, forwards or backwards.")
            : QStringLiteral("Find the hidden words in the grid: across, down or diagonally, forwards or backwards.");
    const QString fitted = FitLine(font, line, width, 8, &writer_);
    p.setFont(font);
    const double lineHeight = QFontMetricsF(font, &writer_).height();
    p.drawText(QRectF(0, y, width, lineHeight), Qt::AlignHCenter | Qt::AlignTop, fitted);
    y += lineHeight;
  }
  return y;
}

bool WorksheetPdf::AddPuzzle(const BoardLetters& board, const std::vector<std::string>& words) {
  if (!NextPage()) return false;
  ++puzzlesMade_;
  QPainter& p = painter_;
  const double width = writer_.width();
  const bool bank = options_.wordList && !words.empty();
  const double head = PaintHead(bank);
  const double foot = PaintFoot(QStringLiteral("Puzzle %1 of %2").arg(puzzlesMade_).arg(options_.puzzleCount));

  // The board and the words under it share the room between head and foot,
  // the board as wide as it can be and the two centred in that room. Long
  // words in a short room get a smaller face, so more columns fit.
  const double top = head + Mm(7), bottom = foot - Mm(7);
  const int count = static_cast<int>(words.size()), cells = board.Cols();
  const double bankGap = Mm(9), smallestSide = Mm(kSmallestCellMm) * cells;
  QFont bankFont;
  double box = 0, boxGap = Mm(2.5), entry = 0, rowPitch = 0, side = 0;
  int columns = 1, rows = 0;
  for (double points = 13; points >= 10; points -= 1) {
    bankFont = Face(points);
    const QFontMetricsF metrics(bankFont, &writer_);
    box = metrics.capHeight();
    rowPitch = metrics.height() * 1.45;
    double longest = 0;
    for (const std::string& word : words) longest = std::max(longest, metrics.horizontalAdvance(Q(word)));
    entry = box + boxGap + longest;
    side = width;
    for (int pass = 0; pass < 3; ++pass) {  // the columns depend on the board's width, and it on their rows
      columns = std::clamp(std::min(static_cast<int>(side / (entry + Mm(6))), count), 1, kMostBankColumns);
      rows = bank ? (count + columns - 1) / columns : 0;
      side = std::min(width, bottom - top - (bank ? bankGap + rows * rowPitch : 0));
    }
    if (side >= smallestSide || !bank) break;
  }
  const double cell = std::max(side, smallestSide) / cells;
  const double block = cells * cell + (bank ? bankGap + rows * rowPitch : 0);
  const double boardTop = top + std::max(0.0, (bottom - top - block) / 2);
  const double boardLeft = (width - cells * cell) / 2;
  PaintBoard(p, board, QPointF(boardLeft, boardTop), cell, nullptr);

  if (bank) {
    // In columns, read downwards: the first column holds the first words.
    p.setFont(bankFont);
    const double slice = cells * cell / columns;
    const double bankTop = boardTop + cells * cell + bankGap;
    const double ascent = QFontMetricsF(bankFont, &writer_).ascent();
    for (int i = 0; i < count; ++i) {
      const double left = boardLeft + (i / rows) * slice + (slice - entry) / 2;
      const double baseline = bankTop + (i % rows) * rowPitch + ascent;
      p.setPen(QPen(QColor(0x40, 0x40, 0x40), Mm(0.25)));
      p.setBrush(Qt::NoBrush);
      p.drawRoundedRect(QRectF(left, baseline - box, box, box), box * 0.15, box * 0.15);
      p.setPen(Qt::black);
      p.drawText(QPointF(left + box + boxGap, baseline), Q(words[static_cast<std::size_t>(i)]));
    }
  }
  return true;
}

bool WorksheetPdf::AddKeyPage(int firstNumber, const PuzzleKey* keys, int count) {
  if (!NextPage()) return false;
  QPainter& p = painter_;
  const double width = writer_.width();
  const QString which = count == 1 ? QStringLiteral("Answers to puzzle %1 of %2").arg(firstNumber)
                                   : QStringLiteral("Answers to puzzles %1 to %2 of %3")
                                         .arg(firstNumber)
                                         .arg(firstNumber + count - 1);
  const double foot = PaintFoot(which.arg(options_.puzzleCount));

  // Two by two, as wide as half the page allows, the rows spread evenly
  // down it.
  const double gutter = Mm(12), room = foot - Mm(4);
  const double halfWidth = (width - gutter) / 2;
  const QFont numberFont = Face(12, true), titleFont = Face(12);
  const QFontMetricsF numberMetrics(numberFont, &writer_);
  const double headHeight = numberMetrics.height(), headGap = Mm(2.5);
  for (int k = 0; k < count; ++k) {
    const PuzzleKey& key = keys[k];
    const int cells = key.board.Cols();
    const double cell = std::min(halfWidth, (room - gutter) / 2 - headHeight - headGap) / cells;
    const double side = cell * cells, block = headHeight + headGap + side;
    const double space = (room - 2 * block) / 3;
    const double left = (k % 2) * (halfWidth + gutter) + (halfWidth - side) / 2;
    const double top = space + (k / 2) * (block + space);

    const QString number = QStringLiteral("Puzzle %1").arg(firstNumber + k);
    const double numberWidth = numberMetrics.horizontalAdvance(number);
    p.setFont(numberFont);
    p.drawText(QPointF(left, top + numberMetrics.ascent()), number);
    if (!options_.title.empty()) {
      QFont font = titleFont;
      const double gap = Mm(3);
      const QString title = FitLine(font, Q(options_.title), side - numberWidth - gap, 12, &writer_);
      p.setFont(font);
      p.drawText(QPointF(left + numberWidth + gap, top + numberMetrics.ascent()), title);
    }
    PaintBoard(p, key.board, QPointF(left, top + headHeight + headGap), cell, &key.placed);
  }
  return true;
}

bool WorksheetPdf::Finish() {
  if (!started_) return false;
  const bool ended = painter_.end();
  return ended && !failed_;
}

}  // namespace pelmora
