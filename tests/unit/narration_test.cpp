// What the board tells a screen reader beyond its letters, over a short game
// with no window: the idle line only while no game is in play, the rings of
// the word being spelled, and what each press brought.
#include <gtest/gtest.h>

#include <fstream>

#include "app/headless_program.h"

namespace pelmora {
namespace {

TEST(Narration, TellsTheIdleBoardTheRingsAndEachPress) {
  std::ofstream("narration.ini", std::ios::binary) << "[games]\r\n1=GARDEN\r\n[GARDEN]\r\n1=FERN\r\n2=ASTER\r\n";
  HeadlessProgram program("narration.ini");
  Form1& f = program.Start();
  const PictureBox::Narration& told = f.Picture1.Narrated();
  const std::string idle = "No game is in play. Choose a game from the game list.";
  EXPECT_EQ(told.idle, idle);
  program.Event([&] { f.List2.UserSelect(0); });
  EXPECT_EQ(told.idle, "");

  // Presses of a cell holding each letter: how many rings the word being
  // spelled keeps, and what the press says (after the cell, when it rings one).
  struct Press {
    char letter;
    std::size_t rings;
    std::string said;
  };
  const Press game[] = {{'A', 1, "letters A"},      {'S', 2, "letters A S"}, {'T', 3, "letters A S T"},
                        {'E', 4, "letters A S T E"}, {'R', 0, "ASTER found, 1 word left"},
                        {'R', 0, ""},  // starts no word left: its message box says it all
                        {'F', 1, "letters F"},      {'E', 2, "letters F E"}, {'R', 3, "letters F E R"},
                        {'N', 0, "FERN found, 0 words left"}};
  std::vector<std::pair<int, int>> rings;
  for (const Press& p : game) {
    // The first such cell off the diagonal, so that a row told as a column shows.
    int at = 0;
    while (at < 225 && (f.Grid1.CellAt(at / 15, at % 15).text[0] != p.letter || at / 15 == at % 15)) ++at;
    const int row = at / 15, col = at % 15;
    program.Event([&] { f.Picture1.UserMouseDown(1, 0, col * 500 + 250.0f, row * 500 + 250.0f); });
    rings.emplace_back(row, col);
    rings.resize(p.rings);
    const std::string cell = p.letter + (", row " + std::to_string(row + 1) + ", column " + std::to_string(col + 1));
    EXPECT_EQ(told.press, p.rings ? cell + ", ringed, " + p.said : p.said) << p.letter;
    EXPECT_EQ(told.ringed, rings) << p.letter;
  }

  // The designer brings the idle line back only once the game is over.
  program.Event([&] { f.Command2.UserClick(); });
  EXPECT_EQ(told.idle, "");
  program.Event([&] { f.Timer1.Tick(); });  // the clock finds the list empty: the win
  program.Event([&] { f.Command2.UserClick(); });
  EXPECT_EQ(told.idle, idle);
}

}  // namespace
}  // namespace pelmora
