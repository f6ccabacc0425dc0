#pragma once
// Filler letters: what completes a board after the words are placed, and
// what the idle animation shuffles between games.

#include <string>

#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {

// The filler letter for one draw of Rnd: the code nearest to Rnd x 25 + 65,
// a half going to the even neighbour. A and Z get half the share of the
// other letters (2% against 4%).
char FillerLetter(double rnd);

// Completes the board: column by column, each cell re-seeds the random
// source; a free cell gets "Z" in practice mode (practiceFlag 1) or a random
// filler letter; every cell, word letters included, is centred and bold.
void FillFreeCells(FlexGrid& grid, RandomSource& random, int practiceFlag);

// The idle shuffle: every cell, whatever it held, gets a random filler
// letter, centred and bold.
void ShuffleBoard(FlexGrid& grid, RandomSource& random);

}  // namespace pelmora
