#pragma once
// One run of the program with no window: the store on a profile file, the
// event door, the headless runtime and Form1 with its designer, wired as the
// game wires them. pelmora-script, the robustness tests and the benchmarks
// all run the program through this one piece.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/program_parts.h"
#include "platform/clock.h"
#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/headless/headless_runtime.h"
#include "platform/random.h"
#include "play/form1.h"
#include "profile/profile_store.h"

namespace pelmora {

class HeadlessProgram {
 public:
  // Parts left unset: clocks that move only when told (SetClocks), draws
  // from seed 1, and the real file system.
  explicit HeadlessProgram(std::string profilePath, ProgramParts parts = {});
  HeadlessProgram(const HeadlessProgram&) = delete;
  HeadlessProgram& operator=(const HeadlessProgram&) = delete;

  // Creates Form1 and runs its Load through the door.
  Form1& Start();
  Form1* MainForm() { return form_.get(); }

  // One event through the door, as the platform delivers it.
  void Event(const std::function<void()>& handler) { door.Dispatch(handler); }

 private:
  SetClocks ownClocks_;
  SeededRandom ownRandom_{1};
  PosixFileSystem ownFileSystem_;

 public:
  ProfileStore store;
  EventDoor door;
  HeadlessRuntime runtime;
  // What the door contained: handlers that failed with an exception.
  std::vector<std::string> contained;

 private:
  std::unique_ptr<Form1> form_;
};

}  // namespace pelmora
