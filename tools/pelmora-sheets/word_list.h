#pragma once
// A class's word list as a teacher keeps it: a text file, one word a line.
// Blank lines and lines that start with # are passed over; every other line
// is one word, cleaned as the designer cleans what is typed in a word box.

#include <string>
#include <string_view>
#include <vector>

namespace pelmora {

// A word as a word box would store it: the letters A to Z of either case,
// upper-cased, at most the 15 a box holds.
std::string CleanWord(std::string_view typed);

struct WordList {
  std::vector<std::string> words;  // cleaned, in the file's order
  std::string error;               // one line naming the problem; empty when none
};

// Reads the words of the file at path. A file that can't be read, a line
// that cleans to nothing, more words than a game holds or no word at all is
// an error naming the path, and the line and the word where there is one.
WordList ReadWordFile(const std::string& path);

}  // namespace pelmora
