#pragma once
// WordPlacer: hides the words of a game in the freshly cleared Board, each on
// a straight line in one of eight directions, crossing earlier words where
// the letters agree.
//
// A word's direction is drawn first and kept through 500 start cells before
// a new one is drawn. Each try draws a start cell (the row, then the column),
// runs the direction's bound tests, then walks the word's cells from that
// cell without writing: six directions take a lead step onto a cell that
// must be free, and every direction stops one cell short of its far edge.
// Only a walk that passes is walked again to write the letters.
//
// No deal can hang: a word of more than 13 characters fits no direction and
// is never tried; a word still unplaced after 64 direction draws is settled
// by listing every legal (direction, cell) pair and drawing one, or left out
// when there is none; and a word with no legal place at all is found out
// after 4 direction draws and left out then.

#include <string>
#include <string_view>
#include <vector>

#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {

inline constexpr int kTryLimit = 500;           // start cells per drawn direction
inline constexpr int kDirectionDrawLimit = 64;  // direction draws before the exhaustive search
inline constexpr int kLongestWord = 13;         // the longest word any direction can hold

// The eight directions, numbered as the draw numbers them.
enum Direction { kRight, kLeft, kDown, kUp, kDownRight, kUpLeft, kUpRight, kDownLeft };

// The characters of a word, each a view into the word's text.
using Letters = std::vector<std::string_view>;
Letters SplitLetters(std::string_view word);

// Where a word was written: the direction and the drawn cell of the walk
// that wrote it. The board itself keeps only letters; this is for whoever
// needs the words' places afterwards (an answer key).
struct WordPlacement {
  int word = 0;  // its place in the list dealt, from 0
  int direction = 0;
  int row = 0, col = 0;  // the drawn cell: the walk's origin, not a letter
  int length = 0;        // the letters written
};

struct CellAddress {
  int row = 0, col = 0;
};

// The cell that letter k (1 to length) of a placed word went to.
CellAddress LetterCell(const WordPlacement& placement, int k);

// Places the words in their order on the grid through its cursor, after the
// empty word, which draws like any word and writes nothing: every deal's
// draws begin with its turn. Returns the places in the list (from 0) of the
// words that were left out, in order. When placed is given, it gets where
// each placed word went, in list order; the draws and the board are the same
// either way.
std::vector<int> PlaceWordList(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words,
                               std::vector<WordPlacement>* placed = nullptr);

// One try: whether the word passes the direction's bound tests and the test
// walk from the drawn cell (row, col). It reads the cells by address, which
// gives the cursor walk's verdict without moving the cursor; writes nothing.
bool TryPlacement(const FlexGrid& grid, const Letters& letters, int direction, int row, int col);

// Writes the word from the drawn cell in direction; the try must have passed.
void WriteWord(FlexGrid& grid, const Letters& letters, int direction, int row,
               int col);

}  // namespace pelmora
