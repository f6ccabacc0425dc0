#include "board/word_placer.h"

#include <cmath>

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

// Moves the cursor one step along an axis and runs that axis's stop test:
// arriving on the far edge of the direction of travel rejects the try, and
// so does a step that would leave the board (the cursor stays on the edge).
bool StepRowAndTest(FlexGrid& grid, int step) {
  if (step == 0) return true;
  if (!grid.SetRow(grid.Row() + step)) return false;
  return grid.Row() != (step > 0 ? grid.Rows() - 1 : 0);
}

bool StepColAndTest(FlexGrid& grid, int step) {
  if (step == 0) return true;
  if (!grid.SetCol(grid.Col() + step)) return false;
  return grid.Col() != (step > 0 ? grid.Cols() - 1 : 0);
}

// The rows come first on a diagonal, then the columns.
bool Step(FlexGrid& grid, const Heading& h) {
  return StepRowAndTest(grid, h.rowStep) && StepColAndTest(grid, h.colStep);
}

int Floor(double v) { return static_cast<int>(std::floor(v)); }

}  // namespace

bool TryPlacement(FlexGrid& grid, const std::vector<std::string>& letters, int direction, int row,
                  int col) {
  const int length = static_cast<int>(letters.size());
  if (BoundRejects(direction, grid.Rows(), grid.Cols(), length, row, col)) return false;
  if (!grid.SetRow(row) || !grid.SetCol(col)) return false;
  const Heading& h = kHeadings[direction];
  for (int k = h.leadStep ? 0 : 1; k <= length; ++k) {
    if (!Step(grid, h)) return false;
    const std::string& cell = grid.Text();
    if (cell.empty()) continue;
    // A lead cell must be free; a letter cell passes only with the same letter.
    if (k == 0 || cell != letters[static_cast<std::size_t>(k - 1)]) return false;
  }
  return true;
}

void WriteWord(FlexGrid& grid, const std::vector<std::string>& letters, int direction, int row,
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

// Every legal (direction, drawn cell) pair, one drawn at random: the last
// resort for a word that the random tries could not place.
bool PlaceExhaustively(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& letters) {
  struct Pair {
    int direction, row, col;
  };
  std::vector<Pair> legal;
  for (int d = 0; d < 8; ++d) {
    for (int r = 0; r < grid.Rows(); ++r) {
      for (int c = 0; c < grid.Cols(); ++c) {
        if (TryPlacement(grid, letters, d, r, c)) legal.push_back({d, r, c});
      }
    }
  }
  if (legal.empty()) return false;
  random.Randomize();
  const auto pick = static_cast<std::size_t>(Floor(random.Rnd() * static_cast<double>(legal.size())));
  const Pair& p = legal[std::min(pick, legal.size() - 1)];
  WriteWord(grid, letters, p.direction, p.row, p.col);
  return true;
}

// One word's turn: directions drawn and kept for 500 start cells each.
bool PlaceWord(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& letters) {
  for (int draws = 0; draws < kDirectionDrawLimit; ++draws) {
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
      return true;
    }
  }
  return PlaceExhaustively(grid, random, letters);
}

}  // namespace

std::vector<int> PlaceWordList(FlexGrid& grid, RandomSource& random, const WordSlots& slots,
                               int wordCount) {
  std::vector<int> leftOut;
  for (int slot = 0; slot <= wordCount && slot < static_cast<int>(slots.size()); ++slot) {
    const std::vector<std::string> letters = Chars(slots[static_cast<std::size_t>(slot)]);
    const bool placed =
        static_cast<int>(letters.size()) <= kLongestWord && PlaceWord(grid, random, letters);
    // Slot 0 is the empty word: it always fits and is no word of the game.
    if (!placed && slot > 0) leftOut.push_back(slot);
  }
  return leftOut;
}

}  // namespace pelmora
