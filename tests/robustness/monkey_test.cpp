// A monkey at the controls: long random runs of everything a player can do
// to both windows, through the real handlers and the real file, with the
// program's invariants checked after every single event.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "profile/game_library.h"
#include "tests/robustness/headless_program.h"

namespace pelmora::robustness {
namespace {

constexpr const char* kResign = "Do you want to resign this game?";

class Monkey {
 public:
  // yesPercent: how often a question is answered Yes; saves and deletes
  // follow from it, so runs differ in how much they write.
  Monkey(const std::string& folder, std::uint64_t seed, long budget, int yesPercent)
      : path_(folder + "/wsearch.ini"), seed_(seed), yesPercent_(yesPercent), rng_(seed), budget_(budget) {
    StartProgram();
  }

  // A few games to start from, so deals happen from the first clicks on.
  // With hand edits, the index has a blank slot and a game has words the
  // designer would never write.
  void SeedProfile(bool handEdited) {
    std::vector<std::pair<std::string, std::vector<std::string>>> games = {
        {"Fruit", {"APPLE", "PEAR", "FIG", "PLUM", "KIWI", "LIME"}},
        {"Long", {"ABCDEFGHIJKLM", "NOPQRSTUVWXYZ", "ABCDEFGHIJKLMN", "XYZXYZXYZXYZXYZ", "CAT"}},
        {"Twins", {"ALPHA", "ALPHA", "AL", "A"}},
    };
    if (handEdited) games.push_back({"Odd", {"a-b", "\xC3\x9C" "BER", "x'y", "Q"}});
    int slot = 1;
    for (const auto& [name, words] : games) {
      if (handEdited && slot == 3) P().store.WriteProfileValue("games", std::to_string(slot++), "");
      P().store.WriteProfileValue("games", std::to_string(slot++), UCase(name));
      for (std::size_t i = 0; i < words.size(); ++i) {
        P().store.WriteProfileValue(name, std::to_string(i + 1), words[i]);
      }
    }
  }

  // Runs until the budget is spent; returns the number of events made.
  long Run() {
    P().Start();
    Check();
    while (!stopped_ && events_ < budget_) {
      MainEvent();
      ++events_;
      Check();
    }
    return events_;
  }

  bool Failed() const { return stopped_; }
  long Restarts() const { return restarts_; }
  long Deals() const { return deals_; }
  long Wins() const { return wins_; }
  long Designers() const { return designers_; }

 private:
  HeadlessProgram& P() { return *p_; }

  // A program on the profile file: a first start, or a start after the last
  // run was closed with whatever it had on the board.
  void StartProgram() {
    // Writes skip the wait for the disk: durability is the crash test's
    // business, and this run makes thousands of them.
    p_ = std::make_unique<HeadlessProgram>(path_, seed_ + static_cast<std::uint64_t>(restarts_),
                                           /*durable=*/false);
    P().runtime.chooser = [this](const std::string& prompt, int value) {
      ExpectNothingOnlyInMemory(prompt);
      if (value != vbYesNoQuestion) return vbOK;
      return Pick(100) < yesPercent_ ? vbYes : vbNo;
    };
    P().headless.runModalLoop = [this](const std::function<bool()>& done) {
      ++modalDepth_;
      while (!done() && !stopped_ && events_ < budget_) {
        DesignerEvent();
        ++events_;
        Check();
      }
      if (!done()) P().LeaveDesigner();
      --modalDepth_;
    };
  }

  // While a box waits for the player, the file holds every write made so
  // far: what the program reads from memory is what the file holds.
  void ExpectNothingOnlyInMemory(const std::string& prompt) {
    const IniView file = ParseIni(ReadFile(path_).value_or(""));
    ListBox fromMemory("List", {}, 0, /*sorted=*/false);
    ListGames(P().store, fromMemory, /*gamesStops=*/false);
    if (fromMemory.Items() != IndexNames(file, /*gamesStops=*/false)) {
      return Fail("the box \"" + prompt + "\" waits while the index on disk " +
                  Joined(IndexNames(file, false)) + " lags behind the program's " + Joined(fromMemory.Items()));
    }
    for (const char* key : {"Time", "Title", "Practice", "Visible"}) {
      if (P().store.ReadProfileValue("settings", key, "(absent)").text != file.Read("settings", key, "(absent)")) {
        return Fail("the box \"" + prompt + "\" waits while the stored " + key + " lags behind the program's");
      }
    }
  }

  void Restart() {
    ++restarts_;
    dealtOnce_ = false;
    dealt_.clear();
    StartProgram();
    P().Start();
  }

