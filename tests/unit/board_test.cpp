// The board: the placer's walk, its crossing rule and where words can land;
// the filler's letters and the shuffle.
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <algorithm>
#include <cctype>
#include <set>
#include <numeric>

#include "board/board.h"
#include "board/filler.h"
#include "board/word_placer.h"

namespace pelmora {
namespace {

// Plays back the draws it was given.
class ScriptedRandom final : public RandomSource {
 public:
  explicit ScriptedRandom(std::deque<double> d) : draws(std::move(d)) {}
  void Randomize() override { ++reseeds; }
  double Rnd() override {
    if (draws.empty()) return ADD_FAILURE() << "ran out of draws", 0;
    const double d = draws.front();
    draws.pop_front();
    return d;
  }
  std::deque<double> draws;
  int reseeds = 0;
};

// The draw that floor(Rnd x n) turns into k.
double Draw(int k, int n) { return (k + 0.5) / n; }

// Grid1 as start-up leaves it: 15 by 15 cells of 500 twips.
struct Board : FlexGrid {
  Board() : FlexGrid("Grid1", {}, 0) { SetUpBoard(*this); }
  std::string Row(int r) const {
    std::string row;
    for (int c = 0; c < 15; ++c) row += CellAt(r, c).text.empty() ? "." : CellAt(r, c).text;
    return row;
  }
};

// The empty word's turn, which opens every deal: direction 1 from (0, 5)
// passes at once.
std::deque<double> EmptyWord() { return {Draw(1, 8), Draw(0, 15), Draw(5, 15)}; }

TEST(WordPlacer, WorkedExamples) {
  Board grid;
  // CAT, direction 4, drawn (2, 5): lead cell (3, 6) free; a re-seed before
  // each direction and each cell.
  std::deque<double> draws = EmptyWord();
  draws.insert(draws.end(), {Draw(4, 8), Draw(2, 15), Draw(5, 15)});
  ScriptedRandom random(draws);
  EXPECT_TRUE(PlaceWordList(grid, random, {"CAT"}).empty());
  EXPECT_EQ(random.reseeds, 4);
  EXPECT_EQ(grid.Row(3), "...............");
  EXPECT_EQ(grid.Row(4), ".......C.......");
  EXPECT_EQ(grid.Row(5), "........A......");
  EXPECT_EQ(grid.Row(6), ".........T.....");
  // BAT leftward from (5, 10), no lead step, crosses CAT at its A; BOT does not.
  EXPECT_TRUE(TryPlacement(grid, SplitLetters("BAT"), kLeft, 5, 10));
  WriteWord(grid, SplitLetters("BAT"), kLeft, 5, 10);
  EXPECT_EQ(grid.Row(5), ".......TAB.....");
  EXPECT_FALSE(TryPlacement(grid, SplitLetters("BOT"), kLeft, 5, 10));
  // A lead cell must be free, even holding the word's own first letter.
  EXPECT_FALSE(TryPlacement(grid, SplitLetters("CAT"), kDown, 3, 7));
}

TEST(WordPlacer, FarEdgeAndTheTryBudget) {
  // CAT rightward from (7, 10) would end on column 14: the next cell keeps
  // the direction. A 13-letter word rightward never fits: after 500 cells a
  // new direction is drawn, and leftward from column 14 it fits.
  Board grid;
  std::deque<double> draws = EmptyWord();
  draws.insert(draws.end(), {Draw(0, 8), Draw(7, 15), Draw(10, 15), Draw(7, 15), Draw(9, 15), Draw(0, 8)});
  for (int i = 0; i < kTryLimit; ++i) draws.insert(draws.end(), {Draw(i % 15, 15), Draw(i * 7 % 15, 15)});
  draws.insert(draws.end(), {Draw(1, 8), Draw(3, 15), Draw(14, 15)});
  ScriptedRandom random(draws);
  EXPECT_TRUE(PlaceWordList(grid, random, {"CAT", "ABCDEFGHIJKLM"}).empty());
  EXPECT_TRUE(random.draws.empty());
  EXPECT_EQ(grid.Row(7), "...........CAT.");
  EXPECT_EQ(grid.Row(3), ".MLKJIHGFEDCBA.");
}

TEST(WordPlacer, LegalCellsOnAnEmptyBoardAndWordsWithNoPlace) {
  Board grid;
  for (int L = 1; L <= 14; ++L) {
    const Letters word(static_cast<std::size_t>(L), "X");
    for (int d = 0; d < 8; ++d)
      for (int r = 0; r < 15; ++r)
        for (int c = 0; c < 15; ++c) {
          const bool rowUp = r >= L + 2, rowDown = r <= 12 - L, colLeft = c >= L + 2, colRight = c <= 12 - L;
          const bool legal[8] = {colRight, c >= L + 1, rowDown, r >= L + 1, rowDown && colRight,
                                 rowUp && colLeft, rowUp && colRight, rowDown && colLeft};
          ASSERT_EQ(TryPlacement(grid, word, d, r, c), legal[d]) << "direction " << d << " length " << L
                                                                 << " cell " << r << "," << c;
        }
  }
  SeededRandom random(5);
  // No direction holds 14 letters, nor 31: those words are left out.
  EXPECT_EQ(PlaceWordList(grid, random, {"ABCDEFGHIJKLMN", "SHORT", std::string(31, 'Q')}), (std::vector<int>{0, 2}));
  // On a full board only the words that agree with it everywhere go in.
  for (int r = 0; r < 15; ++r)
    for (int c = 0; c < 15; ++c) grid.SetRow(r), grid.SetCol(c), grid.SetText("X");
  EXPECT_EQ(PlaceWordList(grid, random, {"ABC", "XXX"}), (std::vector<int>{0}));
}

TEST(WordPlacer, RandomDeals) {
  // Full games of everyday words and crowded ones of 13-letter words: every
  // word is placed or named as left out, the report spells each placed word
  // and changes no draw, corners are never written, 13 letters go only left
  // from column 14 or up from row 14, and short words take each direction
  // about an eighth of the time.
  const char* fruit[] = {"APPLE", "PEAR", "PLUM", "CHERRY", "GRAPE", "MELON", "LEMON", "LIME",
                         "KIWI",  "MANGO", "PAPAYA", "GUAVA", "FIG", "DATE", "OLIVE", "PEACH"};
  std::array<int, 8> directions{};
  for (std::uint64_t seed = 1; seed <= 400; ++seed) {
    std::vector<std::string> words;
    for (int i = 0; i < 16; ++i) words.push_back(seed % 4 ? fruit[i] : std::string(13, static_cast<char>('B' + i)));
    SeededRandom plainRandom(seed), random(seed);
    Board plain, grid;
    std::vector<WordPlacement> placed;
    const std::vector<int> out = PlaceWordList(plain, plainRandom, words);
    ASSERT_EQ(PlaceWordList(grid, random, words, &placed), out);
    ASSERT_EQ(random.Rnd(), plainRandom.Rnd()) << "the report changed a draw";
    ASSERT_EQ(placed.size() + out.size(), 16u);
    if (seed % 4) {
      ASSERT_TRUE(out.empty());
    }
    for (int r = 0; r < 15; ++r) ASSERT_EQ(grid.Row(r), plain.Row(r));
    for (auto [r, c] : {std::pair{0, 0}, {0, 14}, {14, 0}, {14, 14}}) ASSERT_EQ(grid.CellAt(r, c).text, "");
    for (const WordPlacement& p : placed) {
      std::string spelled;
      for (int k = 1; k <= p.length; ++k) spelled += grid.CellAt(LetterCell(p, k).row, LetterCell(p, k).col).text;
      ASSERT_EQ(spelled, words[static_cast<std::size_t>(p.word)]) << "seed " << seed;
      if (p.length == 13) {
        ASSERT_TRUE((p.direction == kLeft && p.col == 14) || (p.direction == kUp && p.row == 14));
      }
      if (p.length <= 5) ++directions[static_cast<std::size_t>(p.direction)];
    }
  }
  const int total = std::accumulate(directions.begin(), directions.end(), 0);
  for (int n : directions) EXPECT_NEAR(n, total / 8.0, total / 8.0 * 0.15);
}

TEST(Filler, LettersAndAttributes) {
  // A draw times 25, rounded on from A: A and Z take half a share each.
  const std::pair<double, char> letters[] = {
      {0.0, 'A'}, {0.5 / 25 - 1e-9, 'A'}, {0.5 / 25 + 1e-9, 'B'}, {24.5 / 25 - 1e-9, 'Y'}, {24.5 / 25 + 1e-9, 'Z'}};
  for (auto [draw, letter] : letters) EXPECT_EQ(FillerLetter(draw), letter) << draw;
  // Practice fills the free cells with Z, play with letters of every kind;
  // both keep a word's letter, which the shuffle rewrites too. Every cell
  // is centred and bold.
  SeededRandom random(3);
  for (int pass = 0; pass < 3; ++pass) {
    Board grid;
    grid.SetRow(7), grid.SetCol(7), grid.SetText("é");
    pass < 2 ? FillFreeCells(grid, random, /*practiceFlag=*/pass == 0) : ShuffleBoard(grid, random);
    std::set<std::string> seen;
    for (int i = 0; i < 225; ++i) {
      ASSERT_TRUE(grid.CellAt(i / 15, i % 15).alignment == 4 && grid.CellAt(i / 15, i % 15).bold);
      seen.insert(grid.CellAt(i / 15, i % 15).text);
    }
    EXPECT_EQ(seen.erase("é"), pass < 2 ? 1u : 0u);
    EXPECT_TRUE(std::ranges::all_of(seen, [](const std::string& t) { return t.size() == 1 && std::isupper(t[0]); }));
    EXPECT_EQ(seen.size(), pass == 0 ? 1u : 26u);
  }
}

}  // namespace
}  // namespace pelmora
