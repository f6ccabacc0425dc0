// The program run headless on a real file, the way players run it.
//
// A monkey at the controls: long random runs of everything a player can do
// to both windows, through the real handlers and the real file, with the
// program's invariants checked after every event. Among its moves the
// system's clock is set back and forward, and the program is closed and
// started again on the same file.
//
// Two copies on one profile, each with its designer open: a save or a delete
// in one is never lost or misdirected by the other's list on screen, which is
// older than the file.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>

#include "app/headless_program.h"
#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {
namespace {

using Strings = std::vector<std::string>;
PosixFileSystem disk;

// A fresh folder holding a profile with the given text.
std::string NewProfile(const std::string& folder, const std::string& text) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/wsearch.ini", std::ios::binary) << text;
  return folder + "/wsearch.ini";
}

// The games of the index, read slot by slot the way the file is laid out:
// the program's own walk would flush what it holds in memory and so hide a
// write that never reached the disk. With the settings after them, it is
// what the file must hold whenever the program waits for the player.
Strings Games(auto&& store, bool withSettings = false) {
  Strings games;
  for (int n = 1; n <= kIndexSlots; ++n)
    if (std::string v = store.ReadProfileValue(kIndexSection, Format(n), kEndMarker).text; v == kEndMarker) break;
    else if (!v.empty()) games.push_back(std::move(v));
  if (withSettings)
    for (auto key : {"Time", "Title", "Practice", "Visible"}) games.push_back(store.ReadProfileValue("settings", key, "-").text);
  return games;
}

// A box emptied, then text typed into it a key at a time, each an event.
void Type(HeadlessProgram& program, TextBox& box, const std::string& text) {
  program.Event([&box] { box.UserEdited(""); });
  for (const std::string& c : Chars(text)) program.Event([&box, &c] { box.UserType(c); });
}

struct Monkey {
  Monkey(const std::string& folder, std::uint64_t seed, int yesPercent)
      : path_(NewProfile(folder,
                        "[games]\n1=FRUIT\n2=LONG\n3=TWINS\n4=ODD\n[Fruit]\n1=APPLE\n2=PEAR\n3=FIG\n4=PLUM\n5=KIWI\n6=LIME\n"
                        "[Long]\n1=ABCDEFGHIJKLM\n2=NOPQRSTUVWXYZ\n3=ABCDEFGHIJKLMN\n4=XYZXYZXYZXYZXYZ\n5=CAT\n"
                        "[Twins]\n1=ALPHA\n2=ALPHA\n3=AL\n4=A\n[Odd]\n1=a-b\n2=ÜBER\n3=x'y\n4=Q\n")),
        rng_(seed), random_(seed), yesPercent_(yesPercent) { Start(); }

  long deals = 0, designers = 0, found = 0, events_ = 0, noes_ = 0;  // noes_: the questions answered No

  Form1& F() { return *program_->MainForm(); }
  int Pick(int n) { return rng_() % n; }
  const auto& PickOf(const auto& v) { return v[Pick(v.size())]; }
  void Event(const std::function<void()>& handler) { program_->Event(handler); }
  void Click(auto& control) { Event([&control] { control.UserClick(); }); }

  void Start() {
    program_ = std::make_unique<HeadlessProgram>(path_, ProgramParts{&clocks_, &random_});
    program_->runtime.answer = [this](const std::string& prompt, int value) {
      // Nothing the program wrote waits in memory while the player is asked.
      EXPECT_EQ(Games(ProfileStore(path_, disk), true), Games(program_->store, true)) << "at \"" << prompt << "\"";
      return value != vbYesNoQuestion ? vbOK : !leaving_ && Pick(100) < yesPercent_ ? vbYes : (++noes_, vbNo);
    };
    program_->runtime.runModalLoop = [this](const std::function<bool()>& done) {
      ++designers;
      inDesigner_ = true;
      Run(done, [this] { DesignerEvent(F().Designer); });
      for (leaving_ = true; !done(); Click(F().Designer.Command4))  // out whatever it holds: blank boxes and no save
        for (TextBox* box : {&F().Designer.Text1, F().Designer.Text(1)}) Type(*program_, *box, "");
      leaving_ = inDesigner_ = false;
    };
    dealt_.reset();
    program_->Start();
  }

  // Events until done or the budget is spent, each followed by a look at
  // every invariant.
  void Run(const std::function<bool()>& done, const std::function<void()>& event) {
    for (; !done() && !testing::Test::HasFailure() && events_ < 5000; ++events_) {
      event();
      if (const std::string why = Broken(F()); !why.empty()) ADD_FAILURE() << "after event " << events_ << ": " << why;
    }
  }

