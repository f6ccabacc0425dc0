#pragma once
// The runtime with no window: a clock that only moves when told, seeded
// draws, message boxes answered from a queue, modal forms that run on while
// the caller feeds them events, and a transcript of everything the player
// would have seen or heard.

#include <cstdint>
#include <deque>
#include <functional>
#include <ostream>
#include <string>

#include "platform/event_door.h"
#include "platform/random.h"
#include "platform/runtime.h"

namespace pelmora {

class HeadlessRuntime final : public Runtime {
 public:
  HeadlessRuntime(EventDoor& door, std::ostream& transcript);

  // The clock, in milliseconds since the Date value's day zero.
  void SetClock(std::int64_t milliseconds) { clockMs_ = milliseconds; }
  std::int64_t ClockMilliseconds() const { return clockMs_; }
  void Advance(std::int64_t milliseconds) { clockMs_ += milliseconds; }

  void Seed(std::uint64_t seed) { random_.Reseed(seed); }

  // Answers for the next message boxes, in order: vbYes, vbNo or vbOK.
  void QueueAnswer(int answer) { answers_.push_back(answer); }
  std::size_t UnusedAnswers() const { return answers_.size(); }

  // How a modal form waits: the caller's loop runs events until done()
  // holds. Without one, ShowModal returns at once.
  std::function<void(const std::function<bool()>& done)> runModalLoop;
  // Asked when a message box finds no answer queued: may queue more (the
  // script's answer on the line after the event) and returns whether it did.
  std::function<bool()> fetchAnswers;
  // Where printed sheets go; returns the path written, empty on failure.
  std::function<std::string(Form& form)> printSheet;

  int MsgBox(const std::string& prompt, int value) override;
  void Beep() override;
  int MousePointer() const override { return mousePointer_; }
  void SetMousePointer(int pointer) override { mousePointer_ = pointer; }
  double Now() override;
  RandomSource& Random() override { return random_; }
  void ShowModal(Form& form) override;
  void Unload(Form& form) override;
  bool PrintForm(Form& form) override;

 private:
  EventDoor& door_;
  std::ostream& out_;
  std::int64_t clockMs_;
  SeededRandom random_{1};
  std::deque<int> answers_;
  int mousePointer_ = 0;
};

// A text as a JSON string: quotes, backslashes and control characters
// escaped; everything else, beyond ASCII too, as it is.
std::string JsonString(std::string_view text);

}  // namespace pelmora
