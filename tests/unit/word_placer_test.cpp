// The placer: its walk, its crossing rule and where words can land.
#include "board/word_placer.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>

#include "board_test_support.h"

namespace pelmora {
namespace {

using testing::DrawFor;
using testing::Rows;
using testing::ScriptedRandom;

pelmora::Letters Letters(const char* w) { return SplitLetters(w); }

// Slot 0's turn on the empty board: direction 1 from (0, 5) passes at once.
std::deque<double> Slot0Draws() { return {DrawFor(1, 8), DrawFor(0, 15), DrawFor(5, 15)}; }

TEST(WordPlacer, WorkedExamples) {
  testing::TestBoard grid;

  // CAT, direction 4, drawn cell (2, 5): the lead cell (3, 6) stays free.
  {
    std::deque<double> draws = Slot0Draws();
    for (double d : {DrawFor(4, 8), DrawFor(2, 15), DrawFor(5, 15)}) draws.push_back(d);
    ScriptedRandom random(draws);
    WordSlots slots{};
    slots[1] = "CAT";
    EXPECT_TRUE(PlaceWordList(grid, random, slots, 1).empty());
    EXPECT_EQ(random.Left(), 0u);
    EXPECT_EQ(random.reseeds, 4);  // a re-seed before each direction and each cell
    EXPECT_EQ(grid.CellAt(4, 7).text, "C");
    EXPECT_EQ(grid.CellAt(5, 8).text, "A");
    EXPECT_EQ(grid.CellAt(6, 9).text, "T");
    EXPECT_EQ(grid.CellAt(2, 5).text, "");
    EXPECT_EQ(grid.CellAt(3, 6).text, "");
  }

  // BAT, direction 1 from (5, 10): no lead step; it crosses CAT at its A.
  EXPECT_TRUE(TryPlacement(grid, Letters("BAT"), kLeft, 5, 10));
  WriteWord(grid, Letters("BAT"), kLeft, 5, 10);
  EXPECT_EQ(Rows(grid)[5], ".......TAB.....");
  // BOT from the same cell meets the A with an O: rejected, nothing written.
  grid.SetText("");
  const auto before = Rows(grid);
  EXPECT_FALSE(TryPlacement(grid, Letters("BOT"), kLeft, 5, 10));
  EXPECT_EQ(Rows(grid), before);

  // CAT, direction 2 from (3, 7): the lead cell (4, 7) holds C. A lead cell
  // must be free, even when it holds the word's own first letter.
  EXPECT_FALSE(TryPlacement(grid, Letters("CAT"), kDown, 3, 7));
}

TEST(WordPlacer, TheLastLetterMayNotArriveOnTheFarEdge) {
  // CAT, direction 0 from (7, 10): the bound test passes, but the last letter
  // would land on column 14. The next try keeps the direction: (7, 9) works.
  testing::TestBoard grid;
  std::deque<double> draws = Slot0Draws();
  for (double d : {DrawFor(0, 8), DrawFor(7, 15), DrawFor(10, 15), DrawFor(7, 15), DrawFor(9, 15)}) {
    draws.push_back(d);
  }
  ScriptedRandom random(draws);
  WordSlots slots{};
  slots[1] = "CAT";
  EXPECT_TRUE(PlaceWordList(grid, random, slots, 1).empty());
  EXPECT_EQ(random.Left(), 0u);
  EXPECT_EQ(Rows(grid)[7], "...........CAT.");
}

TEST(WordPlacer, AFullTryBudgetDrawsANewDirection) {
  // A 13-letter word rightward can never fit: 500 cells are drawn, then a
  // new direction; leftward from column 14 it fits.
  testing::TestBoard grid;
  std::deque<double> draws = Slot0Draws();
  draws.push_back(DrawFor(0, 8));
  for (int i = 0; i < kTryLimit; ++i) {
    draws.push_back(DrawFor(i % 15, 15));
    draws.push_back(DrawFor((i * 7) % 15, 15));
  }
  for (double d : {DrawFor(1, 8), DrawFor(3, 15), DrawFor(14, 15)}) draws.push_back(d);
  ScriptedRandom random(draws);
  WordSlots slots{};
  slots[1] = "ABCDEFGHIJKLM";
  EXPECT_TRUE(PlaceWordList(grid, random, slots, 1).empty());
  EXPECT_EQ(random.Left(), 0u);
  EXPECT_EQ(Rows(grid)[3], ".MLKJIHGFEDCBA.");
}

TEST(WordPlacer, BoundAndWalkAgreeWithThePlacementTable) {
  // On an empty board the legal drawn cells of each direction, for each
  // length, are exactly the ones the placement table lists.
  testing::TestBoard grid;
  for (int length = 1; length <= 14; ++length) {
    const pelmora::Letters word(static_cast<std::size_t>(length), "X");
    for (int d = 0; d < 8; ++d) {
      for (int r = 0; r < 15; ++r) {
        for (int c = 0; c < 15; ++c) {
          bool expected = false;
          const int L = length;
          switch (d) {
            case kRight: expected = c <= 12 - L; break;
            case kLeft: expected = c >= L + 1; break;
            case kDown: expected = r <= 12 - L; break;
            case kUp: expected = r >= L + 1; break;
            case kDownRight: expected = r <= 12 - L && c <= 12 - L; break;
            case kUpLeft: expected = r >= L + 2 && c >= L + 2; break;
            case kUpRight: expected = r >= L + 2 && c <= 12 - L; break;
            case kDownLeft: expected = r <= 12 - L && c >= L + 2; break;
          }
          EXPECT_EQ(TryPlacement(grid, word, d, r, c), expected)
              << "direction " << d << " length " << L << " cell " << r << "," << c;
        }
      }
    }
  }
}

// Where a word of distinct letters landed on an otherwise empty board: the
// cell of its first letter and the step to its second.
struct Landing {
  int row, col, rowStep, colStep;
};

Landing Locate(const FlexGrid& grid, const std::string& word) {
  Landing l{-1, -1, 0, 0};
  for (int r = 0; r < 15; ++r) {
    for (int c = 0; c < 15; ++c) {
      if (grid.CellAt(r, c).text == std::string(1, word[0])) l.row = r, l.col = c;
    }
  }
  for (int dr = -1; dr <= 1; ++dr) {
    for (int dc = -1; dc <= 1; ++dc) {
      const int r = l.row + dr, c = l.col + dc;
      if ((dr || dc) && r >= 0 && r < 15 && c >= 0 && c < 15 &&
          grid.CellAt(r, c).text == std::string(1, word[1])) {
        l.rowStep = dr, l.colStep = dc;
      }
    }
  }
  return l;
}

int DirectionOf(const Landing& l) {
  static const std::map<std::pair<int, int>, int> kByStep = {
      {{0, 1}, kRight},     {{0, -1}, kLeft},    {{1, 0}, kDown},     {{-1, 0}, kUp},
      {{1, 1}, kDownRight}, {{-1, -1}, kUpLeft}, {{-1, 1}, kUpRight}, {{1, -1}, kDownLeft}};
  return kByStep.at({l.rowStep, l.colStep});
}

TEST(WordPlacer, ShortWordsTakeEachDirectionAboutAnEighthOfTheTime) {
  SeededRandom random(2024);
  std::array<int, 8> count{};
  constexpr int kDeals = 8000;
  for (int deal = 0; deal < kDeals; ++deal) {
    testing::TestBoard grid;
    WordSlots slots{};
    slots[1] = "WORD";
    ASSERT_TRUE(PlaceWordList(grid, random, slots, 1).empty());
    const Landing l = Locate(grid, "WORD");
    const int d = DirectionOf(l);
    ++count[static_cast<std::size_t>(d)];
    // The first letter stands where the table says its line may start.
    const int L = 4;
    switch (d) {
      case kRight: EXPECT_TRUE(l.col >= 2 && l.col + L - 1 <= 13); break;
      case kLeft: EXPECT_TRUE(l.col <= 13 && l.col - L + 1 >= 1); break;
      case kDown: EXPECT_TRUE(l.row >= 2 && l.row + L - 1 <= 13); break;
      case kUp: EXPECT_TRUE(l.row <= 13 && l.row - L + 1 >= 1); break;
      default:
        EXPECT_TRUE(l.row >= 1 && l.row <= 13 && l.col >= 1 && l.col <= 13);
        EXPECT_TRUE(l.row + (L - 1) * l.rowStep >= 1 && l.row + (L - 1) * l.rowStep <= 13);
        EXPECT_TRUE(l.col + (L - 1) * l.colStep >= 1 && l.col + (L - 1) * l.colStep <= 13);
    }
  }
  for (int d = 0; d < 8; ++d) {
    // An eighth is 1000; four standard deviations is about 120.
    EXPECT_NEAR(count[static_cast<std::size_t>(d)], kDeals / 8, 130) << "direction " << d;
  }
}

TEST(WordPlacer, ThirteenLettersOnlyLeftFromTheLastColumnOrUpFromTheLastRow) {
  SeededRandom random(13);
  std::array<int, 8> count{};
  for (int deal = 0; deal < 400; ++deal) {
    testing::TestBoard grid;
    WordSlots slots{};
    slots[1] = "ABCDEFGHIJKLM";
    ASSERT_TRUE(PlaceWordList(grid, random, slots, 1).empty());
    const Landing l = Locate(grid, slots[1]);
    const int d = DirectionOf(l);
    ++count[static_cast<std::size_t>(d)];
    if (d == kLeft) {
      EXPECT_EQ(l.col, 13);
    }
    if (d == kUp) {
      EXPECT_EQ(l.row, 13);
    }
  }
  EXPECT_EQ(count[kLeft] + count[kUp], 400);
  EXPECT_GT(count[kLeft], 120);
  EXPECT_GT(count[kUp], 120);
}

TEST(WordPlacer, FullDealsNeverTouchCornersOrEdgesTheyCannotReach) {
  SeededRandom random(99);
  const char* words[] = {"APPLE", "PEAR",  "PLUM",   "CHERRY", "GRAPE", "MELON", "LEMON", "LIME",
                         "KIWI",  "MANGO", "PAPAYA", "GUAVA",  "FIG",   "DATE",  "OLIVE", "PEACH"};
  for (int deal = 0; deal < 300; ++deal) {
    testing::TestBoard grid;
    WordSlots slots{};
    for (int i = 0; i < 16; ++i) slots[static_cast<std::size_t>(i + 1)] = words[i];
    ASSERT_TRUE(PlaceWordList(grid, random, slots, 16).empty());
    const auto rows = Rows(grid);
    for (auto [r, c] : {std::pair{0, 0}, {0, 14}, {14, 0}, {14, 14}}) {
      ASSERT_EQ(grid.CellAt(r, c).text, "") << "corner " << r << "," << c;
    }
    // Every word stands on the board on some straight line.
    for (int i = 1; i <= 16; ++i) {
      bool found = false;
      const std::string& w = slots[static_cast<std::size_t>(i)];
      for (int r = 0; r < 15 && !found; ++r) {
        for (int c = 0; c < 15 && !found; ++c) {
          for (int dr = -1; dr <= 1 && !found; ++dr) {
            for (int dc = -1; dc <= 1 && !found; ++dc) {
              if (!dr && !dc) continue;
              bool all = true;
              for (std::size_t k = 0; k < w.size() && all; ++k) {
                const int rr = r + dr * static_cast<int>(k), cc = c + dc * static_cast<int>(k);
                all = rr >= 0 && rr < 15 && cc >= 0 && cc < 15 &&
                      grid.CellAt(rr, cc).text == std::string(1, w[k]);
              }
              found = all;
            }
          }
        }
      }
      ASSERT_TRUE(found) << w << "\n" << ::testing::PrintToString(rows);
    }
  }
}

TEST(WordPlacer, WordsThatCannotBeHiddenAreLeftOut) {
  SeededRandom random(5);
  testing::TestBoard grid;
  WordSlots slots{};
  slots[1] = "ABCDEFGHIJKLMN";                   // 14 letters: no direction holds it
  slots[2] = "SHORT";
  slots[3] = std::string(31, 'Q');               // as long as a read can be
  EXPECT_EQ(PlaceWordList(grid, random, slots, 3), (std::vector<int>{1, 3}));
  EXPECT_EQ(Locate(grid, "SHORT").row >= 0, true);

  // A board with no free cell: a word that agrees with nothing is left out
  // by the exhaustive search; one that agrees everywhere still goes in.
  testing::TestBoard full;
  for (int r = 0; r < 15; ++r) {
    for (int c = 0; c < 15; ++c) {
      full.SetRow(r);
      full.SetCol(c);
      full.SetText("X");
    }
  }
  // Lead cells must be free, so only the two directions without one remain.
  WordSlots blocked{};
  blocked[1] = "ABC";
  blocked[2] = "XXX";
  EXPECT_EQ(PlaceWordList(full, random, blocked, 2), (std::vector<int>{1}));

  // Sixteen 13-letter words of one letter each crowd the board: whatever the
  // placer can't fit is named, and what it placed is whole and unshared.
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SeededRandom crowdRandom(seed);
    testing::TestBoard crowded;
    WordSlots many{};
    for (int i = 1; i <= 16; ++i) {
      many[static_cast<std::size_t>(i)] = std::string(13, static_cast<char>('A' + i));
    }
    const std::vector<int> out = PlaceWordList(crowded, crowdRandom, many, 16);
    std::map<std::string, int> letters;
    for (int r = 0; r < 15; ++r) {
      for (int c = 0; c < 15; ++c) ++letters[crowded.CellAt(r, c).text];
    }
    letters.erase("");
    EXPECT_EQ(letters.size(), 16 - out.size()) << "seed " << seed;
    for (auto [letter, n] : letters) EXPECT_EQ(n, 13) << letter << " seed " << seed;
  }
}

TEST(WordPlacer, WhereEachWordWentSpellsItOnTheBoardAndChangesNoDraw) {
  // Crowded boards: some words go in by the exhaustive search, some are left out.
  WordSlots slots{};
  const char* mixed[] = {"ORANGE", "LEMON", "KIWI", "PAPAYA", "CHERRY", "QUINCE", "GUAVA", "OLIVE"};
  for (int i = 1; i <= 16; ++i) {
    slots[static_cast<std::size_t>(i)] = i <= 8 ? mixed[i - 1] : std::string(13, static_cast<char>('A' + i));
  }
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    SeededRandom plainRandom(seed), reportedRandom(seed);
    testing::TestBoard plain, reported;
    std::vector<WordPlacement> placed;
    const std::vector<int> out = PlaceWordList(plain, plainRandom, slots, 16);
    EXPECT_EQ(PlaceWordList(reported, reportedRandom, slots, 16, &placed), out);
    EXPECT_EQ(Rows(reported), Rows(plain));
    EXPECT_EQ(reportedRandom.Rnd(), plainRandom.Rnd()) << "the draws fell out of step";
    EXPECT_EQ(placed.size() + out.size(), 16u);
    for (const WordPlacement& p : placed) {
      std::string spelled;
      for (int k = 1; k <= p.length; ++k) {
        const CellAddress cell = LetterCell(p, k);
        spelled += reported.CellAt(cell.row, cell.col).text;
      }
      EXPECT_EQ(spelled, slots[static_cast<std::size_t>(p.slot)]) << "seed " << seed;
    }
  }
}

TEST(WordPlacer, AnEmptyGameLeavesTheBoardEmpty) {
  SeededRandom random(1);
  testing::TestBoard grid;
  WordSlots slots{};
  EXPECT_TRUE(PlaceWordList(grid, random, slots, 0).empty());
  for (const std::string& row : Rows(grid)) EXPECT_EQ(row, "...............");
}

}  // namespace
}  // namespace pelmora
