#include "board/word_placer.h"

#include <optional>

#include "platform/text.h"

namespace pelmora {

namespace {

struct Heading {
  int rowStep;
  int colStep;
  bool leadStep;  // a step onto the lead cell before the first letter
};

constexpr Heading kHeadings[8] = {
    {0, +1, true},    // right
    {0, -1, false},   // left
    {+1, 0, true},    // down
    {-1, 0, false},   // up
    {+1, +1, true},   // down and right
    {-1, -1, true},   // up and left
    {-1, +1, true},   // up and right
    {+1, -1, true},   // down and left
};

// The bound tests of a direction, in their order; true rejects the try.
bool BoundRejects(int direction, int rows, int cols, int length, int r, int c) {
  const bool leftRoomShort = length + 1 > c;
  const bool rightRoomShort = cols - length - 1 < c;
  const bool upRoomShort = length + 1 > r;
  const bool downRoomShort = rows - length - 1 < r;
  switch (direction) {
    case kRight: return rightRoomShort;
    case kLeft: return leftRoomShort;
    case kDown: return downRoomShort;
    case kUp: return upRoomShort;
    case kDownRight: return rightRoomShort || downRoomShort;
    case kUpLeft: return leftRoomShort || upRoomShort;
    case kUpRight: return rightRoomShort || upRoomShort;
    case kDownLeft: return leftRoomShort || downRoomShort;
    default: return true;
  }
}

// Where the walk stands after step k (k = 0 is the lead step), counted from
// the drawn cell.
int StepsAt(const Heading& h, int k) { return h.leadStep ? k + 1 : k; }

// The floor of a draw scaled up: draws are never negative, so truncation is
// the floor, without a call into the maths library on every try.
int Floor(double v) { return static_cast<int>(v); }

}  // namespace

Letters SplitLetters(std::string_view word) {
  Letters letters;
  letters.reserve(word.size());
  for (std::size_t i = 0; i < word.size();) {
    const std::size_t n = Left(word.substr(i), 1).size();
    letters.push_back(word.substr(i, n));
    i += n;
  }
  return letters;
}

bool TryPlacement(const FlexGrid& grid, const Letters& letters, int direction, int row, int col) {
  const int length = static_cast<int>(letters.size());
  const int rows = grid.Rows();
  const int cols = grid.Cols();
  if (BoundRejects(direction, rows, cols, length, row, col)) return false;
  if (row < 0 || row >= rows || col < 0 || col >= cols) return false;
  const Heading& h = kHeadings[direction];
  // The stop tests: no step may arrive on the far edge of its direction of
  // travel (nor leave the board). The walk moves one way on each axis, so
  // its last step is the one that comes nearest to that edge.
  const int firstStep = h.leadStep ? 0 : 1;
  if (length >= firstStep) {
    const int last = StepsAt(h, length);
    const int lastRow = row + h.rowStep * last;
    const int lastCol = col + h.colStep * last;
    if (h.rowStep > 0 && lastRow >= rows - 1) return false;
    if (h.rowStep < 0 && lastRow <= 0) return false;
    if (h.colStep > 0 && lastCol >= cols - 1) return false;
    if (h.colStep < 0 && lastCol <= 0) return false;
  }
  // The cell tests, step by step: a lead cell must be free; a letter cell
  // passes when free or holding the same letter.
  for (int k = firstStep; k <= length; ++k) {
    const int n = StepsAt(h, k);
    const std::string& cell = grid.CellAt(row + h.rowStep * n, col + h.colStep * n).text;
    if (cell.empty()) continue;
    if (k == 0 || cell != letters[static_cast<std::size_t>(k - 1)]) return false;
  }
  return true;
}

void WriteWord(FlexGrid& grid, const Letters& letters, int direction, int row,
               int col) {
  grid.SetCol(col);
  grid.SetRow(row);
  const Heading& h = kHeadings[direction];
  const int length = static_cast<int>(letters.size());
  for (int k = h.leadStep ? 0 : 1; k <= length; ++k) {
    grid.SetRow(grid.Row() + h.rowStep);
    grid.SetCol(grid.Col() + h.colStep);
    if (k > 0) grid.SetText(letters[static_cast<std::size_t>(k - 1)]);
  }
}

namespace {

// After this many direction draws a word is checked for having any place at
// all: one that has none is left out at once rather than after all 64 draws.
// The outcome is the same (no draw could ever have placed it); only the time
// of a hopeless deal changes, from milliseconds to microseconds.
constexpr int kHopelessCheckAfter = 4;

struct Placement {
  int direction, row, col;
};

// Every legal (direction, drawn cell) pair on the board as it stands; with
// firstOnly, stops at the first.
std::vector<Placement> LegalPlacements(const FlexGrid& grid, const Letters& letters,
                                       bool firstOnly) {
  std::vector<Placement> legal;
  for (int d = 0; d < 8; ++d) {
    for (int r = 0; r < grid.Rows(); ++r) {
      for (int c = 0; c < grid.Cols(); ++c) {
        if (!TryPlacement(grid, letters, d, r, c)) continue;
        legal.push_back({d, r, c});
        if (firstOnly) return legal;
      }
    }
  }
  return legal;
}

// The last resort for a word that the random tries could not place: one of
// its legal placements, drawn at random.
std::optional<Placement> PlaceExhaustively(FlexGrid& grid, RandomSource& random,
                                           const Letters& letters) {
  const std::vector<Placement> legal = LegalPlacements(grid, letters, /*firstOnly=*/false);
  if (legal.empty()) return std::nullopt;
  random.Randomize();
  const auto pick = static_cast<std::size_t>(Floor(random.Rnd() * static_cast<double>(legal.size())));
  const Placement& p = legal[std::min(pick, legal.size() - 1)];
  WriteWord(grid, letters, p.direction, p.row, p.col);
  return p;
}

// One word's turn: directions drawn and kept for 500 start cells each.
// Gives where the word went, or nothing when it was left out.
std::optional<Placement> PlaceWord(FlexGrid& grid, RandomSource& random, const Letters& letters) {
  for (int draws = 0; draws < kDirectionDrawLimit; ++draws) {
    if (draws == kHopelessCheckAfter && LegalPlacements(grid, letters, /*firstOnly=*/true).empty()) {
      return std::nullopt;
    }
    random.Randomize();
    const int direction = Floor(random.Rnd() * 8);
    for (int tryCount = 1; tryCount <= kTryLimit; ++tryCount) {
      random.Randomize();
      grid.SetRow(Floor(random.Rnd() * grid.Rows()));
      grid.SetCol(Floor(random.Rnd() * grid.Cols()));
      const int row = grid.Row();
      const int col = grid.Col();
      if (!TryPlacement(grid, letters, direction, row, col)) continue;
      WriteWord(grid, letters, direction, row, col);
      return Placement{direction, row, col};
    }
  }
  return PlaceExhaustively(grid, random, letters);
}

}  // namespace

CellAddress LetterCell(const WordPlacement& placement, int k) {
  const Heading& h = kHeadings[placement.direction];
  const int n = StepsAt(h, k);
  return {placement.row + h.rowStep * n, placement.col + h.colStep * n};
}

std::vector<int> PlaceWordList(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words,
                               std::vector<WordPlacement>* placed) {
  // The empty word always fits and is no word of the game.
  PlaceWord(grid, random, Letters{});
  std::vector<int> leftOut;
  for (int word = 0; word < static_cast<int>(words.size()); ++word) {
    const Letters letters = SplitLetters(words[static_cast<std::size_t>(word)]);
    const int length = static_cast<int>(letters.size());
    const std::optional<Placement> where =
        length <= kLongestWord ? PlaceWord(grid, random, letters) : std::nullopt;
    if (!where) leftOut.push_back(word);
    else if (placed) placed->push_back({word, where->direction, where->row, where->col, length});
  }
  return leftOut;
}

}  // namespace pelmora
