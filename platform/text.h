#pragma once
// Text as the program sees it: UTF-8 in std::string, counted in characters
// (code points), as the forms runtime counts them. A byte that isn't part of
// valid UTF-8 counts as one character of its own, so no input can make these
// functions read out of bounds or loop.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pelmora {

// Number of characters in s.
std::size_t Len(std::string_view s);

// The first n characters of s (all of s when it is shorter); never cuts a
// character in two.
std::string Left(std::string_view s, std::size_t n);

// The characters of s, one string each, in order.
std::vector<std::string> Chars(std::string_view s);

// The code of the first character of s; 0 for an empty text.
char32_t FirstCodePoint(std::string_view s);

// Appends the character c to out as UTF-8.
void AppendUtf8(char32_t c, std::string& out);

// Upper case: ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic letters;
// everything else is kept as it is.
std::string UCase(std::string_view s);

// Equality without regard to case, by UCase of both sides.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

bool IsValidUtf8(std::string_view s);
// Each byte taken as the Latin-1 character of that code.
std::string Latin1ToUtf8(std::string_view s);
// The UTF-8 text as Latin-1 bytes; false when a character has no Latin-1 code
// (out is then unspecified).
bool Utf8ToLatin1(std::string_view s, std::string& out);

}  // namespace pelmora
