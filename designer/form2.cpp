#include "designer/form2.h"

#include <algorithm>

#include "platform/text.h"

namespace pelmora {

namespace {

constexpr int kWordMaxLength = 15;
constexpr int kNameMaxLength = 30;
constexpr TwipRect kFirstBox = {3120, 360, 2535, 285};

const char* const kGiveAName = "Please give your game a name";
const char* const kChooseAnotherName = "Please choose another name for your game";
const char* const kSaveChanges = "Save changes made?";
const char* const kBlankCellWarning =
    "WARNING - You have a blank word cell followed by full word cells - all words after the "
    "blank word cell will be lost on saving";

std::string OverwriteQuestion(const std::string& name) {
  return "You already have a game called " + name + " - do you wish to overwrite it?";
}

// A word as Exit stores it: every blank removed, everything else kept.
std::string RemoveBlanks(std::string_view word) {
  std::string out;
  for (char c : word) {
    if (c != ' ') out += c;
  }
  return out;
}

}  // namespace

Form2::Form2(Runtime& rt, ProfileStore& profile)
    : Form("Form2", "Create Pelmora", 6915, 5655),
      runtime(rt),
      store(profile),
      List1("List1", {240, 360, 2535, 1035}, 0, /*sorted=*/false),
      Text1("Text1", {240, 1800, 2535, 285}, 1, kNameMaxLength),
      Command1("Command1", {240, 2400, 1215, 495}, 3, "New Entry"),
      Command2("Command2", {240, 3120, 1215, 495}, 4, "Delete"),
      Command3("Command3", {240, 3840, 1215, 495}, 5, "Save"),
      Command4("Command4", {240, 4560, 1215, 495}, 9, "Exit"),
      Label1("Label1", {240, 120, 2415, 255}, 6, "Available Games"),
      Label2("Label2", {3120, 120, 3855, 255}, 7,
             "Edit Word List (char A - Z only - others are removed) "),
      Label3("Label3", {240, 1560, 2535, 255}, 8, "Edit Game Name") {
  text_[1] = std::make_unique<TextBox>("Text(1)", kFirstBox, 2, kWordMaxLength);
  BindBox(*text_[1], 1);
  LoadEvent = [this] { Form2_Form_Load(*this); };
  ActivateEvent = [this] { Form2_Form_Activate(*this); };
  // The close box and Escape act as Exit, prompts and all.
  CloseRequested = [this] { Form2_Command4_Click(*this); };
  List1.Click = [this] { Form2_List1_Click(*this); };
  Text1.KeyDown = [this](int code, int shift) { Form2_Text1_KeyDown(*this, code, shift); };
  Text1.KeyPress = [this](int& ascii) { Form2_Text1_KeyPress(*this, ascii); };
  Command1.Click = [this] { Form2_Command1_Click(*this); };
  Command2.Click = [this] { Form2_Command2_Click(*this); };
  Command3.Click = [this] { Form2_Command3_Click(*this); };
  Command4.Click = [this] { Form2_Command4_Click(*this); };
}

void Form2::BindBox(TextBox& box, int index) {
  box.KeyDown = [this, index](int code, int shift) { Form2_Text_KeyDown(*this, index, code, shift); };
  box.KeyPress = [this, index](int& ascii) { Form2_Text_KeyPress(*this, index, ascii); };
}

std::vector<Control*> Form2::Controls() {
  std::vector<Control*> out = {&List1,    &Text1,    text_[1].get(), &Command1, &Command2,
                               &Command3, &Command4, &Label1,        &Label2,   &Label3};
  for (int i = 2; i <= kWordsPerGame; ++i) {
    if (text_[static_cast<std::size_t>(i)]) out.push_back(text_[static_cast<std::size_t>(i)].get());
  }
  return out;
}

TextBox* Form2::Text(int i) const {
  if (i < 1 || i > kWordsPerGame) return nullptr;
  return text_[static_cast<std::size_t>(i)].get();
}

// Each load makes the form anew from its design: empty boxes and list, and
// the control array back to its one element.
void Form2::ResetToDesign() {
  for (int i = 2; i <= kWordsPerGame; ++i) text_[static_cast<std::size_t>(i)].reset();
  List1.Clear();
  Text1.SetText("");
  text_[1]->SetText("");
  text_[1]->SetTabIndex(2);
  Command1.SetTabIndex(3);
  Command2.SetTabIndex(4);
  Command3.SetTabIndex(5);
  Label1.SetTabIndex(6);
  Label2.SetTabIndex(7);
  Label3.SetTabIndex(8);
  Command4.SetTabIndex(9);
}

namespace {

// Giving a control a TabIndex moves every control at or behind that place
// one place on, as the runtime does.
void InsertAtTabIndex(Form2& f, Control& control, int index) {
  for (Control* c : f.Controls()) {
    if (c != &control && c->TabIndex() >= index) c->SetTabIndex(c->TabIndex() + 1);
  }
  control.SetTabIndex(index);
}

void EmptyBoxes(Form2& f) {
  for (int i = 1; i <= kWordsPerGame; ++i) {
    if (TextBox* box = f.Text(i)) box->SetText("");
  }
}

void ShowGames(Form2& f) {
  for (const std::string& game : ListGames(f.store, /*gamesStops=*/true)) f.List1.AddItem(game);
}

// A game's words into the boxes, as far as the game's keys go; the boxes
// behind keep their text.
void LoadBoxes(Form2& f, std::string_view section) {
  const std::vector<std::string> words = LoadWordBoxes(f.store, section);
  for (std::size_t i = 0; i < words.size(); ++i) f.Text(static_cast<int>(i) + 1)->SetText(words[i]);
}

// Writes the game in the boxes. For a name that isn't blank each box is
// first brought into its stored form, which it keeps.
void WriteBoxes(Form2& f, int slot, const std::string& name, std::string (*storedForm)(std::string_view)) {
  GameWords words;
  if (!name.empty()) {
    for (int i = 1; i <= kWordsPerGame; ++i) {
      TextBox& box = *f.Text(i);
      box.SetText(storedForm(box.Text()));
      words[static_cast<std::size_t>(i - 1)] = box.Text();
    }
  }
  WriteGameEntry(f.store, slot, name, words);
}

}  // namespace

void Form2_Form_Load(Form2& f) {
  f.ResetToDesign();
  f.Top = 0;
  f.Left = 0;
  f.Design.DirtyFlag = 0;
  f.Design.EditedSlot = 0;
  f.Design.BoxesStandForNoGame = false;
  TextBox& first = *f.Text(1);
  int running = first.Top();
  ShowGames(f);
  for (int i = 2; i <= kWordsPerGame; ++i) {
    auto box = std::make_unique<TextBox>("Text(" + std::to_string(i) + ")",
                                         TwipRect{first.Left(), first.Top(), first.Width(), first.Height()},
                                         first.TabIndex(), first.MaxLength());
    box->SetVisible(false);
    f.BindBox(*box, i);
    TextBox& b = *box;
    f.text_[static_cast<std::size_t>(i)] = std::move(box);
    running += first.Height();
    b.SetTop(running);
    b.SetLeft(first.Left());
    b.SetWidth(first.Width());
    b.SetHeight(first.Height());
    b.SetVisible(true);
    b.SetMaxLength(kWordMaxLength);
    InsertAtTabIndex(f, b, i + 1);
  }
  LoadBoxes(f, f.List1.List(0));
  f.Text1.SetText(f.List1.List(0));
}

void Form2_Form_Activate(Form2& f) { f.Design.DirtyFlag = 0; }

namespace {

// What Save and Exit both ask before they write, in this order: a name when
// the first box holds a word, a name the file can hold, and the overwrite
// question for each line of the list that holds the name (a name twice in
// the list asks twice). They differ in one point: Save takes DirtyFlag down
// before the question, so that after a No a second Save has nothing to do,
// while Exit keeps it, so that the next Exit asks again.
enum class DirtyFlagAtQuestion { Cleared, Kept };

bool NameAccepted(Form2& f, const std::string& name, DirtyFlagAtQuestion flag) {
  if (name.empty() && !f.Text(1)->Text().empty()) {
    f.runtime.MsgBox(kGiveAName, vbCritical);
    return false;
  }
  if (NameFileCannotHold(name)) {
    f.runtime.MsgBox(kChooseAnotherName, vbCritical);
    return false;
  }
  if (flag == DirtyFlagAtQuestion::Cleared) f.Design.DirtyFlag = 0;
  for (int i = 0; i < f.List1.ListCount(); ++i) {
    if (!name.empty() && UCase(name) == UCase(f.List1.List(i))) {
      if (f.runtime.MsgBox(OverwriteQuestion(name), vbYesNoQuestion) == vbNo) return false;
    }
  }
  return true;
}

// Where a save writes, decided from the index as it stands on disk at that
// moment: another copy of the program may have added, moved or removed games
// since the list on screen was read. A stored game is written where it now
// stands (the same occurrence of its name, where the list holds it twice);
// a new game, or a name typed into boxes that stand for no stored game, goes
// behind the listed games. Nothing is written when the game the boxes stood
// for is gone and the name is blank: there is nothing left to blank.
struct SaveTarget {
  bool write;
  int position;  // the slot is position + 1
  int listed;    // games the index lists now
};

SaveTarget TargetOf(Form2& f, const std::string& name) {
  const DesignerState& d = f.Design;
  const std::vector<std::string> stored = ListGames(f.store, /*gamesStops=*/true);
  const int listed = static_cast<int>(stored.size());
  const bool storedGame = d.EditedSlot >= 0 && d.EditedSlot < f.List1.ListCount() && !d.BoxesStandForNoGame;
  if (!storedGame) return {true, name.empty() ? d.EditedSlot : listed, listed};
  const std::string shown = f.List1.List(d.EditedSlot);
  int earlier = 0;
  for (int i = 0; i < d.EditedSlot; ++i) earlier += f.List1.List(i) == shown ? 1 : 0;
  for (int i = 0; i < listed; ++i) {
    if (stored[static_cast<std::size_t>(i)] == shown && earlier-- == 0) return {true, i, listed};
  }
  return {!name.empty(), listed, listed};
}

}  // namespace

// Save, also run as a plain call by a click on the list, New Entry and
// Delete, which go on however it ended.
void Form2_Command3_Click(Form2& f) {
  DesignerState& d = f.Design;
  if (d.DirtyFlag != 1) return;
  const std::string name = f.Text1.Text();
  if (!NameAccepted(f, name, DirtyFlagAtQuestion::Cleared)) return;
  for (int i = 2; i <= kWordsPerGame; ++i) {
    if (f.Text(i - 1)->Text().empty() && !f.Text(i)->Text().empty()) {
      f.runtime.MsgBox(kBlankCellWarning, vbInformation);
      break;
    }
  }
  if (f.runtime.MsgBox(kSaveChanges, vbYesNoQuestion) == vbNo) return;

  const SaveTarget target = TargetOf(f, name);
  d.BoxesStandForNoGame = false;
  if (target.write) {
    d.EditedSlot = static_cast<std::int16_t>(target.position);
    WriteBoxes(f, d.EditedSlot + 1, name, NormaliseWord);
  }
  // A blanked slot is always closed, so positions in the list and slots in
  // the file keep agreeing.
  const int count = name.empty() ? std::max<int>(d.CompactCount, target.listed) : d.CompactCount;
  if (count > 0) CompactIndex(f.store, count);
  // A blank name removed the game the boxes stood for, and the games behind
  // it moved up: a name typed next must not take the slot of the game that
  // moved into its place.
  if (name.empty()) d.BoxesStandForNoGame = true;

  d.DirtyFlag = 0;
  f.List1.Clear();
  ShowGames(f);
  if (!f.Text1.Text().empty() && !f.List1.List(d.EditedSlot).empty()) LoadBoxes(f, f.Text1.Text());
}


void Form2_List1_Click(Form2& f) {
  Form2_Command3_Click(f);
  f.Design.EditedSlot = static_cast<std::int16_t>(f.List1.ListIndex());
  f.Design.BoxesStandForNoGame = false;
  EmptyBoxes(f);
  LoadBoxes(f, f.List1.Text());
  f.Text1.SetText(f.List1.Text());
}

void Form2_Text_KeyDown(Form2& f, int, int, int) { f.Design.DirtyFlag = 1; }
void Form2_Text_KeyPress(Form2& f, int, int&) { f.Design.DirtyFlag = 1; }
void Form2_Text1_KeyDown(Form2& f, int, int) { f.Design.DirtyFlag = 1; }

void Form2_Text1_KeyPress(Form2& f, int&) {
  f.List1.Clear();
  ShowGames(f);
  f.Design.DirtyFlag = 1;
}

void Form2_Command1_Click(Form2& f) {
  if (f.Design.DirtyFlag == 1) Form2_Command3_Click(f);
  f.Design.EditedSlot = static_cast<std::int16_t>(f.List1.ListCount());
  f.Design.BoxesStandForNoGame = true;
  f.Text1.SetText("");
  if (f.runtime.MsgBox("Keep words from existing game?", vbYesNoQuestion) == vbNo) {
    EmptyBoxes(f);
    f.Text1.SetFocus();
  }
}

void Form2_Command2_Click(Form2& f) {
  f.Design.CompactCount = static_cast<std::int16_t>(f.List1.ListCount());
  f.Text1.SetText("");
  EmptyBoxes(f);
  f.Design.DirtyFlag = 1;
  Form2_Command3_Click(f);
}

void Form2_Command4_Click(Form2& f) {
  DesignerState& d = f.Design;
  if (d.DirtyFlag == 1) {
    const std::string name = f.Text1.Text();
    if (!NameAccepted(f, name, DirtyFlagAtQuestion::Kept)) return;
    if (f.runtime.MsgBox(kSaveChanges, vbYesNoQuestion) == vbYes) {
      const SaveTarget target = TargetOf(f, name);
      if (target.write) WriteBoxes(f, target.position + 1, name, RemoveBlanks);
      if (name.empty() && target.listed > 0) CompactIndex(f.store, target.listed);
    }
  }
  f.runtime.Unload(f);
}

}  // namespace pelmora
