#pragma once
// A deal: a game's words hidden on a fresh board and the rest filled, as New
// Game deals them in the window and the worksheet tool deals its puzzles.

#include <string>
#include <vector>

#include "board/word_placer.h"
#include "platform/controls.h"
#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {

struct DealReport {
  std::vector<WordPlacement> placed;  // where each hidden word went, in list order
  std::vector<std::string> leftOut;   // the words no place could hold, in list order
};

// A deal on the grid, which the caller has cleared: the words placed in
// their order, then the free cells filled (with Z when practiceFlag is 1).
// The draws of the random source are the placer's, then the fill's.
DealReport DealWords(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words,
                     int practiceFlag);

// A word that no place on the board could hold leaves the word list, so the
// game can still be won: for each, the first line that equals it.
void DropLeftOutWords(ListBox& wordList, const std::vector<std::string>& leftOut);

// The news after a deal that had to leave words out: the words, in order.
std::string LeftOutMessage(const std::vector<std::string>& leftOut);

}  // namespace pelmora