  int Pick(int n) { return static_cast<int>(rng_() % static_cast<std::uint64_t>(n)); }
  template <typename T>
  const T& PickOf(const std::vector<T>& v) {
    return v[static_cast<std::size_t>(Pick(static_cast<int>(v.size())))];
  }

  // --- The main window ------------------------------------------------------

  void MainEvent() {
    Form1& f = P().F();
    const int roll = Pick(100);
    if (roll < 30) {
      P().Tick();
    } else if (roll < 46) {
      RandomPress();
    } else if (roll < 68) {
      HelpfulPress();
    } else if (roll < 74) {
      if (f.List2.ListCount() > 0) Deal(Pick(f.List2.ListCount()));
    } else if (roll < 77) {
      P().Click(f.Check1);
    } else if (roll < 80) {
      P().Click(f.Check2);
    } else if (roll < 82) {
      P().Click(f.Command3);
    } else if (roll < 85) {
      P().Click(f.Command4);
    } else if (roll < 87) {
      P().Click(f.Command5);
    } else if (roll < 91) {
      ++designers_;
      P().Click(f.Command2);
      // Back from the designer the shuffle runs only when no game is on.
      if (f.Timer2.Enabled() == f.Timer1.Enabled()) Fail("after the designer, the shuffle runs with the clock");
    } else if (roll < 94) {
      if (f.List1.ListCount() > 0) P().Select(f.List1, Pick(f.List1.ListCount()));
    } else if (roll < 95) {
      Restart();
    } else if (roll < 96) {
      // The clock moves on: seconds to hours go by between two ticks.
      P().headless.Advance(static_cast<std::int64_t>(Pick(4'000'000)));
      P().Tick();
    } else {
      for (int i = 0; i < 10; ++i) P().Tick();
    }
  }

  void Deal(int row) {
    Form1& f = P().F();
    const std::string name = f.List2.List(row);
    const auto bytes = ReadFile(path_);
    const std::vector<std::string> words = GameWords(ParseIni(bytes.value_or("")), name);
    P().runtime.boxes.clear();
    P().Select(f.List2, row);
    for (const ShownBox& b : P().runtime.boxes) {
      if (b.prompt == kResign && b.answer == vbNo) return;
    }
    ++deals_;
    dealt_ = words;
    for (const std::string& w : LeftOutWords(P().runtime.boxes)) {
      const auto at = std::find(dealt_.begin(), dealt_.end(), w);
      if (at == dealt_.end()) return Fail("the left-out message names " + w + ", which the game doesn't hold");
      dealt_.erase(at);
    }
    dealtOnce_ = true;
  }

  // A press anywhere, dead bands and the space beyond the board included.
  void RandomPress() {
    static const std::vector<float> kEdges = {-1, 0, 99.5f, 100, 7499.5f, 7500, 7501, 9000};
    const auto coordinate = [this]() -> float {
      if (Pick(5) == 0) return PickOf(kEdges);
      return static_cast<float>(Pick(8200) - 300) + static_cast<float>(Pick(100)) / 100.0f;
    };
    static const std::vector<int> kButtons = {1, 2, 4};
    const float x = coordinate();
    const float y = coordinate();
    P().Press(x, y, PickOf(kButtons), Pick(8));
  }

  // The next letter of a listed word, so that words are found and games won.
  void HelpfulPress() {
    Form1& f = P().F();
    std::vector<std::string> fitting;
    for (const std::string& w : f.List1.Items()) {
      if (w.rfind(f.Sel.Letters, 0) == 0 && Len(w) > Len(f.Sel.Letters)) fitting.push_back(w);
    }
    if (fitting.empty()) return RandomPress();
    const auto path = FindWord(f.Grid1, PickOf(fitting));
    if (path.empty()) return;  // the invariants report it
    const auto [r, c] = path[Len(f.Sel.Letters)];
    const float x = static_cast<float>(c * 500 + 100 + Pick(400));
    const float y = static_cast<float>(r * 500 + 100 + Pick(400));
    P().Press(x, y, 1 << Pick(3));
    if (f.List1.ListCount() == 0 && f.Timer1.Enabled()) ++wins_;
  }

  // --- The designer -----------------------------------------------------------

  TextBox& AnyBox() {
    Form2& d = P().D();
    const int i = Pick(17);
    return i == 0 ? d.Text1 : *d.Text(i);
  }

