#include "platform/runtime_helpers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace pelmora {

std::string Format(double x) {
  if (x == 0 || !std::isfinite(x)) return "0";
  // A whole number of at most fifteen digits is its own plain digits. Key
  // names are formatted this way thousands of times in a walk of the index,
  // so they skip the floating-point printing below.
  if (std::fabs(x) < 1e15 && x == std::trunc(x)) {
    char whole[24];
    const auto end = std::to_chars(whole, whole + sizeof whole, static_cast<long long>(x)).ptr;
    return std::string(whole, end);
  }
  // Fifteen significant digits, rounded to nearest by printf.
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.14E", std::fabs(x));
  // buf is d.ddddddddddddddE±XX
  std::string digits;
  digits += buf[0];
  digits.append(buf + 2, 14);
  const int exponent = std::atoi(buf + 17);
  while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
  const int count = static_cast<int>(digits.size());

  std::string out = x < 0 ? "-" : "";
  const int before = exponent >= 0 ? exponent + 1 : 1;
  const int after = exponent >= 0 ? std::max(0, count - exponent - 1) : count - exponent - 1;
  if (before <= 15 && after <= 15) {
    if (exponent >= 0) {
      out += digits.substr(0, std::min(count, exponent + 1));
      for (int i = count; i < exponent + 1; ++i) out += '0';
      if (count > exponent + 1) out += "." + digits.substr(exponent + 1);
    } else {
      out += "0.";
      out.append(-exponent - 1, '0');
      out += digits;
    }
    return out;
  }
  out += digits[0];
  if (count > 1) out += "." + digits.substr(1);
  char exp[16];
  std::snprintf(exp, sizeof exp, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
  return out + exp;
}

std::string FormatTime(double dateValue) {
  if (!std::isfinite(dateValue)) return "00:00:00";
  const double a = std::fabs(dateValue);
  const double fraction = a - std::floor(a);
  long long seconds = std::llround(fraction * 86400.0);
  if (seconds >= 86400) seconds -= 86400;
  char buf[64];
  std::snprintf(buf, sizeof buf, "%02lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return buf;
}

double Val(std::string_view text) {
  std::string s;
  s.reserve(text.size());
  for (char c : text) {
    if (c != ' ' && c != '\t' && c != '\n') s += c;
  }
  std::string literal;
  std::size_t i = 0;
  bool negative = false;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
  bool anyDigit = false;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') literal += s[i++], anyDigit = true;
  if (i < s.size() && s[i] == '.') {
    literal += s[i++];
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') literal += s[i++], anyDigit = true;
  }
  if (!anyDigit) return 0;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    std::size_t j = i + 1;
    std::string exponent = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exponent += s[j++];
    bool expDigit = false;
    while (j < s.size() && s[j] >= '0' && s[j] <= '9') exponent += s[j++], expDigit = true;
    if (expDigit) literal += exponent;
  }
  if (literal.front() == '.') literal.insert(literal.begin(), '0');
  double value = 0;
  const auto [end, ec] = std::from_chars(literal.data(), literal.data() + literal.size(), value);
  (void)end;
  if (ec == std::errc::result_out_of_range) {
    // An underflow reads as 0; an overflow is no number the program can hold.
    return 0;
  }
  if (ec != std::errc() || value == 0) return 0;
  return negative ? -value : value;
}

std::optional<std::int32_t> RoundToWhole(double x) {
  if (!std::isfinite(x)) return std::nullopt;
  const double r = std::nearbyint(x);  // default rounding: to nearest, ties to even
  if (r < -2147483648.0 || r > 2147483647.0) return std::nullopt;
  return static_cast<std::int32_t>(r);
}

namespace {
constexpr std::array<std::uint32_t, 16> kQBColors = {
    0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080, 0x808000, 0xC0C0C0,
    0x808080, 0x0000FF, 0x00FF00, 0x00FFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
}

std::uint32_t QBColor(int index) {
  if (index < 0 || index > 15) return 0;
  return kQBColors[static_cast<std::size_t>(index)];
}

int QBColorIndex(std::uint32_t rgb) {
  for (std::size_t i = 0; i < kQBColors.size(); ++i) {
    if (kQBColors[i] == rgb) return static_cast<int>(i);
  }
  return -1;
}

double DateValue(int year, int month, int day, int hour, int minute, double second) {
  // Days from 1899-12-30 by the civil calendar (proleptic Gregorian).
  auto daysFromCivil = [](long long y, unsigned m, unsigned d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
  };
  const long long days = daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) -
                         daysFromCivil(1899, 12, 30);
  return static_cast<double>(days) + (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

}  // namespace pelmora
