#pragma once
// The forms runtime's helpers for numbers, times and colours, in the exact
// forms the program's file and messages rely on. Pure functions.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pelmora {

// Format(x) with no format text: 15 significant digits, trailing zeros
// dropped, fixed notation when it needs at most 15 digits on either side of
// the point, otherwise d.dddE+XX. The point is always '.', whatever the locale.
std::string Format(double x);

// Format(t, "hh:mm:ss") of a Date value: whole days dropped, a negative value
// shown as its absolute value, rounded to the nearest second.
std::string FormatTime(double dateValue);

// Val(text): blanks, tabs and line feeds are skipped wherever they stand; then
// an optional sign, digits, one point and an exponent (E or D); reading stops
// at the first other character. Empty, unreadable or out-of-range text gives 0.
double Val(std::string_view text);

// Assignment of a number to a whole-number field: to nearest, a half to the
// even neighbour. Values beyond the 32-bit range give nullopt (an overflow
// in the runtime).
std::optional<std::int32_t> RoundToWhole(double x);

// QBColor(i), i from 0 to 15, as 0xRRGGBB. Out of range gives black.
std::uint32_t QBColor(int index);
// The index whose QBColor is rgb, or -1.
int QBColorIndex(std::uint32_t rgb);

// A Date value: days since 1899-12-30 00:00:00, the fraction being the time.
double DateValue(int year, int month, int day, int hour, int minute, double second);

}  // namespace pelmora
