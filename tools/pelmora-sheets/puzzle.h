#pragma once
// One puzzle of a class set: a deal of the words as the window deals them
// (practice off), and the words to find as the window then lists them.

#include <string>
#include <vector>

#include "board/deal.h"
#include "platform/controls.h"
#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {

struct Puzzle {
  PictureHandle board;                 // the board as the window shows it after the deal
  std::vector<std::string> wordList;   // the words to find, in the window's list order
  DealReport deal;                     // where each hidden word went, and the words left out
};

// A new deal of the words on grid (set up by SetUpBoard), as the window deals
// them with practice off, and the word list as the window then shows it.
Puzzle DealPuzzle(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words);

}  // namespace pelmora