  void MainEvent() {
    Form1& f = F();
    const int roll = Pick(100);
    if (roll < 30) Tick();
    else if (roll < 46) Press(Pick(8200) - 300, Pick(8200) - 300);  // anywhere, the board's edges and beyond
    else if (roll < 68) HelpfulPress(f);
    else if (roll < 74 && f.List2.ListCount() > 0) {
      // A deal: its count is the words it lists, and the list only ever
      // loses the words found until the next deal. Refused, the game in
      // play goes on.
      const long noes = noes_;
      Event([&f, row = Pick(f.List2.ListCount())] { f.List2.UserSelect(row); });
      if (noes_ == noes) dealt_ = f.List1.Items(), ++deals;
    } else if (roll < 80) Click(roll < 77 ? f.Check1 : f.Check2);
    // Statistics, Clear Statistics, the designer.
    else if (roll < 89) Click(roll < 83 ? f.Command4 : roll < 85 ? f.Command5 : f.Command2);
    else if (roll < 90) Start();  // closed and started again
    // The system's time set back or forward by up to two hours, or a second passing.
    else if (roll < 93) clocks_.SetWall(std::int64_t(clocks_.WallNow() * 86400e3) + Pick(14'400'000) - 7'200'000), Tick();
    else for (int i = 0; i < 10; ++i) Tick();
  }

  void Tick() {
    clocks_.Advance(100);
    for (Timer* t : {&F().Timer1, &F().Timer2}) if (t->Enabled()) Event([t] { t->Tick(); });
  }

  void Press(float x, float y) { Event([this, x, y, b = 1 << Pick(3)] { F().Picture1.UserMouseDown(b, 0, x, y); }); }

  // A letter that goes on with a listed word, so that words are found and
  // games won. The game judges spelling alone: any cell holding it will do.
  void HelpfulPress(Form1& f) {
    for (int tries = 0, listed = f.List1.ListCount(); tries < 225; ++tries) {
      const int r = Pick(15), c = Pick(15);
      const std::string letters = f.Sel.Letters + f.Grid1.CellAt(r, c).text;
      if (std::ranges::none_of(f.List1.Items(), [&](auto& w) { return w.starts_with(letters); })) continue;
      Press(c * 500 + 100 + Pick(400), r * 500 + 100 + Pick(400));
      found += f.List1.ListCount() < listed;  // a word found leaves the list
      return;
    }
  }

  void DesignerEvent(Form2& d) {
    static const Strings kNames = {"games", "Settings", " Lead", "Trail ", "'Q'", "Fruit", "New",
                                   "café", "a=b", "[x]", "NONE", "none", "FIG"};
    const int roll = Pick(100);
    TextBox& any = Pick(17) == 0 ? d.Text1 : *d.Text(1 + Pick(16));
    if (roll < 40) Event([&any, c = PickOf(Chars("AELPSTaz 1-'\"=[é€"))] { any.UserType(c); });
    // Backspace: KeyDown, KeyPress, then the editor's own change.
    else if (roll < 47) {
      Event([&any] { any.UserKeyDown(8); });
      Event([&any] { any.UserEdited(Left(any.Text(), Len(any.Text()) - 1)); });
    } else if (roll < 50) Event([&any, code = PickOf(std::vector<int>{37, 38, 39, 40, 16, 9, 0})] { any.UserKeyDown(code); });
    else if (roll < 60 && d.List1.ListCount() > 0) Event([&d, row = Pick(d.List1.ListCount())] { d.List1.UserSelect(row); });
    // New Entry, Delete, Save, Exit
    else if (roll < 86) Click(roll < 67 ? d.Command1 : roll < 72 ? d.Command2 : roll < 81 ? d.Command3 : d.Command4);
    else if (roll < 88) Event([&d] { d.CloseRequested(); });
    // A name or a word typed afresh.
    else if (roll < 94) Type(*program_, d.Text1, PickOf(kNames));
    else Type(*program_, any, PickOf(Strings{"pear", "PLUM", "Kiwi", "ABCDEFGHIJKLMNO", "x-ray", "q"}));
  }

