// A monkey at the controls: long random runs of everything a player can do
// to both windows, through the real handlers and the real file, with the
// program's invariants checked after every event. Among its moves the
// system's clock is set back and forward, and the program is closed and
// started again on the same file.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "app/headless_program.h"
#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {
namespace {

class Monkey {
 public:
  Monkey(const std::string& folder, std::uint64_t seed, int yesPercent)
      : path_(folder + "/wsearch.ini"), rng_(seed), random_(seed), yesPercent_(yesPercent) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    PosixFileSystem fs;
    ProfileStore store(path_, fs);
    const std::vector<std::pair<std::string, std::vector<std::string>>> games = {
        {"Fruit", {"APPLE", "PEAR", "FIG", "PLUM", "KIWI", "LIME"}},
        {"Long", {"ABCDEFGHIJKLM", "NOPQRSTUVWXYZ", "ABCDEFGHIJKLMN", "XYZXYZXYZXYZXYZ", "CAT"}},
        {"Twins", {"ALPHA", "ALPHA", "AL", "A"}},
        {"Odd", {"a-b", "\xC3\x9C" "BER", "x'y", "Q"}}};
    int slot = 1;
    for (const auto& [name, words] : games) {
      store.WriteProfileValue("games", std::to_string(slot++), UCase(name));
      for (std::size_t i = 0; i < words.size(); ++i) store.WriteProfileValue(name, std::to_string(i + 1), words[i]);
    }
    Start();
  }

  long deals = 0, designers = 0, wins = 0;
  bool failed = false;

  void Run(long budget) {
    budget_ = budget;
    while (!failed && events_ < budget_) {
      MainEvent();
      ++events_;
      Check();
    }
  }

 private:
  HeadlessProgram& P() { return *program_; }
  Form1& F() { return *program_->MainForm(); }
  Form2& D() { return F().Designer; }
  int Pick(int n) { return static_cast<int>(rng_() % static_cast<std::uint64_t>(n)); }
  template <typename T>
  const T& PickOf(const std::vector<T>& v) { return v[static_cast<std::size_t>(Pick(static_cast<int>(v.size())))]; }
  void Event(const std::function<void()>& handler) { P().Event(handler); }

  void Start() {
    program_ = std::make_unique<HeadlessProgram>(path_, ProgramParts{&clocks_, &random_, &fs_});
    P().runtime.answer = [this](const std::string& prompt, int value) {
      ExpectStored("the box \"" + prompt + "\"");
      const int answer = value != vbYesNoQuestion         ? vbOK
                         : !leaving_ && Pick(100) < yesPercent_ ? vbYes
                                                                : vbNo;
      boxes_.push_back({prompt, answer});
      return answer;
    };
    P().runtime.runModalLoop = [this](const std::function<bool()>& done) {
      ++designers;
      inDesigner_ = true;
      while (!done() && !failed && events_ < budget_) {
        DesignerEvent();
        ++events_;
        Check();
      }
      // Out whatever it holds: blank boxes and no save.
      leaving_ = true;
      while (!done()) {
        Event([this] { D().Text1.UserEdited(""); });
        Event([this] { D().Text(1)->UserEdited(""); });
        Event([this] { D().Command4.UserClick(); });
      }
      leaving_ = false;
      inDesigner_ = false;
    };
    dealt_.reset();
    P().Start();
  }

  void MainEvent() {
    const int roll = Pick(100);
    Form1& f = F();
    if (roll < 30) Tick();
    else if (roll < 46) Press(static_cast<float>(Pick(8200) - 300), static_cast<float>(Pick(8200) - 300));
    else if (roll < 68) HelpfulPress();
    else if (roll < 74) Deal();
    else if (roll < 77) Event([&f] { f.Check1.UserClick(); });
    else if (roll < 80) Event([&f] { f.Check2.UserClick(); });
    else if (roll < 83) Event([&f] { f.Command4.UserClick(); });
    else if (roll < 85) Event([&f] { f.Command5.UserClick(); });
    else if (roll < 89) Event([&f] { f.Command2.UserClick(); });
    else if (roll < 90) Start();  // closed and started again
    else if (roll < 93) {
      // The system's time is set back or forward by up to two hours.
      clocks_.SetWall(static_cast<std::int64_t>(clocks_.WallNow() * 86400e3) + Pick(14'400'000) - 7'200'000);
      Tick();
    } else {
      for (int i = 0; i < 10; ++i) Tick();
    }
  }

  void Tick() {
    clocks_.Advance(100);
    for (Timer* t : {&F().Timer1, &F().Timer2})
      if (t->Enabled()) Event([t] { t->Tick(); });
  }

