#pragma once
// How a script reaches the program: a front owns one run of the program and
// delivers the player's events the way its windows take them, and reads what
// the player would see. The headless front works the control models
// directly; the Qt front works the real widgets. Both must give the same
// transcript for the same script.

#include <functional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/controls.h"
#include "platform/event_door.h"
#include "platform/form.h"
#include "platform/random.h"
#include "platform/runtime.h"
#include "play/form1.h"
#include "profile/profile_store.h"

namespace pelmora {

// The script ran out while a modal window was still waiting.
struct EndOfScript {};

// What the script runner gives a front for its runtime.
struct ScriptHooks {
  Clocks* clocks = nullptr;
  RandomSource* random = nullptr;
  RuntimeWatcher* watcher = nullptr;
  // The script's answer to a box standing now; throws RunAborted when the
  // script has none, or one that isn't a button of the box.
  std::function<int(const std::string& prompt, int value)> answer;
  // Runs script lines until done() holds (a modal window waits); throws
  // EndOfScript when the script ends first, RunAborted on a script error.
  std::function<void(const std::function<bool()>& done)> runModal;
  // Where a printed sheet goes: a .pdf or .png path.
  std::function<std::string()> printTarget;
  // Draws a sheet into a file, for a front that has no painter of its own.
  std::function<bool(Form& form, const std::string& path)> render;
  // A circle drawn on the board surface.
  std::function<void(const CircleMark& circle)> circle;
  // For a front whose event loop no exception may cross: ends the run from
  // where it stands. Given the error that ends it (or null when the script
  // simply ran out), reports it as Run would and returns the exit status;
  // the front then leaves the process with it.
  std::function<int(const RunAborted* error)> endRun;
};

class ScriptFront {
 public:
  virtual ~ScriptFront() = default;

  // Creates Form1 and runs its Load (and shows its window).
  virtual void Start() = 0;
  virtual Form1* MainForm() = 0;  // null before Start
  virtual EventDoor& Door() = 0;
  virtual ProfileStore& Store() = 0;

  // Whether the player's input can reach the control: shown, and not under
  // a modal window.
  virtual bool Reachable(Control& control) = 0;
  virtual void Click(Control& buttonOrCheckBox) = 0;
  virtual void Select(ListBox& list, int row) = 0;
  virtual void MouseDown(double xTwips, double yTwips, int button) = 0;
  // One character typed at the end of the box's text.
  virtual void Type(TextBox& box, const std::string& character) = 0;
  // A key that types nothing, by the name the script gives it.
  virtual void Key(TextBox& box, const std::string& name) = 0;
  // Home, Shift+End, Delete: the whole text selected and removed.
  virtual void Erase(TextBox& box) = 0;
  // The title bar's close box of a modal form.
  virtual void Close(Form& form) = 0;
  virtual bool TimerOn(Timer& timer) = 0;
  virtual void Tick(Timer& timer) = 0;

  // What the player sees.
  virtual std::vector<std::string> Items(ListBox& list) = 0;
  virtual int ListIndex(ListBox& list) = 0;
  virtual bool Visible(Control& control) = 0;
  virtual int Value(CheckBox& box) = 0;
  virtual std::string Caption(Label& label) = 0;
  virtual std::string Text(TextBox& box) = 0;
  virtual int MousePointer() = 0;

  // A picture of the form's window as the player sees it, as a PNG at
  // path; empty, or why it could not be taken. A front with no windows
  // takes none.
  virtual std::string Snapshot(Form& form, const std::string& path) = 0;
};

}  // namespace pelmora