  // The first invariant the program breaks, if any.
  std::string Broken(Form1& f) {
    if (!program_->contained.empty()) return "a handler threw: " + program_->contained.front();
    ProfileStore stored(path_, disk);
    // The designer's list while it is open, the main window's once it is back.
    if (f.Designer.Loaded ? f.Designer.List1.Items() != Games(stored) : !inDesigner_ && f.List2.Items() != Games(stored))
      return "a game list isn't the index on disk";
    if (stored.ReadProfileValue("settings", "Practice", "0").text != Format(f.Check1.Value()) ||
        stored.ReadProfileValue("settings", "Visible", "1").text != Format(f.Check2.Value()) ||
        stored.ReadProfileValue("settings", "Time", "0").text != Format(f.Records.BestTime))
      return "the stored settings or record aren't the program's";
    if (f.Timer1.Enabled() && f.Timer2.Enabled()) return "the clock and the shuffle both run";
    if (f.Check1.Value() != f.Play.PracticeFlag) return "practice mode and its box disagree";
    if (f.List1.Visible() != (f.Check2.Value() == 1)) return "the word list's visibility and its box disagree";
    if (f.Records.BestTime < 0 || f.Records.RunBestTime < 0) return "a record below zero";
    if (program_->runtime.MousePointer() != vbDefault) return "the busy pointer stays on";
    if (f.Sel.ClickCount != static_cast<int>(Len(f.Sel.Letters))) return "ClickCount isn't the letters'";
    if (!dealt_) return {};
    for (int i = 0; i < 225; ++i) {
      const std::string& t = f.Grid1.CellAt(i / 15, i % 15).text;
      if (Len(t) != 1 || t == " ") return "a cell holds \"" + t + "\"";
      if (!f.Timer2.Enabled() && (!f.Picture1.Picture() || f.Picture1.Picture()->At(i / 15, i % 15).text != t))
        return "the board on screen isn't the board the clicks are judged on";
    }
    if (f.Timer2.Enabled()) return {};  // the shuffle came back after the designer
    if (f.Play.WordCount != static_cast<int>(dealt_->size())) return "WordCount isn't the words dealt";
    const Strings& listed = f.List1.Items();
    if (std::ranges::any_of(listed, [&](auto& w) { return std::ranges::count(listed, w) > std::ranges::count(*dealt_, w); }))
      return "the word list holds a word not dealt";
    if (!f.Sel.Letters.empty() && std::ranges::none_of(listed, [&f](auto& w) { return w.starts_with(f.Sel.Letters); }))
      return "the letters \"" + f.Sel.Letters + "\" start no listed word";
    if (f.Play.WonFlag == 1 && (f.List1.ListCount() > 0 || f.Timer1.Enabled())) return "a won game goes on";
    return {};
  }

  std::string path_;
  std::mt19937_64 rng_;
  SetClocks clocks_;
  SeededRandom random_;
  int yesPercent_;
  std::unique_ptr<HeadlessProgram> program_;
  std::optional<Strings> dealt_;
  bool leaving_ = false, inDesigner_ = false;
};

TEST(Monkey, RandomPlayKeepsEveryInvariant) {
  for (const auto& [seed, yesPercent] : std::vector<std::pair<std::uint64_t, int>>{{1, 65}, {2, 92}, {3, 15}, {17, 50}}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Monkey monkey("monkey-" + std::to_string(seed), seed, yesPercent);
    monkey.Run([] { return false; }, [&] { monkey.MainEvent(); });
    // A run that never deals, finds a word or opens the designer proves nothing.
    EXPECT_TRUE(monkey.deals > 0 && monkey.found > 0 && monkey.designers > 0)
        << monkey.deals << " deals, " << monkey.found << " words found, the designer " << monkey.designers << " times";
    if (HasFailure()) break;
  }
}

// One copy of the program with its designer standing open.
struct Copy {
  explicit Copy(const std::string& path) : program(path), d(program.Start().Designer) {
    program.Event([this] { d.Loaded = true; Form2_Form_Load(d); });
  }
  void Delete(int row) {
    program.Event([this, row] { d.List1.UserSelect(row); });
    program.Event([this] { Form2_Command2_Click(d); });
  }
  void NewGame(const std::string& name) {
    program.runtime.answer = [](const std::string&, int) { return vbNo; };  // keep no words
    program.Event([this] { Form2_Command1_Click(d); });
    program.runtime.answer = nullptr;  // then Yes to everything
    Type(program, d.Text1, name);
    Type(program, *d.Text(1), "word");
    program.Event([this] { Form2_Command3_Click(d); });
  }
  HeadlessProgram program;
  Form2& d;
};

TEST(TwoCopies, NeitherLosesNorMisdirectsTheOthersGames) {
  const std::string path = NewProfile(std::filesystem::absolute("two-copies"), "[games]\r\n1=FRUIT\r\n[FRUIT]\r\n1=PEAR\r\n");
  Copy a(path), b(path);
  // Each adds a game while the other's list still shows only FRUIT.
  b.NewGame("Birds");
  a.NewGame("Trees");
  EXPECT_EQ(Games(ProfileStore(path, disk)), (Strings{"FRUIT", "BIRDS", "TREES"}));
  // B deletes FRUIT; A, whose list still shows it first, then deletes the
  // game it shows second, BIRDS, which now stands first in the file.
  b.Delete(0);
  a.Delete(1);
  EXPECT_EQ(Games(ProfileStore(path, disk)), (Strings{"TREES"}));
  // B's list still shows BIRDS, which A deleted meanwhile: deleting it
  // again removes nothing.
  b.Delete(0);
  EXPECT_EQ(Games(ProfileStore(path, disk)), (Strings{"TREES"}));
}

}  // namespace
}  // namespace pelmora
