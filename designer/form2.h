#pragma once
// Form2, the designer: the stored games in List1, one game's name in Text1
// and its words in the 16 boxes of the control array Text. It opens modally
// above the main window and shares nothing with it but the file.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/form.h"
#include "platform/runtime.h"
#include "profile/game_library.h"
#include "profile/profile_store.h"

namespace pelmora {

struct DesignerState {
  // The position in List1 of the game the boxes belong to; a save writes
  // slot EditedSlot + 1. ListCount for a new entry, -1 when a click on the
  // list was used up by a save.
  std::int16_t EditedSlot = 0;
  // 1 once a key reached a box, or a Delete ran.
  std::int16_t DirtyFlag = 0;
  // The slots a Save's compaction covers; set by Delete, kept for the run.
  std::int16_t CompactCount = 0;
  // The boxes stand for no stored game (a new entry, or blank boxes after a
  // game was removed): a name saved now takes a new slot behind the listed
  // games instead of replacing a game that isn't in the boxes.
  bool BoxesStandForNoGame = false;
};

class Form2 : public Form {
 public:
  Form2(Runtime& runtime, ProfileStore& store);

  std::vector<Control*> Controls() override;

  // Text(i), i from 1 to 16; boxes 2 to 16 exist only while the form is
  // loaded. Null for a box that isn't loaded.
  TextBox* Text(int i) const;

  Runtime& runtime;
  ProfileStore& store;

  ListBox List1;
  TextBox Text1;
  CommandButton Command1;
  CommandButton Command2;
  CommandButton Command3;
  CommandButton Command4;
  Label Label1;
  Label Label2;
  Label Label3;

  DesignerState Design;

 private:
  friend void Form2_Form_Load(Form2& f);
  void ResetToDesign();
  void BindBox(TextBox& box, int index);

  std::array<std::unique_ptr<TextBox>, kWordsPerGame + 1> text_;
};

void Form2_Form_Load(Form2& f);
void Form2_Form_Activate(Form2& f);
void Form2_List1_Click(Form2& f);
void Form2_Text_KeyDown(Form2& f, int index, int keyCode, int shift);
void Form2_Text_KeyPress(Form2& f, int index, int& keyAscii);
void Form2_Text1_KeyDown(Form2& f, int keyCode, int shift);
void Form2_Text1_KeyPress(Form2& f, int& keyAscii);
void Form2_Command1_Click(Form2& f);  // New Entry
void Form2_Command2_Click(Form2& f);  // Delete
void Form2_Command3_Click(Form2& f);  // Save
void Form2_Command4_Click(Form2& f);  // Exit

}  // namespace pelmora
