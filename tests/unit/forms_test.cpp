// The forms with no window: their design (client areas, where each control
// stands and how large it is, in twips), the order the Tab key walks, the
// designer's word boxes as its load makes them, and what the board tells a
// screen reader beyond its letters over a short game.
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

// The form's client area, then each control's left, top, width and height:
// all but the timers, the board's grid and surface (which the start-up moves
// and sizes) and the word boxes the designer's load makes.
std::string Layout(Form& form) {
  std::string out = std::to_string(form.ClientWidth()) + "x" + std::to_string(form.ClientHeight());
  for (Control* c : form.Controls()) {
    const std::string& n = c->Name();
    if (n.rfind("Timer", 0) == 0 || n == "Grid1" || (n == "Picture1" && form.Name() == "Form1") ||
        (n.rfind("Text(", 0) == 0 && n != "Text(1)"))
      continue;
    out += " | " + n + " " + std::to_string(c->Left()) + " " + std::to_string(c->Top()) + " " +
           std::to_string(c->Width()) + " " + std::to_string(c->Height());
  }
  return out;
}

TEST(Forms, AsDesignedWithTheTabOrderAndTheDesignersBoxes) {
  std::ofstream("forms.ini", std::ios::binary) << "[games]\r\n1=FRUIT\r\n";
  HeadlessProgram program("forms.ini");
  Form1& f = program.Start();
  EXPECT_EQ(Layout(f), "11880x8475 | Command1 3480 6000 1335 495 | List1 8160 2040 2535 3570 | List2 8160 480 2535 1230"
                       " | Check1 8160 5760 2655 255 | Check2 8160 6120 2775 375 | Label1 8160 6600 3015 255"
                       " | Command2 8160 7080 1335 495 | Label2 8160 240 3255 255 | Label3 8160 1800 2535 255"
                       " | Command3 9480 7080 1215 495 | Command4 8160 7560 1335 495 | Command5 9480 7560 1215 495");
  EXPECT_EQ(Layout(f.Sheet()), "10380x7980 | Picture1 120 120 5655 4335 | Label1 7800 120 1815 255 | List1 7800 480 1815 4155");
  EXPECT_EQ(TabOrder(f.Sheet()), " Picture1 List1 Label1");
  EXPECT_EQ(TabOrder(f), " Grid1 Picture1 Command1 List1 List2 Check1 Check2 Label1 Command2 Label2 Label3 Command3"
                         " Command4 Command5");
  program.runtime.runModalLoop = [&](const std::function<bool()>&) {
    Form2& d = f.Designer;
    EXPECT_EQ(Layout(d), "6915x5655 | List1 240 360 2535 1035 | Text1 240 1800 2535 285 | Text(1) 3120 360 2535 285"
                         " | Command1 240 2400 1215 495 | Command2 240 3120 1215 495 | Command3 240 3840 1215 495"
                         " | Command4 240 4560 1215 495 | Label1 240 120 2415 255 | Label2 3120 120 3855 255"
                         " | Label3 240 1560 2535 255");
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
