#pragma once
// One run of the program with no window, for the robustness tests: the real
// store on a real file, the real event door, the headless runtime and Form1
// with its designer. Message boxes are answered by a chooser that sees the
// box (so every answer is a button the box has), and every box is recorded.

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/form.h"
#include "platform/headless/headless_runtime.h"
#include "platform/runtime.h"
#include "play/form1.h"
#include "profile/profile_store.h"
#include "tests/support/grid_words.h"

namespace pelmora::robustness {

struct ShownBox {
  std::string prompt;
  int value = 0;
  int answer = 0;
};

// The headless runtime with answers chosen per box instead of queued ahead.
// The chooser is asked where a player would answer: once the box stands,
// after the runtime has done what it does before any wait.
class AnsweringRuntime final : public Runtime {
 public:
  explicit AnsweringRuntime(HeadlessRuntime& inner) : inner_(inner) {
    inner_.fetchAnswers = [this] {
      const int wanted = chooser ? chooser(prompt_, value_) : (value_ == vbYesNoQuestion ? vbYes : vbOK);
      inner_.QueueAnswer(wanted);
      return true;
    };
  }

  // Picks the answer for a box; by default Yes for a question, OK otherwise.
  std::function<int(const std::string& prompt, int value)> chooser;
  std::vector<ShownBox> boxes;  // every box shown, until the owner clears it

  int MsgBox(const std::string& prompt, int value) override {
    prompt_ = prompt;
    value_ = value;
    const int answer = inner_.MsgBox(prompt, value);
    boxes.push_back({prompt, value, answer});
    return answer;
  }
  void Beep() override { inner_.Beep(); }
  int MousePointer() const override { return inner_.MousePointer(); }
  void SetMousePointer(int pointer) override { inner_.SetMousePointer(pointer); }
  double Now() override { return inner_.Now(); }
  RandomSource& Random() override { return inner_.Random(); }
  void ShowModal(Form& form) override { inner_.ShowModal(form); }
  void Unload(Form& form) override { inner_.Unload(form); }
  bool PrintForm(Form& form) override { return inner_.PrintForm(form); }

 private:
  HeadlessRuntime& inner_;
  std::string prompt_;  // the box standing now
  int value_ = 0;
};

// The real file system without its flushes: the same temporary file and
// rename, but no wait for the disk. For runs that test anything but a power
// cut, which would otherwise spend most of their time in fsync.
class UnflushedFileSystem final : public PosixFileSystem {
 protected:
  bool Sync(int) override { return true; }
  bool SyncFolder(const std::string&) override { return true; }
};

class HeadlessProgram {
 public:
  // durable: the profile's writes wait for the disk, as the program's do.
  HeadlessProgram(std::string iniPath, std::uint64_t seed, bool durable = true)
      : fs(durable ? std::make_unique<PosixFileSystem>() : std::make_unique<UnflushedFileSystem>()),
        store(std::move(iniPath), *fs),
        headless(door, transcript),
        runtime(headless) {
    door.Attach(store);
    door.onFailure = [this](const std::string& what) { failures.push_back(what); };
    headless.Seed(seed);
    // By default the designer runs the queued steps, then is closed.
    headless.runModalLoop = [this](const std::function<bool()>& done) {
      while (!done() && !modalSteps.empty()) {
        auto step = std::move(modalSteps.front());
        modalSteps.pop_front();
        step();
      }
      if (!done()) LeaveDesigner();
    };
  }

  // Loads Form1 as the program's start does.
  void Start() {
    form1 = std::make_unique<Form1>(runtime, store);
    Event([this] {
      form1->Loaded = true;
      if (form1->LoadEvent) form1->LoadEvent();
    });
  }

  // One event through the door, as the platform delivers it.
  void Event(const std::function<void()>& handler) {
    door.Dispatch(handler);
    transcript.str({});
  }

  Form1& F() { return *form1; }
  Form2& D() { return form1->Designer; }

  void Click(CommandButton& b) { Event([&b] { b.UserClick(); }); }
  void Click(CheckBox& b) { Event([&b] { b.UserClick(); }); }
  void Select(ListBox& list, int row) { Event([&list, row] { list.UserSelect(row); }); }
  void Type(TextBox& box, const std::string& character) {
    Event([&box, &character] { box.UserType(character); });
  }
  void TypeText(TextBox& box, const std::string& text);
  // Backspace as an editor delivers it: KeyDown, KeyPress, then the edit.
  void Backspace(TextBox& box);
  // Home, Shift+End, Delete: the whole text selected and removed.
  void Erase(TextBox& box);
  void Press(float x, float y, int button, int shift = 0) {
    Event([this, x, y, button, shift] { F().Picture1.UserMouseDown(button, shift, x, y); });
  }
  // The timers' ticks after 100 ms.
  void Tick();
  void CloseDesigner() {
    Event([this] {
      if (D().CloseRequested) D().CloseRequested();
    });
  }
  // Closes the designer whatever it holds: saves declined, a name given
  // where Exit asks for one. Fails the test when the window can't be left.
  void LeaveDesigner();

  std::unique_ptr<PosixFileSystem> fs;
  ProfileStore store;
  EventDoor door;
  std::ostringstream transcript;
  HeadlessRuntime headless;
  AnsweringRuntime runtime;
  std::unique_ptr<Form1> form1;
  std::vector<std::string> failures;  // what the door contained
  std::deque<std::function<void()>> modalSteps;
};

// --- Looking at the program's state, independently of the store ------------

// The file as the tests read it: sections and keys by upper-case name, the
// first of each name winning; values trimmed and stripped of quotes.
struct IniView {
  bool wellFormed = true;  // every line a `[head]` or a `key=value`, CR LF ends
  std::string problem;
  struct Section {
    std::vector<std::pair<std::string, std::string>> keys;
    std::unordered_map<std::string, std::size_t> keyAt;
  };
  std::vector<std::pair<std::string, Section>> sections;
  std::unordered_map<std::string, std::size_t> sectionAt;

  bool HasSection(const std::string& upperName) const { return sectionAt.count(upperName) > 0; }

  // The value as a read gives it (at most 31 characters), or def.
  std::string Read(const std::string& section, const std::string& key, const std::string& def) const;
};

IniView ParseIni(const std::string& bytes);
std::optional<std::string> ReadFile(const std::string& path);

// The index walk and the words of a game, as the file holds them.
std::vector<std::string> IndexNames(const IniView& ini, bool gamesStops);
std::vector<std::string> GameWords(const IniView& ini, const std::string& section);

using testing::FindWord;

// Whether every cell holds exactly one character.
bool BoardFull(const FlexGrid& grid);

// The words named by the left-out message, or none when no such box came.
std::vector<std::string> LeftOutWords(const std::vector<ShownBox>& boxes);

// Whether sub is a sub-multiset of of.
bool SubMultiset(std::vector<std::string> sub, std::vector<std::string> of);

// The files in folder other than name.
std::vector<std::string> OtherFiles(const std::string& folder, const std::string& name);

// A fresh, empty folder for one test, under the test's working folder.
std::string FreshFolder(const std::string& name);

}  // namespace pelmora::robustness
