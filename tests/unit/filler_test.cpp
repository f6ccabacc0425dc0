// The filler and the idle shuffle: shares of the letters and the cell
// attributes every cell must carry.
#include "board/filler.h"

#include <gtest/gtest.h>

#include <map>

#include "board_test_support.h"

namespace pelmora {
namespace {

using testing::Rows;

TEST(FillerLetter, RoundsToNearestWithHalfSharesAtTheEnds) {
  EXPECT_EQ(FillerLetter(0.0), 'A');
  EXPECT_EQ(FillerLetter(0.5 / 25 - 1e-9), 'A');
  EXPECT_EQ(FillerLetter(0.5 / 25 + 1e-9), 'B');
  EXPECT_EQ(FillerLetter(24.5 / 25 - 1e-9), 'Y');
  EXPECT_EQ(FillerLetter(24.5 / 25 + 1e-9), 'Z');
  EXPECT_EQ(FillerLetter(0.999999), 'Z');
}

TEST(FillFreeCells, RandomFillSharesAndAttributes) {
  SeededRandom random(3);
  std::map<char, int> count;
  constexpr int kFills = 400;
  for (int fill = 0; fill < kFills; ++fill) {
    testing::TestBoard grid;
    grid.SetRow(7);
    grid.SetCol(7);
    grid.SetText("é");  // a word's letter: kept, never written twice
    FillFreeCells(grid, random, /*practiceFlag=*/0);
    for (int r = 0; r < 15; ++r) {
      for (int c = 0; c < 15; ++c) {
        const GridCell& cell = grid.CellAt(r, c);
        ASSERT_EQ(cell.alignment, 4);
        ASSERT_TRUE(cell.bold);
        if (r == 7 && c == 7) {
          ASSERT_EQ(cell.text, "é");
          continue;
        }
        ASSERT_EQ(cell.text.size(), 1u);
        ++count[cell.text[0]];
      }
    }
    EXPECT_EQ(grid.Row(), 14);
    EXPECT_EQ(grid.Col(), 14);
  }
  const double total = kFills * 224.0;
  EXPECT_EQ(count.size(), 26u);
  for (auto [letter, n] : count) {
    const double expected = (letter == 'A' || letter == 'Z') ? 0.02 : 0.04;
    EXPECT_NEAR(n / total, expected, 0.004) << letter;
  }
}

TEST(FillFreeCells, PracticeFillIsZAroundTheWords) {
  SeededRandom random(3);
  testing::TestBoard grid;
  grid.SetRow(0);
  grid.SetCol(3);
  grid.SetText("Q");
  FillFreeCells(grid, random, /*practiceFlag=*/1);
  const auto rows = Rows(grid);
  EXPECT_EQ(rows[0], "ZZZQZZZZZZZZZZZ");
  for (int r = 1; r < 15; ++r) EXPECT_EQ(rows[static_cast<std::size_t>(r)], std::string(15, 'Z'));
  EXPECT_TRUE(grid.CellAt(0, 3).bold);
}

TEST(ShuffleBoard, RewritesEveryCellWhateverItHeld) {
  SeededRandom random(11);
  testing::TestBoard grid;
  grid.SetText("é");
  ShuffleBoard(grid, random);
  const auto first = Rows(grid);
  for (const std::string& row : first) {
    ASSERT_EQ(row.size(), 15u);
    for (char ch : row) ASSERT_TRUE(ch >= 'A' && ch <= 'Z');
  }
  ShuffleBoard(grid, random);
  EXPECT_NE(Rows(grid), first);
  EXPECT_TRUE(grid.CellAt(3, 3).bold);
  EXPECT_EQ(grid.CellAt(3, 3).alignment, 4);
}

}  // namespace
}  // namespace pelmora
