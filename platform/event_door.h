#pragma once
// Every event (a click, a key, a tick) reaches its handler through one door.
// The door is where the profile store's grouped writes are flushed, where a
// failing handler is contained, where a write that could not reach the disk
// is told to the player (once per handler), and what the runtimes call
// around anything that waits for the player (a message box, a modal window).

#include <functional>
#include <string>
#include <vector>

namespace pelmora {

// Something that groups the writes of a handler: the profile store.
class WriteGroup {
 public:
  virtual ~WriteGroup() = default;
  virtual void HandlerBegins() = 0;
  // Writes out what the handler wrote.
  virtual void HandlerEnds() = 0;
  // Writes out what has been written so far: nothing stays only in memory
  // while the program waits for the player.
  virtual void BeforeWait() = 0;
  // The wait is over; the file may have changed meanwhile.
  virtual void AfterWait() = 0;
  // The sentence for the player about writes that could not reach the disk
  // since the last call, or empty when there were none. Each failure is
  // handed out once.
  virtual std::string TakeFailure() { return {}; }
};

// Thrown to end a run from inside a handler (a scripted run that can't go
// on); the door lets it through instead of containing it.
struct RunAborted {
  int exitStatus;
  std::string reason;
};

class EventDoor {
 public:
  void Attach(WriteGroup& group) { groups_.push_back(&group); }

  // Runs one event's handler. A std::exception from it is contained and
  // reported to onFailure; the writes of the handler are flushed either way.
  void Dispatch(const std::function<void()>& handler);

  void BeforeWait();
  void AfterWait();

  // A message box stands: the runtimes say when one opens and closes, and
  // no timer ticks while one does (a tick must never run inside a handler
  // that waits for the player's answer).
  void MessageBoxOpens() { ++boxes_; }
  void MessageBoxCloses() {
    if (boxes_ > 0) --boxes_;
  }
  bool InMessageBox() const { return boxes_ > 0; }

  std::function<void(const std::string&)> onFailure;
  // Tells the player that writes failed (a message box); called at most once
  // per handler, when its writes are flushed: before it waits, or at its end.
  std::function<void(const std::string&)> onWriteFailed;

 private:
  void TellWriteFailures();

  std::vector<WriteGroup*> groups_;
  std::vector<bool> told_;  // per handler under way, innermost last
  int boxes_ = 0;
};

}  // namespace pelmora