  void Press(float x, float y) {
    const int button = 1 << Pick(3);
    Event([this, x, y, button] { F().Picture1.UserMouseDown(button, 0, x, y); });
  }

  // The next letter of a listed word, so that words are found and games won.
  void HelpfulPress() {
    Form1& f = F();
    std::vector<std::string> fitting;
    for (const std::string& w : f.List1.Items())
      if (w.rfind(f.Sel.Letters, 0) == 0 && Len(w) > Len(f.Sel.Letters)) fitting.push_back(w);
    if (fitting.empty()) return;
    // The game judges spelling alone: any cell holding the next letter will do.
    const std::string next = Chars(PickOf(fitting))[Len(f.Sel.Letters)];
    for (int r = 0, tries = 0; tries < 225; r = Pick(15), ++tries) {
      const int c = Pick(15);
      if (f.Grid1.CellAt(r, c).text != next) continue;
      Press(static_cast<float>(c * 500 + 100 + Pick(400)), static_cast<float>(r * 500 + 100 + Pick(400)));
      break;
    }
    if (f.List1.ListCount() == 0 && f.Play.WonFlag == 0) ++wins;
  }

  // A deal: its count is the words it lists, and the list only ever loses
  // the words found until the next deal.
  void Deal() {
    Form1& f = F();
    if (f.List2.ListCount() == 0) return;
    const int row = Pick(f.List2.ListCount());
    boxes_.clear();
    Event([&f, row] { f.List2.UserSelect(row); });
    for (const auto& [box, answer] : boxes_)
      if (answer == vbNo) return;  // the game in play goes on
    dealt_ = f.List1.Items();
    ++deals;
  }

  void DesignerEvent() {
    Form2& d = D();
    static const std::vector<std::string> kChars = {"A", "E", "L", "P", "S", "T", "a", "z", " ", "1", "-",
                                                   "'", "\"", "=", "[", "\xC3\xA9", "\xE2\x82\xAC"};
    static const std::vector<std::string> kNames = {"games", "Settings", " Lead", "Trail ", "'Q'", "Fruit",
                                                   "New", "caf\xC3\xA9", "a=b", "[x]", "NONE", "none", "FIG"};
    static const std::vector<std::string> kWords = {"pear", "PLUM", "Kiwi", "ABCDEFGHIJKLMNO", "x-ray", "q"};
    const int roll = Pick(100);
    TextBox& any = Pick(17) == 0 ? d.Text1 : *d.Text(1 + Pick(16));
    if (roll < 40) {
      Event([&any, &c = PickOf(kChars)] { any.UserType(c); });
    } else if (roll < 47) {
      // Backspace: KeyDown, KeyPress, then the editor's own change.
      Event([&any] { any.UserKeyDown(8); });
      Event([&any] {
        std::vector<std::string> chars = Chars(any.Text());
        if (!chars.empty()) chars.pop_back();
        std::string text;
        for (const std::string& c : chars) text += c;
        any.UserEdited(text);
      });
    } else if (roll < 50) {
      Event([&any, code = PickOf(std::vector<int>{37, 38, 39, 40, 16, 9, 0})] { any.UserKeyDown(code); });
    } else if (roll < 60) {
      if (d.List1.ListCount() > 0) Event([&d, row = Pick(d.List1.ListCount())] { d.List1.UserSelect(row); });
    } else if (roll < 67) {
      Event([&d] { d.Command1.UserClick(); });
    } else if (roll < 72) {
      Event([&d] { d.Command2.UserClick(); });
    } else if (roll < 81) {
      Event([&d] { d.Command3.UserClick(); });
    } else if (roll < 86) {
      Event([&d] { d.Command4.UserClick(); });
    } else if (roll < 88) {
      Event([&d] { d.CloseRequested(); });
    } else {
      TextBox& box = roll < 94 ? d.Text1 : *d.Text(1 + Pick(16));
      Event([&box] { box.UserEdited(""); });
      for (const std::string& c : Chars(roll < 94 ? PickOf(kNames) : PickOf(kWords)))
        Event([&box, &c] { box.UserType(c); });
    }
  }

  void Fail(const std::string& why) {
    if (failed) return;
    failed = true;
    ADD_FAILURE() << "after event " << events_ << ": " << why;
  }

