#pragma once
// Form1, the main window: the board surface, the game list, the word list,
// the clock and the buttons, with the fields of the game in play. Its
// handlers are free functions named after control and event, in the order a
// player meets them.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "designer/form2.h"
#include "platform/controls.h"
#include "platform/form.h"
#include "platform/grid.h"
#include "platform/runtime.h"
#include "play/printed_sheet.h"
#include "profile/profile_store.h"

namespace pelmora {

struct PlayState {
  std::int16_t WonFlag = 0;       // 1 from a win until the next deal
  std::int16_t WordCount = 0;     // words the game in play started with
  double StartTime = 0;           // Date value of the deal
  std::int16_t PracticeFlag = 0;  // 1: the next deal fills with Z
  std::int32_t ColourIndex = 0;   // QBColor index of the word being spelled
};

struct RecordBook {
  double BestTime = 0;  // days; 0 means no record
  std::string BestTitle;
  double RunBestTime = 0;
  std::string RunBestTitle;
};

struct Selection {
  std::string Letters;         // the letters clicked so far
  std::int16_t ClickCount = 0;  // clicks held; the next free entry below
  std::array<std::int16_t, 33> CentreX{};
  std::array<std::int16_t, 33> CentreY{};
};

class Form1 : public Form {
 public:
  Form1(Runtime& runtime, ProfileStore& store);

  std::vector<Control*> Controls() override;

  Runtime& runtime;
  ProfileStore& store;

  FlexGrid Grid1;
  PictureBox Picture1;
  CommandButton Command1;
  ListBox List1;
  ListBox List2;
  CheckBox Check1;
  CheckBox Check2;
  Label Label1;
  CommandButton Command2;
  Label Label2;
  Label Label3;
  CommandButton Command3;
  CommandButton Command4;
  CommandButton Command5;
  Timer Timer1;
  Timer Timer2;

  PlayState Play;
  RecordBook Records;
  Selection Sel;

  // The designer, shown modally by Command2.
  Form2 Designer;

  // The printed sheet, created hidden by the first print.
  Form3& Sheet();

 private:
  std::unique_ptr<Form3> sheet_;
};

void Form1_Form_Load(Form1& f);
void Form1_Check1_Click(Form1& f);
void Form1_Check2_Click(Form1& f);

// A click on a game's name deals it: the whole new-game sequence runs in
// Command1's handler (StartNewGame), a button the player never sees.
void Form1_List2_Click(Form1& f);
void Form1_Command1_Click(Form1& f);
inline void StartNewGame(Form1& f) { Form1_Command1_Click(f); }

// The idle shuffle: while no game is dealt, a new field of random letters
// every 100 ms.
void Form1_Timer2_Timer(Form1& f);

// A press on the board: snapped to its cell, ringed, and judged at once
// against the words still listed. Any button, any modifier.
void Form1_Picture1_MouseDown(Form1& f, int button, int shift, float x, float y);

// The game clock: the time taken on every tick, and the win once the list is
// empty (never while practice mode is ticked).
void Form1_Timer1_Timer(Form1& f);

// Designer: the game editor, modal; the game list is read anew afterwards.
void Form1_Command2_Click(Form1& f);

// Print: the clean board and the words still to find, on the default printer.
void Form1_Command3_Click(Form1& f);

// Statistics and Clear Statistics: the fastest times, shown and cleared.
void Form1_Command4_Click(Form1& f);
void Form1_Command5_Click(Form1& f);

// What the board tells a screen reader that only the game knows, put on
// Picture1 after the events that can change it: while the shimmer runs, that
// no game is in play; the cells ringed for the letters being spelled; and
// after a press (given what was spelled and how many words were listed
// before it), the pressed cell with the letters so far, or the word found
// and the words left.
struct BeforePress {
  std::string letters;
  int words = 0;
};
void NarrateBoard(Form1& f, const BeforePress* press = nullptr);

}  // namespace pelmora
