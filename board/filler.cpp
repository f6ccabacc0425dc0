#include "board/filler.h"

#include <algorithm>

#include "board/board.h"

namespace pelmora {

char FillerLetter(double rnd) {
  // Rounding as an assignment rounds (a half to the even neighbour), done by
  // hand: the value is positive and small, and a fill rounds 225 of them.
  const double v = rnd * 25 + 65;
  int code = static_cast<int>(v);
  const double fraction = v - code;
  if (fraction > 0.5 || (fraction == 0.5 && (code & 1) != 0)) ++code;
  return static_cast<char>(std::clamp(code, int{'A'}, int{'Z'}));
}

namespace {

void SetDisplayAttributes(FlexGrid& grid) {
  grid.SetCellAlignment(kCentred);
  grid.SetCellFontBold(true);
}

}  // namespace

void FillFreeCells(FlexGrid& grid, RandomSource& random, int practiceFlag) {
  for (int col = 0; col < grid.Cols(); ++col) {
    for (int row = 0; row < grid.Rows(); ++row) {
      grid.SetCol(col);
      grid.SetRow(row);
      random.Randomize();
      if (practiceFlag == 1) {
        if (grid.Text().empty()) grid.SetText("Z");
      } else if (grid.Text().empty()) {
        const char letter = FillerLetter(random.Rnd());
        grid.SetText(std::string_view(&letter, 1));
      }
      SetDisplayAttributes(grid);
    }
  }
}

void ShuffleBoard(FlexGrid& grid, RandomSource& random) {
  for (int col = 0; col < grid.Cols(); ++col) {
    for (int row = 0; row < grid.Rows(); ++row) {
      grid.SetCol(col);
      grid.SetRow(row);
      random.Randomize();
      const char letter = FillerLetter(random.Rnd());
      grid.SetText(std::string_view(&letter, 1));
      SetDisplayAttributes(grid);
    }
  }
}

}  // namespace pelmora