  // While the program waits for the player, the file holds all it wrote.
  void ExpectStored(const std::string& when) {
    PosixFileSystem fs;
    ProfileStore disk(path_, fs);
    // Slot by slot, to the end of the index on disk: a walk that flushes
    // would write out what it is here to find.
    for (int slot = 1; slot <= kIndexSlots; ++slot) {
      const std::string stored = disk.ReadProfileValue(kIndexSection, Format(slot), kEndMarker).text;
      if (stored != P().store.ReadProfileValue(kIndexSection, Format(slot), kEndMarker).text)
        return Fail(when + " waits with the index only in memory");
      if (stored == kEndMarker) break;
    }
    for (const char* key : {"Time", "Title", "Practice", "Visible"})
      if (disk.ReadProfileValue("settings", key, "-").text != P().store.ReadProfileValue("settings", key, "-").text)
        return Fail(when + " waits with " + key + " only in memory");
  }

  void Check() {
    if (failed) return;
    Form1& f = F();
    if (!P().contained.empty()) return Fail("a handler threw: " + P().contained.front());
    PosixFileSystem fs;
    ProfileStore disk(path_, fs);
    // The designer's list while it is open, the main window's once it is back.
    if (f.Designer.Loaded ? D().List1.Items() != ListGames(disk, true)
                          : !inDesigner_ && f.List2.Items() != ListGames(disk, false))
      return Fail("a game list isn't the index on disk");
    if (f.Timer1.Enabled() && f.Timer2.Enabled()) return Fail("the clock and the shuffle both run");
    if (f.Check1.Value() != f.Play.PracticeFlag) return Fail("practice mode and its box disagree");
    if (f.List1.Visible() != (f.Check2.Value() == 1)) return Fail("the word list's visibility and its box disagree");
    if (disk.ReadProfileValue("settings", "Practice", "0").text != Format(f.Check1.Value()) ||
        disk.ReadProfileValue("settings", "Visible", "1").text != Format(f.Check2.Value()) ||
        disk.ReadProfileValue("settings", "Time", "0").text != Format(f.Records.BestTime))
      return Fail("the stored settings or record aren't the program's");
    if (f.Records.BestTime < 0 || f.Records.RunBestTime < 0) return Fail("a record below zero");
    if (P().runtime.MousePointer() != vbDefault) return Fail("the busy pointer stays on");
    if (f.Sel.ClickCount != static_cast<int>(Len(f.Sel.Letters))) return Fail("ClickCount isn't the letters'");
    if (!dealt_) return;
    const PictureHandle& shown = f.Picture1.Picture();
    for (int r = 0; r < 15; ++r)
      for (int c = 0; c < 15; ++c) {
        const std::string& t = f.Grid1.CellAt(r, c).text;
        if (Len(t) != 1 || t == " ") return Fail("a cell holds \"" + t + "\"");
        if (!f.Timer2.Enabled() && (!shown || shown->At(r, c).text != t))
          return Fail("the board on screen isn't the board the clicks are judged on");
      }
    if (f.Timer2.Enabled()) return;  // the shuffle came back after the designer
    if (f.Play.WordCount != static_cast<int>(dealt_->size())) return Fail("WordCount isn't the words dealt");
    std::vector<std::string> left = *dealt_;
    bool prefix = f.Sel.Letters.empty();
    for (const std::string& w : f.List1.Items()) {
      const auto at = std::find(left.begin(), left.end(), w);
      if (at == left.end()) return Fail("the word list holds " + w + ", which wasn't dealt");
      left.erase(at);
      prefix = prefix || w.rfind(f.Sel.Letters, 0) == 0;
    }
    if (!prefix) return Fail("the letters \"" + f.Sel.Letters + "\" start no listed word");
    if (f.Play.WonFlag == 1 && (f.List1.ListCount() > 0 || f.Timer1.Enabled())) return Fail("a won game goes on");
  }

  std::string path_;
  std::mt19937_64 rng_;
  SetClocks clocks_;
  SeededRandom random_;
  PosixFileSystem fs_;
  int yesPercent_;
  std::unique_ptr<HeadlessProgram> program_;
  std::optional<std::vector<std::string>> dealt_;
  std::vector<std::pair<std::string, int>> boxes_;
  long events_ = 0, budget_ = 0;
  bool leaving_ = false;
  bool inDesigner_ = false;
};

TEST(Monkey, RandomPlayKeepsEveryInvariant) {
  for (const auto& [seed, yesPercent] : std::vector<std::pair<std::uint64_t, int>>{{1, 65}, {2, 92}, {3, 15}, {17, 50}}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Monkey monkey("monkey-" + std::to_string(seed), seed, yesPercent);
    monkey.Run(5000);
    std::printf("monkey seed %llu: %ld deals, %ld wins, the designer %ld times\n",
                static_cast<unsigned long long>(seed), monkey.deals, monkey.wins, monkey.designers);
    EXPECT_GT(monkey.deals, 0);
    EXPECT_GT(monkey.designers, 0);
    if (monkey.failed) break;
  }
}

}  // namespace
}  // namespace pelmora
