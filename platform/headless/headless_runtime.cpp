#include "platform/headless/headless_runtime.h"

#include "platform/form.h"

namespace pelmora {

HeadlessRuntime::HeadlessRuntime(EventDoor& door, Clocks& clocks, RandomSource& random)
    : door_(door), gameClock_(clocks), random_(random) {}

int HeadlessRuntime::MsgBox(const std::string& prompt, int value) {
  door_.BeforeWait();
  door_.MessageBoxOpens();
  struct Close {
    EventDoor& door;
    ~Close() { door.MessageBoxCloses(); }
  } close{door_};
  const int chosen = answer ? answer(prompt, value) : (value == vbYesNoQuestion ? vbYes : vbOK);
  if (watcher) watcher->MessageBoxAnswered(value, prompt, chosen);
  door_.AfterWait();
  return chosen;
}

void HeadlessRuntime::Beep() {
  if (watcher) watcher->Beeped();
}

void HeadlessRuntime::ShowModal(Form& form) {
  door_.BeforeWait();
  if (!form.Loaded) {
    if (watcher) watcher->FormLoaded(form);
    form.Loaded = true;
    if (form.LoadEvent) form.LoadEvent();
  }
  if (form.ActivateEvent) form.ActivateEvent();
  // The caller's handler waits here while the owner works the form.
  if (runModalLoop && form.Loaded) runModalLoop([&form] { return !form.Loaded; });
  door_.AfterWait();
}

void HeadlessRuntime::Unload(Form& form) {
  if (!form.Loaded) return;
  form.Loaded = false;
  if (watcher) watcher->FormUnloaded(form);
}

bool HeadlessRuntime::PrintForm(Form& form) {
  if (!printSheet) return false;
  const std::string path = printSheet(form);
  if (path.empty()) return false;
  if (watcher) watcher->SheetPrinted(path);
  return true;
}

}  // namespace pelmora