  std::string AnyCharacter() {
    static const std::vector<std::string> kChars = {
        "A", "B", "C", "E", "L", "P", "R", "S", "T", "X", "Z", "a", "e", "p", "z",
        " ", "1", "-", "'", "\"", "=", "[", "]", "\xC3\xA9", "\xC3\x9F", "\xE2\x82\xAC"};
    return PickOf(kChars);
  }

  std::string AnyName() {
    Form2& d = P().D();
    if (d.List1.ListCount() > 0 && Pick(2) == 0) {
      const std::string listed = d.List1.List(Pick(d.List1.ListCount()));
      return Pick(2) == 0 ? listed : LowerAscii(listed);
    }
    static const std::vector<std::string> kNames = {"games", "Settings", " Lead", "Trail ", "'Q'",
                                                    "\"Quoted\"", "Fruit", "New", "caf\xC3\xA9",
                                                    "a=b", "[x]", "NONE", "none"};
    return PickOf(kNames) + (Pick(3) == 0 ? std::to_string(Pick(20)) : "");
  }

  static std::string LowerAscii(std::string s) {
    for (char& c : s) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return s;
  }

  void DesignerEvent() {
    Form2& d = P().D();
    const int roll = Pick(100);
    if (roll < 18) {
      P().Type(d.Text1, AnyCharacter());
    } else if (roll < 40) {
      P().Type(*d.Text(1 + Pick(16)), AnyCharacter());
    } else if (roll < 47) {
      P().Backspace(AnyBox());
    } else if (roll < 50) {
      static const std::vector<int> kKeys = {37, 38, 39, 40, 35, 36, 46, 16, 9};
      TextBox& box = AnyBox();
      const int code = PickOf(kKeys);
      P().Event([&box, code] { box.UserKeyDown(code); });
    } else if (roll < 53) {
      P().Erase(AnyBox());
    } else if (roll < 63) {
      if (d.List1.ListCount() > 0) P().Select(d.List1, Pick(d.List1.ListCount()));
    } else if (roll < 70) {
      P().Click(d.Command1);
    } else if (roll < 75) {
      P().Click(d.Command2);
    } else if (roll < 84) {
      P().Click(d.Command3);
    } else if (roll < 88) {
      P().Click(d.Command4);
    } else if (roll < 90) {
      P().CloseDesigner();
    } else if (roll < 94) {
      P().Erase(d.Text1);
      P().TypeText(d.Text1, AnyName());
    } else {
      static const std::vector<std::string> kWords = {"pear", "PLUM", "Kiwi", "ABCDEFGHIJKLMNO",
                                                      "two words", "x-ray", "ZZZ", "q"};
      P().TypeText(*d.Text(1 + Pick(16)), PickOf(kWords));
    }
  }

  // --- The invariants -----------------------------------------------------------

  void Fail(const std::string& why) {
    if (stopped_) return;
    stopped_ = true;
    ADD_FAILURE() << "after event " << events_ << ": " << why;
  }

  static std::string Joined(const std::vector<std::string>& v) {
    std::string out = "[";
    for (const std::string& s : v) out += "\"" + s + "\" ";
    return out + "]";
  }

