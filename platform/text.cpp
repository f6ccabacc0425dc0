#include "platform/text.h"

#include <cstdint>

namespace pelmora {
namespace {

// Length in bytes of the character that starts at s[i]: 1 for a byte that
// doesn't start a well-formed sequence.
std::size_t CharLength(std::string_view s, std::size_t i) {
  const auto b = static_cast<unsigned char>(s[i]);
  std::size_t n = 0;
  if (b < 0x80) return 1;
  if (b >= 0xC2 && b <= 0xDF) n = 2;
  else if (b >= 0xE0 && b <= 0xEF) n = 3;
  else if (b >= 0xF0 && b <= 0xF4) n = 4;
  else return 1;
  if (i + n > s.size()) return 1;
  for (std::size_t k = 1; k < n; ++k) {
    if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return 1;
  }
  const auto b1 = static_cast<unsigned char>(s[i + 1]);
  if (b == 0xE0 && b1 < 0xA0) return 1;  // overlong
  if (b == 0xED && b1 > 0x9F) return 1;  // surrogate
  if (b == 0xF0 && b1 < 0x90) return 1;  // overlong
  if (b == 0xF4 && b1 > 0x8F) return 1;  // beyond U+10FFFF
  return n;
}

char32_t Decode(std::string_view s, std::size_t i, std::size_t n) {
  const auto b = static_cast<unsigned char>(s[i]);
  if (n == 1) return b;
  char32_t c = b & (n == 2 ? 0x1F : n == 3 ? 0x0F : 0x07);
  for (std::size_t k = 1; k < n; ++k) c = (c << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
  return c;
}

char32_t UpperOf(char32_t c) {
  if (c >= U'a' && c <= U'z') return c - 32;
  if (c < 0x80) return c;
  if ((c >= 0xE0 && c <= 0xFE && c != 0xF7)) return c - 32;  // Latin-1
  if (c == 0xFF) return 0x178;
  if (c >= 0x100 && c <= 0x137 && (c & 1)) return c - 1;   // Latin Extended-A pairs
  if (c >= 0x139 && c <= 0x148 && !(c & 1)) return c - 1;
  if (c >= 0x14A && c <= 0x177 && (c & 1)) return c - 1;
  if (c == 0x17A || c == 0x17C || c == 0x17E) return c - 1;
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 32;  // Greek
  if (c == 0x3C2) return 0x3A3;
  if (c >= 0x430 && c <= 0x44F) return c - 32;  // Cyrillic
  if (c >= 0x450 && c <= 0x45F) return c - 80;
  return c;
}

}  // namespace

void AppendUtf8(char32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::size_t Len(std::string_view s) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < s.size(); i += CharLength(s, i)) ++count;
  return count;
}

std::string Left(std::string_view s, std::size_t n) {
  std::size_t i = 0;
  for (std::size_t count = 0; i < s.size() && count < n; ++count) i += CharLength(s, i);
  return std::string(s.substr(0, i));
}

std::vector<std::string> Chars(std::string_view s) {
  std::vector<std::string> out;
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t n = CharLength(s, i);
    out.emplace_back(s.substr(i, n));
    i += n;
  }
  return out;
}

char32_t FirstCodePoint(std::string_view s) {
  if (s.empty()) return 0;
  return Decode(s, 0, CharLength(s, 0));
}

std::string UCase(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t n = CharLength(s, i);
    const auto b = static_cast<unsigned char>(s[i]);
    if (n == 1 && b >= 0x80) {
      out += s[i];  // a stray byte stays as it is
    } else {
      AppendUtf8(UpperOf(Decode(s, i, n)), out);
    }
    i += n;
  }
  return out;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() == b.size() && a == b) return true;
  return UCase(a) == UCase(b);
}

bool IsValidUtf8(std::string_view s) {
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t n = CharLength(s, i);
    if (n == 1 && static_cast<unsigned char>(s[i]) >= 0x80) return false;
    i += n;
  }
  return true;
}

std::string Latin1ToUtf8(std::string_view s) {
  std::string out;
  out.reserve(s.size() + s.size() / 8);
  for (char ch : s) AppendUtf8(static_cast<unsigned char>(ch), out);
  return out;
}

bool Utf8ToLatin1(std::string_view s, std::string& out) {
  out.clear();
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t n = CharLength(s, i);
    const char32_t c = Decode(s, i, n);
    if (c > 0xFF || (n == 1 && c >= 0x80)) return false;
    out += static_cast<char>(c);
    i += n;
  }
  return true;
}

}  // namespace pelmora
