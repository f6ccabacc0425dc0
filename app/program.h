#pragma once
// The running game, all but the application object. The entry point makes
// one on the player's own file; pelmora-script's Qt front makes one on a file
// of its own and drives the very same windows.

#include <QByteArray>
#include <memory>
#include <string>

#include "app/profile_path.h"
#include "app/program_parts.h"
#include "platform/clock.h"
#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_runtime.h"
#include "platform/random.h"
#include "play/form1.h"
#include "profile/profile_store.h"

namespace pelmora {

// The id the launcher, the icon and the software-centre entry share.
inline constexpr const char* kDesktopId = "io.github.pelmora.Pelmora";

// Names the application for the desktop (window grouping, the launcher's
// icon). Call once, after the application object is made.
void IdentifyApplication();

// Ends the process with status once the run is over and its program gone:
// the standard streams are flushed, and on Wayland the process ends there,
// without the application object closing its connection to the compositor.
// Qt 6.4's Wayland client stops its two event-reading threads in a race at
// that point, and now and then hangs for good or aborts in libwayland-client
// (wl_proxy_unref: Assertion proxy->refcount > 0). Elsewhere it returns
// status for main to return.
int FinishRun(int status);

// The game on a profile file: the store, the event door, the Qt runtime and
// the main window, wired as the program runs them. Needs the application
// object. Members are destroyed in the reverse order of their making: the
// window first, the file system last.
class Program {
 public:
  // Parts left unset: the machine's clocks, draws seeded from the clock, and
  // the real file system; pelmora-script's Qt front gives its own.
  explicit Program(const std::string& profilePath, ProgramParts parts = {});
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Runs Form1's Load and shows its window.
  void Start();

  // Brings the window to the front (and the designer over it, if it is
  // up), restored if it was minimised; launchToken is what a later start's
  // launcher gave it (activation.h).
  void BringToFront(const QByteArray& launchToken = {});

  Form1& MainForm() { return form_; }
  FormWindow& MainWindow() { return *window_; }
  QtRuntime& Runtime() { return runtime_; }
  EventDoor& Door() { return door_; }
  ProfileStore& Store() { return store_; }

 private:
  SystemClocks ownClocks_;
  ClockSeededRandom ownRandom_;
  PosixFileSystem ownFileSystem_;
  ProfileStore store_;
  EventDoor door_;
  QtRuntime runtime_;
  Form1 form_;
  std::unique_ptr<FormWindow> window_;
};

}  // namespace pelmora
