#include "platform/event_door.h"

#include <exception>

namespace pelmora {

void EventDoor::Dispatch(const std::function<void()>& handler) {
  for (WriteGroup* g : groups_) g->HandlerBegins();
  struct FlushAtEnd {
    std::vector<WriteGroup*>& groups;
    ~FlushAtEnd() {
      for (WriteGroup* g : groups) g->HandlerEnds();
    }
  } flush{groups_};
  try {
    handler();
  } catch (const std::exception& e) {
    if (onFailure) onFailure(e.what());
  }
}

void EventDoor::BeforeWait() {
  for (WriteGroup* g : groups_) g->BeforeWait();
}

void EventDoor::AfterWait() {
  for (WriteGroup* g : groups_) g->AfterWait();
}

}  // namespace pelmora
