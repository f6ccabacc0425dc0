#include "play/form1.h"

#include "board/board.h"
#include "platform/runtime_helpers.h"
#include "profile/game_library.h"

namespace pelmora {

namespace {

constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlack = 0x000000;
constexpr int kTimerInterval = 100;
constexpr int kBoardSize = 15;
constexpr int kGridOuterPerCell = 505;  // the control's outer size per cell

// The section is written "Settings" by the check boxes and read "settings"
// by everyone; names match without regard to case, so it is one section.
constexpr std::string_view kSettingsForReading = "settings";
constexpr std::string_view kSettingsForCheckBoxes = "Settings";

// A stored check box value: Val of the text, rounded as an assignment
// rounds; anything a check box can't hold reads as unticked.
int CheckBoxValueOf(const std::string& text) {
  const auto v = RoundToWhole(Val(text));
  return v && *v >= 0 && *v <= 2 ? *v : 0;
}

}  // namespace

Form1::Form1(Runtime& rt, ProfileStore& profile)
    : Form("Form1", "Pelmora v1.0", 11880, 8475),
      runtime(rt),
      store(profile),
      Grid1("Grid1", {840, 720, 5295, 5175}, 0),
      Picture1("Picture1", {720, 0, 975, 615}, 1, 3),
      Command1("Command1", {3480, 6000, 1335, 495}, 2, "New Game"),
      List1("List1", {8160, 2040, 2535, 3570}, 3, /*sorted=*/true),
      List2("List2", {8160, 480, 2535, 1230}, 4, /*sorted=*/false),
      Check1("Check1", {8160, 5760, 2655, 255}, 5, "Practice Mode On"),
      Check2("Check2", {8160, 6120, 2775, 375}, 6, "Show Word List"),
      Label1("Label1", {8160, 6600, 3015, 255}, 7),
      Command2("Command2", {8160, 7080, 1335, 495}, 8, "Designer"),
      Label2("Label2", {8160, 240, 3255, 255}, 9, "Available Games (click on game to start)"),
      Label3("Label3", {8160, 1800, 2535, 255}, 10, "Word List"),
      Command3("Command3", {9480, 7080, 1215, 495}, 11, "Print"),
      Command4("Command4", {8160, 7560, 1335, 495}, 12, "Statistics"),
      Command5("Command5", {9480, 7560, 1215, 495}, 13, "Clear Statistics"),
      Timer1("Timer1", kTimerInterval),
      Timer2("Timer2", kTimerInterval) {
  Left = 60;
  Top = 345;
  Command1.SetVisible(false);
  for (ListBox* list : {&List1, &List2}) {
    list->ForeColor = kGreen;
    list->BackColor = kBlack;
  }
  LoadEvent = [this] { Form1_Form_Load(*this); };
  Check1.Click = [this] { Form1_Check1_Click(*this); };
  Check2.Click = [this] { Form1_Check2_Click(*this); };
}

std::vector<Control*> Form1::Controls() {
  return {&Grid1,  &Picture1, &Command1, &List1,    &List2,    &Check1,   &Check2, &Label1,
          &Command2, &Label2, &Label3,   &Command3, &Command4, &Command5, &Timer1, &Timer2};
}

void Form1_Form_Load(Form1& f) {
  f.Grid1.SetVisible(false);
  f.Timer1.SetEnabled(false);
  f.Timer2.SetEnabled(true);
  f.Check1.SetValue(CheckBoxValueOf(f.store.ReadProfileValue(kSettingsForReading, "Practice", "0").text));
  f.Check2.SetValue(CheckBoxValueOf(f.store.ReadProfileValue(kSettingsForReading, "Visible", "1").text));
  f.Records.BestTime = Val(f.store.ReadProfileValue(kSettingsForReading, "Time", "0").text);
  f.Records.BestTitle = f.store.ReadProfileValue(kSettingsForReading, "Title", "0").text;
  f.Sel.ClickCount = 0;
  f.Play.ColourIndex = 0;
  f.Sel.Letters.clear();
  f.Grid1.SetRows(kBoardSize);
  f.Grid1.SetCols(kBoardSize);
  f.State = WindowState::Maximized;
  f.Grid1.SetTop(200);
  f.Grid1.SetLeft(200);
  // Rows bounds both passes, which serves because the board is square.
  for (int i = 0; i < f.Grid1.Rows(); ++i) {
    f.Grid1.SetRowHeight(i, kCellPitch);
    f.Grid1.SetColWidth(i, kCellPitch);
  }
  f.Grid1.SetWidth(f.Grid1.Cols() * kGridOuterPerCell);
  f.Grid1.SetHeight(f.Grid1.Rows() * kGridOuterPerCell);
  PublishBoard(f.Grid1, f.Picture1);
  ListGames(f.store, f.List2, /*gamesStops=*/false);
  const bool show = f.Check2.Value() != 0;
  f.List1.SetVisible(show);
  f.Label3.SetVisible(show);
}

void Form1_Check1_Click(Form1& f) {
  f.store.WriteProfileValue(kSettingsForCheckBoxes, "Practice", Format(f.Check1.Value()));
  f.Play.PracticeFlag = f.Play.PracticeFlag == 1 ? 0 : 1;
}

void Form1_Check2_Click(Form1& f) {
  f.store.WriteProfileValue(kSettingsForCheckBoxes, "Visible", Format(f.Check2.Value()));
  const bool show = f.Check2.Value() == 1;
  f.List1.SetVisible(show);
  f.Label3.SetVisible(show);
}

}  // namespace pelmora
