#pragma once
// One puzzle of a class set: a deal of the words as the window deals them
// (practice off), the sheet that Print fills from it, and its answer rings.

#include <string>
#include <vector>

#include "board/word_placer.h"
#include "platform/controls.h"
#include "platform/grid.h"
#include "platform/random.h"
#include "play/printed_sheet.h"
#include "profile/game_library.h"

namespace pelmora {

// Grid1 as the window's Load sets it up: 15 by 15 cells of 500 twips.
void SetUpBoard(FlexGrid& grid);

struct Puzzle {
  PictureHandle board;                 // the board as the window shows it after the deal
  std::vector<std::string> wordList;   // the words to find, in the window's list order
  std::vector<WordPlacement> placed;   // where each hidden word went, in slot order
  std::vector<int> leftOut;            // the slots of the words that could not be hidden
};

// A new deal on grid: cleared, the words of slots 1 to wordCount placed,
// those that could not be hidden dropped from the list, the free cells
// filled with random letters.
Puzzle DealPuzzle(FlexGrid& grid, RandomSource& random, const WordSlots& slots, int wordCount);

// The sheet as Print fills it: the board picture and the words to find.
void FillSheet(Form3& sheet, const Puzzle& puzzle);

// The answers: every letter of every hidden word ringed as a player's
// click rings it, each word in a colour of its own, in the coordinates of
// the board picture. A letter that two words share gets a ring of each,
// the later one inside the earlier, so both words can be followed.
std::vector<CircleMark> AnswerRings(const Puzzle& puzzle);

}  // namespace pelmora
