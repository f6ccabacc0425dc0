#include "board/filler.h"

#include "board/board.h"
#include "platform/runtime_helpers.h"

namespace pelmora {

char FillerLetter(double rnd) {
  const auto code = RoundToWhole(rnd * 25 + 65);
  return static_cast<char>(code ? *code : 'A');
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
