#include "tools/pelmora-sheets/puzzle.h"

#include "board/board.h"

namespace pelmora {

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

}  // namespace pelmora
