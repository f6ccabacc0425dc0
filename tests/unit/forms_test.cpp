// The forms with no window: the order the Tab key walks, the designer's word
// boxes as its load makes them, and what the board tells a screen reader
// beyond its letters over a short game.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <tuple>

#include "app/headless_program.h"

namespace pelmora {
namespace {

// The controls that take the focus, in the order of their TabIndex, which
// must run 0, 1, 2... with no place taken twice.
std::string TabOrder(Form& form) {
  std::vector<std::pair<int, std::string>> order;
  for (Control* c : form.Controls())
    if (c->Name().rfind("Timer", 0) != 0) order.emplace_back(c->TabIndex(), c->Name());
  std::sort(order.begin(), order.end());
  std::string names;
  for (std::size_t i = 0; i < order.size(); ++i)
    names += (order[i].first == static_cast<int>(i) ? " " : " !") + order[i].second;
  return names;
}

TEST(Forms, TabOrderAndTheDesignersBoxes) {
  std::ofstream("forms.ini", std::ios::binary) << "[games]\r\n1=FRUIT\r\n";
  HeadlessProgram program("forms.ini");
  Form1& f = program.Start();
  EXPECT_EQ(TabOrder(f), " Grid1 Picture1 Command1 List1 List2 Check1 Check2 Label1 Command2 Label2 Label3 Command3"
                         " Command4 Command5");
  program.runtime.runModalLoop = [&](const std::function<bool()>&) {
    Form2& d = f.Designer;
    std::string boxes;
    for (int i = 1; i <= 16; ++i) boxes += " Text(" + std::to_string(i) + ")";
    EXPECT_EQ(TabOrder(d), " List1 Text1" + boxes + " Command1 Command2 Command3 Label1 Label2 Label3 Command4");
    // Edge to edge under the first, each as wide and as high, all inside the window.
    for (int i = 2; i <= 16; ++i) {
      const TextBox &box = *d.Text(i), &above = *d.Text(i - 1);
      EXPECT_EQ(box.Top(), above.Top() + above.Height()) << i;
      EXPECT_EQ(std::make_tuple(box.Left(), box.Width(), box.Height(), box.MaxLength()),
                std::make_tuple(above.Left(), above.Width(), above.Height(), above.MaxLength())) << i;
    }
    EXPECT_LE(d.Text(16)->Top() + d.Text(16)->Height(), d.ClientHeight());
    d.Command4.UserClick();
  };
  program.Event([&] { f.Command2.UserClick(); });
  EXPECT_FALSE(f.Designer.Loaded);
}

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
