// The runtime's helpers, text and the models the handlers lean on: the file
// and the messages depend on these to the character.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "platform/controls.h"
#include "platform/random.h"
#include "platform/runtime_helpers.h"
#include "platform/text.h"

namespace pelmora {
namespace {

TEST(Format, NumbersWithNoFormatText) {
  const std::pair<double, const char*> cases[] = {
      {0, "0"}, {-0.0, "0"}, {2, "2"}, {-2, "-2"}, {0.5, "0.5"}, {1.0 / 3, "0.333333333333333"},
      {2.0 / 3, "0.666666666666667"}, {1.0 / 30, "3.33333333333333E-02"}, {30.0 / 86400, "3.47222222222222E-04"},
      {-30.0 / 86400, "-3.47222222222222E-04"}, {1e15, "1E+15"}, {999999999999999, "999999999999999"},
      {123456789012345.6, "123456789012346"}, {1234567890123456, "1.23456789012346E+15"}, {1e-5, "0.00001"},
      {0.000123456789012345, "1.23456789012345E-04"}, {4096, "4096"}, {100, "100"}, {1.5e-100, "1.5E-100"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(Format(value), text) << value;
  // A record stored as Format's text and read back by Val keeps 15 digits.
  for (double seconds : {1.0, 30.0, 59.9, 3599.0, 200000.0})
    EXPECT_EQ(Format(Val(Format(seconds / 86400))), Format(seconds / 86400));
}

TEST(FormatTime, HoursMinutesSeconds) {
  const std::pair<double, const char*> cases[] = {
      {0, "00:00:00"}, {1.5, "12:00:00"}, {30.0 / 86400, "00:00:30"}, {59.9999 / 86400, "00:01:00"},
      {59.4 / 86400, "00:00:59"}, {(86400 - 0.3) / 86400, "00:00:00"}, {2 + 3661.0 / 86400, "01:01:01"},
      {-1.25, "06:00:00"}, {NAN, "00:00:00"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(FormatTime(value), text) << value;
}

TEST(Val, NumberAtTheStartOfText) {
  const std::pair<const char*, double> cases[] = {
      {"", 0}, {"abc", 0}, {"-1", -1}, {"+29", 29}, {".95", 0.95}, {"1.2.3", 1.2}, {" 1 2 ", 12}, {"\t-\n 5", -5},
      {"1\r2", 1}, {"3.47222222222222E-04", 3.47222222222222E-04}, {"1D3", 1000}, {"1E+9x", 1e9}, {"1e", 1},
      {"e5", 0}, {"+-1", 0}, {"1e400", 0}, {"0x10", 0}};
  for (const auto& [text, value] : cases) EXPECT_DOUBLE_EQ(Val(text), value) << '"' << text << '"';
}

TEST(RoundToWhole, HalvesGoToTheEvenNeighbour) {
  const std::pair<double, int> cases[] = {{0.5, 0}, {1.5, 2}, {2.5, 2}, {-1.5, -2}, {0.51, 1}, {89.5, 90},
      {2147483647.0, INT32_MAX}, {-2147483648.0, INT32_MIN}};
  for (const auto& [value, whole] : cases) EXPECT_EQ(RoundToWhole(value), whole) << value;
  EXPECT_FALSE(RoundToWhole(1e10).has_value());
  EXPECT_FALSE(RoundToWhole(NAN).has_value());
}

TEST(Text, CharactersNotBytes) {
  EXPECT_EQ(Len("ÉLAN"), 4u);
  EXPECT_EQ(Left("ÉÉÉ", 2), "ÉÉ");
  EXPECT_EQ(UCase("café ñandú straße þ ķň αβγω ажукя ёџ źżž a😀𐀀"), "CAFÉ ÑANDÚ STRAßE Þ ĶŇ ΑΒΓΩ АЖУКЯ ЁЏ ŹŻŽ A😀𐀀");
  EXPECT_EQ(UCase("az\xff\xf4\x90\x80\x80"), "AZ\xff\xf4\x90\x80\x80");
  EXPECT_FALSE(EqualsIgnoringCase("Fruit ", "FRUIT"));
  EXPECT_EQ(Latin1ToUtf8("\x80\xC9"), "\xC2\x80" "É");
  std::string latin;
  EXPECT_TRUE(Utf8ToLatin1("É", latin) && latin == "\xC9");
  EXPECT_FALSE(Utf8ToLatin1("€", latin) || Utf8ToLatin1("\x80", latin));
  // Broken sequences count one character a byte and never run past the end.
  EXPECT_EQ(Len("\xE2\x82"), 2u);
  EXPECT_EQ(Len("\xF0\x9F\x98\x80x\xF0\x90\x80\x80"), 3u);
  EXPECT_DOUBLE_EQ(DateValue(2000, 1, 1, 12, 1, 30), 36526.5 + 90 / 86400.0);
  EXPECT_EQ(DateValue(2024, 3, 1, 0, 0, 0) - DateValue(2024, 2, 28, 0, 0, 0), 2);
  EXPECT_EQ(DateValue(2100, 3, 1, 0, 0, 0) - DateValue(2100, 2, 28, 0, 0, 0), 1);  // no leap day
}

TEST(ListBox, SortedInsertionFollowsTheSelection) {
  ListBox list("List1", {}, 0, /*sorted=*/true);
  for (const char* w : {"PEAR", "APPLE", "PLUM", "apple", "fig"}) list.AddItem(w);
  // Text order without regard to case; an item goes behind those it equals.
  EXPECT_EQ(list.Items(), (std::vector<std::string>{"APPLE", "apple", "fig", "PEAR", "PLUM"}));
  int clicks = 0;
  list.Click = [&] { ++clicks; };
  list.UserSelect(3);
  list.AddItem("BANANA");  // inserted above the selection, which follows its item
  list.RemoveItem(0);
  EXPECT_EQ(list.Text(), "PEAR");
  list.RemoveItem(list.ListIndex());
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_EQ(list.List(list.ListCount()), "");
  list.RemoveItem(list.ListCount());
  list.UserSelect(99);
  EXPECT_EQ(list.ListCount(), 4);
  list.Clear();
  EXPECT_EQ(clicks, 1);
}

TEST(Random, ReseedsNeverRepeatAndSeedsRepeat) {
  // Re-seeded 225 times while the clock stands still: no draw repeats.
  ClockSeededRandom random([] { return std::uint64_t{42}; });
  std::vector<double> draws;
  for (int i = 0; i < 225; ++i) random.Randomize(), draws.push_back(random.Rnd());
  std::sort(draws.begin(), draws.end());
  EXPECT_EQ(std::adjacent_find(draws.begin(), draws.end()), draws.end());
  EXPECT_TRUE(draws.front() >= 0 && draws.back() < 1);
  SeededRandom a(7), b(7), c(8);
  a.Randomize();
  const double first = a.Rnd();
  EXPECT_EQ(first, b.Rnd());
  EXPECT_NE(first, c.Rnd());
}

}  // namespace
}  // namespace pelmora
