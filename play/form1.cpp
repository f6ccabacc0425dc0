#include "play/form1.h"

#include <cmath>

#include "board/board.h"
#include "board/deal.h"
#include "board/filler.h"
#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {

namespace {

constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlack = 0x000000;
constexpr int kTimerInterval = 100;

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
      Timer2("Timer2", kTimerInterval),
      Designer(rt, profile) {
  Left = 60;
  Top = 345;
  Command1.SetVisible(false);
  for (ListBox* list : {&List1, &List2}) {
    list->ForeColor = kGreen;
    list->BackColor = kBlack;
  }
  // The board's narration follows the events that change what it tells:
  // start-up and the designer (the shimmer), a deal, a press.
  LoadEvent = [this] {
    Form1_Form_Load(*this);
    NarrateBoard(*this);
  };
  Check1.Click = [this] { Form1_Check1_Click(*this); };
  Check2.Click = [this] { Form1_Check2_Click(*this); };
  List2.Click = [this] {
    Form1_List2_Click(*this);
    NarrateBoard(*this);
  };
  Command1.Click = [this] {
    Form1_Command1_Click(*this);
    NarrateBoard(*this);
  };
  Timer2.Tick = [this] { Form1_Timer2_Timer(*this); };
  Timer1.Tick = [this] { Form1_Timer1_Timer(*this); };
  Picture1.MouseDown = [this](int button, int shift, float x, float y) {
    const BeforePress before{Sel.Letters, List1.ListCount()};
    Form1_Picture1_MouseDown(*this, button, shift, x, y);
    NarrateBoard(*this, &before);
  };
  Command2.Click = [this] {
    Form1_Command2_Click(*this);
    NarrateBoard(*this);
  };
  Command3.Click = [this] { Form1_Command3_Click(*this); };
  Command4.Click = [this] { Form1_Command4_Click(*this); };
  Command5.Click = [this] { Form1_Command5_Click(*this); };
}

Form3& Form1::Sheet() {
  if (!sheet_) sheet_ = std::make_unique<Form3>();
  sheet_->Loaded = true;
  return *sheet_;
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
  SetUpBoard(f.Grid1);
  f.State = WindowState::Maximized;
  PublishBoard(f.Grid1, f.Picture1);
  for (const std::string& game : ListGames(f.store, /*gamesStops=*/false)) f.List2.AddItem(game);
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

void Form1_List2_Click(Form1& f) { Form1_Command1_Click(f); }

void Form1_Command1_Click(Form1& f) {
  // The shimmer stops first, before the question, and stays off on a No.
  f.Timer2.SetEnabled(false);
  if (f.List1.ListCount() > 0 && f.Play.WonFlag == 0) {
    if (f.runtime.MsgBox("Do you want to resign this game?", vbYesNoQuestion) == vbNo) return;
  }
  f.runtime.SetMousePointer(vbHourglass);
  f.Play.ColourIndex = 0;
  // Letters half-spelled on the old board mean nothing on the new one.
  f.Sel.Letters.clear();
  f.Sel.ClickCount = 0;
  f.Grid1.Clear();
  const std::vector<std::string> words = ReadGameWords(f.store, f.List2.Text());
  f.Play.WordCount = static_cast<std::int16_t>(words.size());
  f.List1.Clear();
  for (const std::string& word : words) f.List1.AddItem(word);
  const DealReport deal = DealWords(f.Grid1, f.runtime.Random(), words, f.Play.PracticeFlag);
  // A word left out leaves the count as well as the list, so the game can still be won.
  DropLeftOutWords(f.List1, deal.leftOut);
  f.Play.WordCount -= static_cast<std::int16_t>(deal.leftOut.size());
  ShowBoard(f.Grid1, f.Picture1);
  if (!deal.leftOut.empty()) f.runtime.MsgBox(LeftOutMessage(deal.leftOut), vbInformation);
  f.Timer1.SetEnabled(true);
  f.runtime.SetGameInPlay(true);
  // The clock starts when the board is on screen, not when the deal began.
  f.Play.StartTime = f.runtime.Now();
  f.Play.WonFlag = 0;
  f.runtime.SetMousePointer(vbDefault);
}

void Form1_Timer2_Timer(Form1& f) {
  ShuffleBoard(f.Grid1, f.runtime.Random());
  ShowBoard(f.Grid1, f.Picture1);
}

namespace {

constexpr double kDeadBand = 100;      // the first 100 twips of the top row and left column
constexpr double kBoardEdge = 7500;    // 15 cells of 500: nothing lies beyond
constexpr int kEraser = 15;            // bright white wipes a mismatch's circles
constexpr int kColourCount = 15;       // a word's colours run 0 to 14

// Whether any listed word starts with the letters, case and all.
bool StartsAnyWord(const ListBox& list, const std::string& letters) {
  const std::size_t n = Len(letters);
  for (int i = 0; i < list.ListCount(); ++i) {
    if (Left(list.List(i), n) == letters) return true;
  }
  return false;
}

}  // namespace

void Form1_Picture1_MouseDown(Form1& f, int /*button*/, int /*shift*/, float x, float y) {
  if (f.List1.ListCount() == 0) return;
  if (x < kDeadBand || y < kDeadBand) return;
  if (x >= kBoardEdge || y >= kBoardEdge) return;
  const int cx = RingCentre(static_cast<int>(std::floor(x / kCellPitch)));
  const int cy = RingCentre(static_cast<int>(std::floor(y / kCellPitch)));
  f.Picture1.Circle(cx, cy, kRingRadius, QBColor(f.Play.ColourIndex));

  Selection& s = f.Sel;
  if (s.ClickCount >= 0 && s.ClickCount < static_cast<int>(s.CentreX.size())) {
    s.CentreX[static_cast<std::size_t>(s.ClickCount)] = static_cast<std::int16_t>(cx);
    s.CentreY[static_cast<std::size_t>(s.ClickCount)] = static_cast<std::int16_t>(cy);
  }
  ++s.ClickCount;
  f.Grid1.SetRow(cy / kCellPitch);
  f.Grid1.SetCol(cx / kCellPitch);
  s.Letters += f.Grid1.Text();

  if (!StartsAnyWord(f.List1, s.Letters)) {
    f.runtime.MsgBox("This does not match to any available word", vbCritical);
    // Wiped last click first, in white; the next word keeps its colour.
    for (int i = static_cast<int>(Len(s.Letters)) - 1; i >= 0; --i) {
      if (i >= static_cast<int>(s.CentreX.size())) continue;
      f.Picture1.Circle(s.CentreX[static_cast<std::size_t>(i)], s.CentreY[static_cast<std::size_t>(i)],
                        kRingRadius, QBColor(kEraser));
    }
    s.ClickCount = 0;
    s.Letters.clear();
    return;
  }
  for (int i = 0; i < f.List1.ListCount(); ++i) {
    if (f.List1.List(i) != s.Letters) continue;
    f.List1.RemoveItem(i);
    f.runtime.Beep();
    ++f.Play.ColourIndex;
    if (f.Play.ColourIndex == kColourCount) f.Play.ColourIndex = 0;
    s.ClickCount = 0;
    s.Letters.clear();
    return;
  }
}

namespace {

// The win: both records tested, each against its own value, strictly; the
// overall one stored; then the message, and only after it the clock stops.
void WinSequence(Form1& f) {
  const auto taken = [&f] { return f.runtime.Now() - f.Play.StartTime; };
  RecordBook& r = f.Records;
  if (taken() < r.BestTime || r.BestTime == 0) {
    r.BestTime = taken();
    r.BestTitle = f.List2.Text();
    f.store.WriteProfileValue(kSettingsForReading, "Time", Format(r.BestTime));
    f.store.WriteProfileValue(kSettingsForReading, "Title", r.BestTitle);
  }
  if (taken() < r.RunBestTime || r.RunBestTime == 0) {
    r.RunBestTitle = f.List2.Text();
    r.RunBestTime = taken();
  }
  f.runtime.MsgBox("You have won - you took " + FormatTime(taken()) + " to find " +
                       Format(f.Play.WordCount) + " words from " + f.List2.Text(),
                   vbInformation);
  f.Timer1.SetEnabled(false);
  f.runtime.SetGameInPlay(false);
  f.Play.WonFlag = 1;
}

}  // namespace

void Form1_Timer1_Timer(Form1& f) {
  f.Label1.SetCaption("Time Taken " + FormatTime(f.runtime.Now() - f.Play.StartTime));
  if (f.Check1.Value() == 1) return;
  if (f.Play.WonFlag == 0 && f.List1.ListCount() == 0) WinSequence(f);
}

void Form1_Command2_Click(Form1& f) {
  f.Timer2.SetEnabled(false);
  f.runtime.ShowModal(f.Designer);
  // The shimmer comes back only when no game is on the board.
  if (!f.Timer1.Enabled()) f.Timer2.SetEnabled(true);
  f.List2.Clear();
  for (const std::string& game : ListGames(f.store, /*gamesStops=*/true)) f.List2.AddItem(game);
}

void Form1_Command3_Click(Form1& f) {
  Form3& sheet = f.Sheet();
  sheet.Picture1.SetPicture(f.Picture1.Picture());
  sheet.List1.Clear();
  for (int i = 0; i < f.List1.ListCount(); ++i) sheet.List1.AddItem(f.List1.List(i));
  f.runtime.PrintForm(sheet);
}

void Form1_Command4_Click(Form1& f) {
  const RecordBook& r = f.Records;
  std::string overall;
  if (r.BestTime != 0) overall = "Fastest overall time " + FormatTime(r.BestTime) + " on " + r.BestTitle;
  std::string run;
  if (r.RunBestTime != 0) {
    run = "Fastest time this sesion " + FormatTime(r.RunBestTime) + " on " + r.RunBestTitle;
  }
  if (r.BestTime == 0) return;
  f.runtime.MsgBox(overall + "\r\r" + run, vbOKOnly);
}

void Form1_Command5_Click(Form1& f) {
  if (f.runtime.MsgBox("Are you sure you wish to clear statistics?", vbYesNoQuestion) == vbNo) return;
  f.Records.BestTime = 0;
  f.Records.RunBestTime = 0;
  f.store.WriteProfileValue(kSettingsForReading, "Time", "0");
}

void NarrateBoard(Form1& f, const BeforePress* press) {
  PictureBox::Narration said;
  if (f.Timer2.Enabled()) said.idle = "No game is in play. Choose a game from the game list.";
  const Selection& s = f.Sel;
  for (int i = 0; i < s.ClickCount && i < static_cast<int>(s.CentreX.size()); ++i) {
    const auto at = static_cast<std::size_t>(i);
    said.ringed.emplace_back(s.CentreY[at] / kCellPitch, s.CentreX[at] / kCellPitch);
  }
  // The handler leaves the grid's cursor on the cell it read.
  if (press && f.List1.ListCount() < press->words) {
    const int left = f.List1.ListCount();
    said.press = press->letters + f.Grid1.Text() + " found, " + Format(left) + (left == 1 ? " word" : " words") +
                 " left";
  } else if (press && Len(s.Letters) > Len(press->letters)) {
    said.press = SpokenCell(f.Grid1.Text(), f.Grid1.Row(), f.Grid1.Col(), true) + ", letters";
    for (const std::string& letter : Chars(s.Letters)) said.press += " " + letter;
  }
  f.Picture1.SetNarration(std::move(said));
}

}  // namespace pelmora
