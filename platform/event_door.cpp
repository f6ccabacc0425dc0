#include "platform/event_door.h"

#include <exception>

namespace pelmora {

void EventDoor::Dispatch(const std::function<void()>& handler) {
  for (WriteGroup* g : groups_) g->HandlerBegins();
  told_.push_back(false);
  struct Leave {
    std::vector<bool>& told;
    ~Leave() { told.pop_back(); }
  } leave{told_};
  auto end = [this] {
    for (WriteGroup* g : groups_) g->HandlerEnds();
  };
  try {
    handler();
  } catch (const std::exception& e) {
    if (onFailure) onFailure(e.what());
  } catch (...) {
    end();  // a run that ends still writes out what it wrote
    throw;
  }
  end();
  // Telling is a message box, which may end a scripted run: not from a
  // destructor.
  TellWriteFailures();
}

void EventDoor::BeforeWait() {
  for (WriteGroup* g : groups_) g->BeforeWait();
  TellWriteFailures();
}

void EventDoor::AfterWait() {
  for (WriteGroup* g : groups_) g->AfterWait();
}

void EventDoor::TellWriteFailures() {
  std::string failure;
  for (WriteGroup* g : groups_) {
    std::string f = g->TakeFailure();
    if (failure.empty()) failure = std::move(f);
  }
  if (failure.empty() || !onWriteFailed) return;
  // Once per handler: the box itself is a wait, which comes back here.
  if (!told_.empty()) {
    if (told_.back()) return;
    told_.back() = true;
  }
  try {
    onWriteFailed(failure);
  } catch (const std::exception& e) {
    if (onFailure) onFailure(e.what());
  }
}

}  // namespace pelmora