  void Check() {
    if (stopped_) return;
    Form1& f = P().F();
    if (!P().failures.empty()) return Fail("a handler threw: " + P().failures.front());
    // The file is read again only when it changed: most events write nothing.
    struct stat st {};
    const bool exists = ::stat(path_.c_str(), &st) == 0;
    const std::array<std::int64_t, 4> identity = {
        exists ? 1 : 0, static_cast<std::int64_t>(st.st_ino), static_cast<std::int64_t>(st.st_size),
        static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
    if (identity != fileIdentity_ || !ini_) {
      fileIdentity_ = identity;
      ini_ = ParseIni(ReadFile(path_).value_or(""));
    }
    const IniView& ini = *ini_;
    if (!ini.wellFormed) return Fail("the file doesn't parse: " + ini.problem);
    if (f.Designer.Loaded) {
      const auto index = IndexNames(ini, /*gamesStops=*/true);
      if (f.Designer.List1.Items() != index) {
        return Fail("the designer lists " + Joined(f.Designer.List1.Items()) + " but the index holds " +
                    Joined(index));
      }
    } else if (modalDepth_ == 0) {
      const auto index = IndexNames(ini, /*gamesStops=*/false);
      if (f.List2.Items() != index) {
        return Fail("the game list shows " + Joined(f.List2.Items()) + " but the index holds " + Joined(index));
      }
    }
    if (f.Timer1.Enabled() && f.Timer2.Enabled()) return Fail("the clock and the shuffle both run");
    // The check boxes, the fields behind them and the file agree.
    if (f.Check1.Value() != f.Play.PracticeFlag) return Fail("practice mode and its check box disagree");
    if (f.List1.Visible() != (f.Check2.Value() == 1)) return Fail("the word list's visibility and its check box disagree");
    if (ini.Read("settings", "Practice", "0") != Format(f.Check1.Value()) ||
        ini.Read("settings", "Visible", "1") != Format(f.Check2.Value())) {
      return Fail("the stored check box values aren't the boxes' values");
    }
    if (ini.Read("settings", "Time", "0") != Format(f.Records.BestTime)) {
      return Fail("the stored best time " + ini.Read("settings", "Time", "0") + " isn't the record " +
                  Format(f.Records.BestTime));
    }
    if (P().runtime.MousePointer() != vbDefault) return Fail("the busy pointer stays on");
    if (f.Sel.ClickCount != static_cast<int>(Len(f.Sel.Letters))) {
      return Fail("ClickCount " + std::to_string(f.Sel.ClickCount) + " for the letters \"" + f.Sel.Letters + "\"");
    }
    if (!dealtOnce_) return;

    if (!BoardFull(f.Grid1)) return Fail("a game is on but the board isn't full");
    const PictureHandle& shown = f.Picture1.Picture();
    for (int r = 0; r < 15; ++r) {
      for (int c = 0; c < 15; ++c) {
        const std::string& t = f.Grid1.CellAt(r, c).text;
        // Exit keeps every character of a word but the blanks, so a cell may
        // hold any one character, never a blank.
        if (Len(t) != 1 || t == " ") return Fail("a cell holds \"" + t + "\"");
        if (!shown || shown->rows != 15 || shown->At(r, c).text != t) {
          return Fail("the board on screen isn't the board the clicks are judged on");
        }
      }
    }
    if (f.Play.WordCount != static_cast<int>(dealt_.size())) {
      return Fail("WordCount " + std::to_string(f.Play.WordCount) + " for the dealt words " + Joined(dealt_));
    }
    if (!SubMultiset(f.List1.Items(), dealt_)) {
      return Fail("the word list " + Joined(f.List1.Items()) + " isn't part of the dealt " + Joined(dealt_));
    }
    for (const std::string& w : f.List1.Items()) {
      if (FindWord(f.Grid1, w).empty()) return Fail("the listed word " + w + " isn't on the board");
    }
    bool prefix = f.Sel.Letters.empty();
    for (const std::string& w : f.List1.Items()) prefix = prefix || w.rfind(f.Sel.Letters, 0) == 0;
    if (!prefix) return Fail("the letters \"" + f.Sel.Letters + "\" start no listed word");
    if (f.Play.WonFlag == 1 && (f.List1.ListCount() > 0 || f.Timer1.Enabled())) {
      return Fail("a won game with words left or the clock running");
    }
  }

  std::string path_;
  std::uint64_t seed_;
  int yesPercent_;
  std::unique_ptr<HeadlessProgram> p_;
  long restarts_ = 0;
  std::mt19937_64 rng_;
  long budget_;
  long events_ = 0;
  int modalDepth_ = 0;
  bool stopped_ = false;
  bool dealtOnce_ = false;
  std::vector<std::string> dealt_;
  std::array<std::int64_t, 4> fileIdentity_{};
  std::optional<IniView> ini_;
  long deals_ = 0, wins_ = 0, designers_ = 0;
};

TEST(Monkey, RandomPlayKeepsEveryInvariant) {
  constexpr long kEventsPerSeed = 5000;
  long total = 0;
  const std::vector<std::pair<std::uint64_t, int>> runs = {{1, 65}, {2, 92}, {3, 15}, {17, 65}, {4242, 50}};
  for (const auto& [seed, yesPercent] : runs) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Monkey monkey(FreshFolder("monkey-" + std::to_string(seed)), seed, kEventsPerSeed, yesPercent);
    monkey.SeedProfile(/*handEdited=*/seed % 2 == 1);
    const long events = monkey.Run();
    total += events;
    std::printf("monkey seed %llu: %ld events, %ld deals, %ld games won, designer opened %ld times, %ld restarts\n",
                static_cast<unsigned long long>(seed), events, monkey.Deals(), monkey.Wins(),
                monkey.Designers(), monkey.Restarts());
    // A run that never deals, wins or opens the designer hasn't tested much.
    EXPECT_GT(monkey.Deals(), 0);
    EXPECT_GT(monkey.Designers(), 0);
    if (monkey.Failed()) break;
  }
  std::printf("monkey: %ld events in all\n", total);
}

}  // namespace
}  // namespace pelmora::robustness
