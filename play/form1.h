#pragma once
// Form1, the main window: the board surface, the game list, the word list,
// the clock and the buttons, with the fields of the game in play. Its
// handlers are free functions named after control and event, in the order a
// player meets them.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/form.h"
#include "platform/grid.h"
#include "platform/runtime.h"
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
};

void Form1_Form_Load(Form1& f);
void Form1_Check1_Click(Form1& f);
void Form1_Check2_Click(Form1& f);

}  // namespace pelmora
