#include "tools/pelmora-sheets/word_list.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {

namespace {

constexpr std::size_t kWordBoxLength = 15;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view TrimBlanks(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

}  // namespace

std::string CleanWord(std::string_view typed) { return Left(UCase(NormaliseWord(typed)), kWordBoxLength); }

WordList ReadWordFile(const std::string& path) {
  WordList list;
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    list.error = "can't read " + path + ": it is a folder";
    return list;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    list.error = "can't read " + path + ": " + std::strerror(errno);
    return list;
  }
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    std::string_view text = line;
    if (number == 1 && text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    text = TrimBlanks(text);
    if (text.empty() || text.front() == '#') continue;
    const std::string word = CleanWord(text);
    const std::string where = path + " line " + std::to_string(number) + ": ";
    if (word.empty()) {
      list.error = where + "\"" + std::string(text) + "\" has no letters A to Z";
      return list;
    }
    if (static_cast<int>(list.words.size()) == kWordsPerGame) {
      list.error = where + word + " is one word too many: a game holds at most " +
                   std::to_string(kWordsPerGame) + " words";
      return list;
    }
    list.words.push_back(word);
  }
  if (file.bad()) {
    list.error = "can't read " + path + ": " + std::strerror(errno);
  } else if (list.words.empty()) {
    list.error = path + " holds no words";
  }
  return list;
}

}  // namespace pelmora
