// The control models: the rules of the runtime that the handlers lean on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {
namespace {

TEST(ListBox, SortedInsertionSelectionAndOutOfRange) {
  ListBox list("List1", {}, 0, /*sorted=*/true);
  std::vector<std::string> seen;
  list.onChanged = [&](Change c, int i) {
    if (c == Change::ItemAdded) seen.push_back(std::to_string(i));
  };
  for (const char* w : {"PEAR", "APPLE", "PLUM", "APPLE", "fig"}) list.AddItem(w);
  EXPECT_EQ(list.Items(), (std::vector<std::string>{"APPLE", "APPLE", "fig", "PEAR", "PLUM"}));
  EXPECT_EQ(seen, (std::vector<std::string>{"0", "0", "2", "1", "2"}));

  int clicks = 0;
  list.Click = [&] { ++clicks; };
  list.UserSelect(3);
  EXPECT_EQ(list.Text(), "PEAR");
  EXPECT_EQ(clicks, 1);
  list.AddItem("BANANA");  // inserted above the selection: it follows its item
  EXPECT_EQ(list.ListIndex(), 4);
  EXPECT_EQ(list.Text(), "PEAR");
  list.RemoveItem(0);
  EXPECT_EQ(list.Text(), "PEAR");
  list.RemoveItem(list.ListIndex());
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_EQ(list.Text(), "");
  EXPECT_EQ(list.List(-1), "");
  EXPECT_EQ(list.List(99), "");
  list.RemoveItem(99);  // nothing happens
  list.UserSelect(99);
  EXPECT_EQ(clicks, 1);
  list.UserSelect(0);
  list.Clear();
  EXPECT_EQ(list.ListCount(), 0);
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_EQ(clicks, 2);  // Clear raises no Click
}

TEST(ListBox, UnsortedKeepsArrivalOrder) {
  ListBox list("List2", {}, 0, /*sorted=*/false);
  for (const char* w : {"ZED", "ALPHA", "ZED"}) list.AddItem(w);
  EXPECT_EQ(list.Items(), (std::vector<std::string>{"ZED", "ALPHA", "ZED"}));
}

TEST(CheckBox, ClickRaisedOnlyByAChangeOfValue) {
  CheckBox box("Check1", {}, 0, "Practice Mode On");
  std::vector<int> clicks;
  box.Click = [&] { clicks.push_back(box.Value()); };
  box.SetValue(0);  // no change: no Click
  box.SetValue(2);
  box.SetValue(2);
  box.UserClick();  // the grey 2 becomes 1
  box.UserClick();  // 1 becomes 0
  box.UserClick();  // 0 becomes 1
  EXPECT_EQ(clicks, (std::vector<int>{2, 1, 0, 1}));
}

TEST(TextBox, TypingRaisesKeyEventsAndRespectsMaxLength) {
  TextBox box("Text1", {}, 0, /*maxLength=*/3);
  std::string log;
  box.KeyDown = [&](int code, int) { log += "D" + std::to_string(code) + " "; };
  box.KeyPress = [&](int& ascii) { log += "P" + std::to_string(ascii) + " "; };
  box.ChangeEvent = [&] { log += "C(" + box.Text() + ") "; };
  for (const char* c : {"a", "É", "c", "d"}) box.UserType(c);
  EXPECT_EQ(box.Text(), "aÉc");  // the fourth character is refused
  EXPECT_EQ(log, "D65 P97 C(a) D0 P201 C(aÉ) D67 P99 C(aÉc) D68 P100 ");
  log.clear();
  box.UserKeyDown(37);
  EXPECT_EQ(log, "D37 ");
  log.clear();
  box.SetText("xyz1");  // the program may set more than the typing bound
  box.SetText("xyz1");
  EXPECT_EQ(log, "C(xyz1) ");
}

TEST(PictureBox, APictureDropsTheCirclesAndSetsTheSize) {
  FlexGrid grid("Grid1", {}, 0);
  grid.SetRows(15);
  grid.SetCols(15);
  for (int i = 0; i < 15; ++i) {
    grid.SetRowHeight(i, 500);
    grid.SetColWidth(i, 500);
  }
  PictureBox surface("Picture1", {720, 0, 975, 615}, 1, 3);
  surface.Circle(200, 200, 200, 0xFF0000);
  surface.SetPicture(grid.Picture());
  EXPECT_TRUE(surface.Circles().empty());
  EXPECT_EQ(surface.Width(), 7500);
  EXPECT_EQ(surface.Height(), 7500);
  surface.Circle(700, 200, 200, 0x0000FF);
  ASSERT_EQ(surface.Circles().size(), 1u);
  EXPECT_EQ(surface.Circles()[0].drawWidth, 3);
}

TEST(FlexGrid, CursorClearAndSnapshot) {
  FlexGrid grid("Grid1", {}, 0);
  EXPECT_EQ(grid.Rows(), 10);
  grid.SetRows(15);
  grid.SetCols(15);
  EXPECT_TRUE(grid.SetRow(14));
  EXPECT_TRUE(grid.SetCol(3));
  grid.SetText("Q");
  grid.SetCellAlignment(4);
  grid.SetCellFontBold(true);
  // A put outside the grid fails and leaves the cursor.
  EXPECT_FALSE(grid.SetRow(15));
  EXPECT_FALSE(grid.SetCol(-1));
  EXPECT_EQ(grid.Row(), 14);
  EXPECT_EQ(grid.Col(), 3);
  const PictureHandle before = grid.Picture();
  grid.SetText("R");
  EXPECT_EQ(before->At(14, 3).text, "Q");  // the snapshot doesn't follow
  grid.SetRowHeight(2, 500);
  grid.Clear();
  EXPECT_EQ(grid.CellAt(14, 3).text, "");
  EXPECT_FALSE(grid.CellAt(14, 3).bold);
  EXPECT_EQ(grid.CellAt(14, 3).alignment, 0);
  EXPECT_EQ(grid.RowHeight(2), 500);  // sizes stay through Clear
}

TEST(Random, ReseedingWhileTheClockStandsStillDoesNotRepeat) {
  ClockSeededRandom random([] { return std::uint64_t{42}; });
  std::vector<double> draws;
  for (int i = 0; i < 225; ++i) {
    random.Randomize();
    draws.push_back(random.Rnd());
  }
  std::sort(draws.begin(), draws.end());
  EXPECT_EQ(std::adjacent_find(draws.begin(), draws.end()), draws.end());
  for (double d : draws) {
    EXPECT_GE(d, 0.0);
    EXPECT_LT(d, 1.0);
  }
}

TEST(Random, SeededSourceRepeatsAndIgnoresRandomize) {
  SeededRandom a(7), b(7), c(8);
  std::vector<double> da, db, dc;
  for (int i = 0; i < 10; ++i) {
    a.Randomize();
    da.push_back(a.Rnd());
    db.push_back(b.Rnd());
    dc.push_back(c.Rnd());
  }
  EXPECT_EQ(da, db);
  EXPECT_NE(da, dc);
}

}  // namespace
}  // namespace pelmora
