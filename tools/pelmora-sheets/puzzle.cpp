#include "tools/pelmora-sheets/puzzle.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <utility>

#include "board/board.h"
#include "profile/game_library.h"

namespace pelmora {

namespace {

constexpr int kRingStep = 50;     // a ring inside another on a shared letter: just clear of it
constexpr int kRingWidth = 3;     // the play surface's DrawWidth

// Sixteen colours that stand apart from each other and from the black
// letters, and stay dark enough to see on white paper; one for each word a
// game can hold.
constexpr std::array<std::uint32_t, kWordsPerGame> kAnswerColours = {
    0xE6194B, 0x3CB44B, 0x4363D8, 0xF58231, 0x911EB4, 0x0096C7, 0xF032E6, 0x9A6324,
    0x800000, 0x808000, 0x000075, 0x008080, 0xC9A800, 0xFF6F91, 0x5B5B5B, 0x6A3D9A};

}  // namespace

Puzzle DealPuzzle(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words) {
  Puzzle puzzle;
  grid.Clear();
  // The window's word list: sorted, so the words read in alphabetical order
  // whatever the order of the store and of the placement.
  ListBox list("List1", TwipRect{}, 0, /*sorted=*/true);
  for (const std::string& word : words) list.AddItem(word);
  puzzle.deal = DealWords(grid, random, words, /*practiceFlag=*/0);
  DropLeftOutWords(list, puzzle.deal.leftOut);
  puzzle.board = grid.Picture();
  puzzle.wordList = list.Items();
  return puzzle;
}

void FillSheet(Form3& sheet, const Puzzle& puzzle) {
  sheet.Picture1.SetPicture(puzzle.board);
  sheet.List1.Clear();
  for (const std::string& word : puzzle.wordList) sheet.List1.AddItem(word);
}

std::vector<CircleMark> AnswerRings(const Puzzle& puzzle) {
  std::vector<CircleMark> rings;
  std::map<std::pair<int, int>, int> ringsOnCell;
  for (const WordPlacement& word : puzzle.deal.placed) {
    const std::uint32_t colour = kAnswerColours[static_cast<std::size_t>(word.word) % kAnswerColours.size()];
    for (int k = 1; k <= word.length; ++k) {
      const CellAddress cell = LetterCell(word, k);
      const int inner = ringsOnCell[{cell.row, cell.col}]++;
      const double radius = std::max(kRingRadius - inner * kRingStep, kRingStep);
      rings.push_back({static_cast<double>(RingCentre(cell.col)), static_cast<double>(RingCentre(cell.row)), radius,
                       colour, kRingWidth});
    }
  }
  return rings;
}

}  // namespace pelmora
