#pragma once
// One puzzle of a class set: a deal of the words as the window deals them
// (practice off), the sheet that Print fills from it, and its answer rings.

#include <string>
#include <vector>

#include "board/deal.h"
#include "platform/controls.h"
#include "platform/grid.h"
#include "platform/random.h"
#include "play/printed_sheet.h"

namespace pelmora {

struct Puzzle {
  PictureHandle board;                 // the board as the window shows it after the deal
  std::vector<std::string> wordList;   // the words to find, in the window's list order
  DealReport deal;                     // where each hidden word went, and the words left out
};

// A new deal of the words on grid (set up by SetUpBoard), as the window deals
// them with practice off, and the word list as the window then shows it.
Puzzle DealPuzzle(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words);

// The sheet as Print fills it: the board picture and the words to find.
void FillSheet(Form3& sheet, const Puzzle& puzzle);

// The answers: every letter of every hidden word ringed as a player's
// click rings it, each word in a colour of its own, in the coordinates of
// the board picture. A letter that two words share gets a ring of each,
// the later one inside the earlier, so both words can be followed.
std::vector<CircleMark> AnswerRings(const Puzzle& puzzle);

}  // namespace pelmora
