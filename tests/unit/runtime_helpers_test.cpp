// The runtime's number and time forms: the file and the messages depend on
// them to the character.
#include <gtest/gtest.h>

#include <cmath>

#include "platform/runtime_helpers.h"
#include "platform/text.h"

namespace pelmora {
namespace {

TEST(Format, NumbersWithNoFormatText) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {2, "2"},
      {-2, "-2"},
      {0.5, "0.5"},
      {1.0 / 3, "0.333333333333333"},
      {2.0 / 3, "0.666666666666667"},
      {1.0 / 30, "3.33333333333333E-02"},
      {30.0 / 86400, "3.47222222222222E-04"},
      {-30.0 / 86400, "-3.47222222222222E-04"},
      {1e15, "1E+15"},
      {999999999999999, "999999999999999"},
      {123456789012345.6, "123456789012346"},
      {1234567890123456, "1.23456789012346E+15"},
      {0.001, "0.001"},
      {1e-5, "0.00001"},
      {0.000123456789012345, "1.23456789012345E-04"},
      {12.5, "12.5"},
      {4096, "4096"},
      {1e100, "1E+100"},
      {1.5e-100, "1.5E-100"},
      {86400.0 / 86400, "1"},
  };
  for (const auto& c : cases) EXPECT_EQ(Format(c.value), c.text) << c.value;
}

TEST(Format, ATimeWrittenAndReadBackKeepsFifteenDigits) {
  // A record is stored as Format's text and read back by Val: the round trip
  // must not move it by more than the 15th digit.
  for (double seconds : {1.0, 30.0, 59.9, 61.3, 3599.0, 86399.0, 200000.0}) {
    const double days = seconds / 86400;
    const double back = Val(Format(days));
    EXPECT_NEAR(back, days, days * 1e-14) << seconds;
    EXPECT_EQ(Format(back), Format(days));
  }
}

TEST(FormatTime, HoursMinutesSeconds) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0, "00:00:00"},
      {1.5, "12:00:00"},
      {30.0 / 86400, "00:00:30"},
      {59.9999 / 86400, "00:01:00"},
      {59.4 / 86400, "00:00:59"},
      {0.4 / 86400, "00:00:00"},
      {(3600.0 * 23 + 60 * 59 + 59) / 86400, "23:59:59"},
      {(86400 - 0.3) / 86400, "00:00:00"},  // rounds up into the next day
      {2 + 3661.0 / 86400, "01:01:01"},     // whole days are dropped
      {-1.25, "06:00:00"},                  // a negative value: its absolute time
      {NAN, "00:00:00"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatTime(c.value), c.text) << c.value;
}

TEST(Val, NumberAtTheStartOfText) {
  const struct {
    const char* text;
    double value;
  } cases[] = {
      {"", 0},
      {"abc", 0},
      {"0", 0},
      {"1", 1},
      {"-1", -1},
      {"+2", 2},
      {"1.5", 1.5},
      {".5", 0.5},
      {"5.", 5},
      {"1.2.3", 1.2},
      {"12abc", 12},
      {" 1 2 ", 12},  // blanks are skipped wherever they stand
      {"\t-\n 5", -5},
      {"1\r2", 1},  // a carriage return is an ordinary character
      {"3.47222222222222E-04", 3.47222222222222E-04},
      {"1e3", 1000},
      {"1D3", 1000},
      {"1E+2x", 100},
      {"1e", 1},
      {"1e+", 1},
      {"e5", 0},
      {".", 0},
      {"-", 0},
      {"+-1", 0},
      {"--1", 0},
      {"1e400", 0},  // no number the program can hold
      {"1e-400", 0},
      {"-0", 0},
      {"0x10", 0},
  };
  for (const auto& c : cases) EXPECT_DOUBLE_EQ(Val(c.text), c.value) << '"' << c.text << '"';
  EXPECT_FALSE(std::signbit(Val("-0")));
}

TEST(RoundToWhole, HalvesGoToTheEvenNeighbour) {
  const struct {
    double value;
    int whole;
  } cases[] = {{0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {0.49, 0}, {0.51, 1},
               {89.5, 90}, {65.5, 66}, {66.5, 66}, {-2.5, -2}, {1e9, 1000000000}};
  for (const auto& c : cases) EXPECT_EQ(RoundToWhole(c.value), c.whole) << c.value;
  EXPECT_FALSE(RoundToWhole(1e10).has_value());
  EXPECT_FALSE(RoundToWhole(INFINITY).has_value());
  EXPECT_FALSE(RoundToWhole(NAN).has_value());
}

TEST(QBColor, SixteenColoursAndBack) {
  EXPECT_EQ(QBColor(0), 0x000000u);
  EXPECT_EQ(QBColor(4), 0x800000u);
  EXPECT_EQ(QBColor(12), 0xFF0000u);
  EXPECT_EQ(QBColor(15), 0xFFFFFFu);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(QBColorIndex(QBColor(i)), i);
  EXPECT_EQ(QBColorIndex(0x123456), -1);
}

TEST(DateValue, DaysSinceTheZeroDate) {
  EXPECT_DOUBLE_EQ(DateValue(1899, 12, 30, 0, 0, 0), 0);
  EXPECT_DOUBLE_EQ(DateValue(1900, 1, 1, 0, 0, 0), 2);
  EXPECT_DOUBLE_EQ(DateValue(2000, 1, 1, 12, 0, 0), 36526.5);
  // Across midnight a duration stays positive and whole.
  EXPECT_NEAR(DateValue(2026, 3, 1, 0, 0, 10) - DateValue(2026, 2, 28, 23, 59, 50), 20.0 / 86400,
              1e-9);
}

TEST(Text, CharactersNotBytes) {
  EXPECT_EQ(Len("ÉLAN"), 4u);
  EXPECT_EQ(Left("ÉÉÉ", 2), "ÉÉ");
  EXPECT_EQ(Left("ab", 5), "ab");
  EXPECT_EQ(Chars("aÉ").size(), 2u);
  EXPECT_EQ(UCase("café ñandú straße"), "CAFÉ ÑANDÚ STRAßE");
  EXPECT_EQ(UCase("abc\xff"), "ABC\xff");  // a stray byte survives unchanged
  EXPECT_TRUE(EqualsIgnoringCase("Fruit", "FRUIT"));
  EXPECT_FALSE(EqualsIgnoringCase("Fruit ", "FRUIT"));
  EXPECT_TRUE(IsValidUtf8("É"));
  EXPECT_FALSE(IsValidUtf8("\xC9"));
  EXPECT_EQ(Latin1ToUtf8("\xC9"), "É");
  std::string latin;
  EXPECT_TRUE(Utf8ToLatin1("É", latin));
  EXPECT_EQ(latin, "\xC9");
  EXPECT_FALSE(Utf8ToLatin1("€", latin));
  // Broken sequences count one character a byte and never run past the end.
  EXPECT_EQ(Len("\xE2\x82"), 2u);
  EXPECT_EQ(Len("\xF0\x9F\x98\x80x"), 2u);
}

}  // namespace
}  // namespace pelmora
