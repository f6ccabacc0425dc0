// Deals of word lists that can't all be hidden: every deal ends (CTest's
// timeout is the bound), the words that found no place are named in one
// message and leave the game, and every word still listed is on the board.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "platform/text.h"
#include "tests/robustness/headless_program.h"

namespace pelmora::robustness {
namespace {

constexpr const char* kLeftOutLead = "These words could not be hidden and were left out of the game: ";

struct WordList {
  std::string kind;
  std::vector<std::string> words;
};

std::string RandomWord(std::mt19937& rng, int length, const std::string& alphabet) {
  std::string w;
  for (int i = 0; i < length; ++i) w += alphabet[rng() % alphabet.size()];
  return w;
}

std::vector<WordList> WordLists() {
  std::vector<WordList> lists;
  std::mt19937 rng(3);
  const std::string az = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (int n = 0; n < 40; ++n) {
    // Sixteen words of the longest length any direction holds: crowded
    // boards where late words often have no place left.
    WordList l{"16 x 13 letters", {}};
    for (int i = 0; i < 16; ++i) l.words.push_back(RandomWord(rng, 13, n % 2 ? "AB" : az));
    lists.push_back(l);
  }
  for (int n = 0; n < 100; ++n) {
    WordList l{"random lengths up to 31", {}};
    const int count = 1 + static_cast<int>(rng() % 16);
    for (int i = 0; i < count; ++i) l.words.push_back(RandomWord(rng, 1 + static_cast<int>(rng() % 31), az));
    lists.push_back(l);
  }
  for (int n = 0; n < 10; ++n) {
    // Words that cross nowhere: every letter differs from every other word's.
    WordList l{"no shared letters", {}};
    for (int i = 0; i < 16; ++i) l.words.push_back(std::string(10 + static_cast<std::size_t>(rng() % 4), az[static_cast<std::size_t>(i)]));
    lists.push_back(l);
  }
  lists.push_back({"too long, every one", std::vector<std::string>(16, std::string(31, 'Q'))});
  lists.push_back({"longer than a read gives", {std::string(40, 'L'), "CAT", std::string(32, 'M')}});
  lists.push_back({"the same word 16 times", std::vector<std::string>(16, "ABCDEFGHIJKLM")});
  lists.push_back({"letters beyond ASCII", {"\xC3\x89T\xC3\x89", "STRA\xC3\x9F" "E", std::string(13 * 2, 'x'), "\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85\xC3\x85"}});
  return lists;
}

void RemoveOne(std::vector<std::string>& words, const std::string& w) {
  const auto at = std::find(words.begin(), words.end(), w);
  if (at != words.end()) words.erase(at);
}

TEST(HopelessDeals, EveryDealEndsAndNamesTheWordsLeftOut) {
  const std::string folder = FreshFolder("hopeless");
  const std::string ini = folder + "/wsearch.ini";
  int deals = 0, leftOut = 0;
  std::uint64_t seed = 1;
  for (const WordList& list : WordLists()) {
    SCOPED_TRACE(list.kind + ", deal " + std::to_string(deals));
    std::string file = "[games]\r\n1=HOPE\r\n[Hope]\r\n";
    for (std::size_t i = 0; i < list.words.size(); ++i) {
      file += std::to_string(i + 1) + "=" + list.words[i] + "\r\n";
    }
    std::ofstream(ini, std::ios::binary | std::ios::trunc) << file;
    // What the deal reads: each word cut to the 31 characters a read holds.
    const std::vector<std::string> dealt = GameWords(ParseIni(file), "HOPE");
    ASSERT_EQ(dealt.size(), list.words.size());

    HeadlessProgram p(ini, seed++);
    p.Start();
    p.runtime.boxes.clear();
    p.Select(p.F().List2, 0);
    ++deals;
    ASSERT_TRUE(p.failures.empty()) << p.failures.front();

    int messages = 0;
    for (const ShownBox& b : p.runtime.boxes) {
      if (b.prompt.rfind(kLeftOutLead, 0) != 0) continue;
      ++messages;
      EXPECT_EQ(b.value, vbInformation);
    }
    EXPECT_LE(messages, 1);
    const std::vector<std::string> out = LeftOutWords(p.runtime.boxes);
    leftOut += static_cast<int>(out.size());
    EXPECT_TRUE(SubMultiset(out, dealt)) << "the message names words the game doesn't hold";
    // No direction holds more than 13 letters: such a word is always named.
    std::vector<std::string> tooLong;
    for (const std::string& w : dealt) {
      if (Len(w) > 13) tooLong.push_back(w);
    }
    EXPECT_TRUE(SubMultiset(tooLong, out));

    std::vector<std::string> kept = dealt;
    for (const std::string& w : out) RemoveOne(kept, w);
    std::vector<std::string> listed = p.F().List1.Items();
    std::sort(kept.begin(), kept.end());
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, kept) << "the word list isn't the game less the words left out";
    EXPECT_EQ(p.F().Play.WordCount, static_cast<int>(kept.size()));
    for (const std::string& w : listed) {
      EXPECT_FALSE(FindWord(p.F().Grid1, w).empty()) << "the listed word " << w << " isn't on the board";
    }
    EXPECT_TRUE(BoardFull(p.F().Grid1));
    EXPECT_TRUE(p.F().Timer1.Enabled());
    EXPECT_EQ(p.runtime.MousePointer(), vbDefault);
    if (HasFailure()) break;
  }
  std::printf("hopeless deals: %d deals, %d words left out\n", deals, leftOut);
  // The lists are made to overflow the board: some words must have been left out.
  EXPECT_GT(leftOut, 16);
}

}  // namespace
}  // namespace pelmora::robustness
