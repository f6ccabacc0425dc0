#pragma once
// The runtime with no window: clocks and draws that the owner sets, message
// boxes answered by the owner, modal forms that run on while the owner feeds
// them events, and everything the player would have seen or heard told to a
// watcher.

#include <functional>
#include <string>

#include "platform/clock.h"
#include "platform/event_door.h"
#include "platform/random.h"
#include "platform/runtime.h"

namespace pelmora {

class HeadlessRuntime final : public Runtime {
 public:
  HeadlessRuntime(EventDoor& door, Clocks& clocks, RandomSource& random);

  RuntimeWatcher* watcher = nullptr;
  // The player's answer to the box standing now: one of its buttons (vbOK,
  // or vbYes and vbNo for a question). Unset, every box is answered OK or Yes.
  std::function<int(const std::string& prompt, int value)> answer;
  // How a modal form waits: runs events until done() holds. Unset, ShowModal
  // returns at once.
  std::function<void(const std::function<bool()>& done)> runModalLoop;
  // Where printed sheets go; returns the path written, empty on failure.
  std::function<std::string(Form& form)> printSheet;

  int MsgBox(const std::string& prompt, int value) override;
  void Beep() override;
  int MousePointer() const override { return mousePointer_; }
  void SetMousePointer(int pointer) override { mousePointer_ = pointer; }
  double Now() override { return gameClock_.Now(); }
  void SetGameInPlay(bool inPlay) override { gameClock_.SetInPlay(inPlay); }
  RandomSource& Random() override { return random_; }
  void ShowModal(Form& form) override;
  void Unload(Form& form) override;
  bool PrintForm(Form& form) override;

 private:
  EventDoor& door_;
  GameClock gameClock_;
  RandomSource& random_;
  int mousePointer_ = 0;
};

}  // namespace pelmora
