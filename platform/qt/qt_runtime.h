#pragma once
// The forms runtime on Qt: message boxes, the beep (the desktop's own alert
// sound), the busy pointer, the clock, modal forms with a nested event loop,
// and the printed form. Every
// wait for the player is wrapped in the door's BeforeWait and AfterWait, so
// nothing written stays only in memory while the program waits.
//
// A scripted run (pelmora-script's Qt front) sets the hooks below: it answers
// each real message box by clicking its button, runs its own script lines
// while a modal form waits, prints to a file of its choosing and ticks the
// timers itself.

#include <QPointer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/event_door.h"
#include "platform/qt/desktop_bell.h"
#include "platform/qt/list_view.h"
#include "platform/random.h"
#include "platform/runtime.h"

class QEventLoop;
class QMessageBox;
class QWidget;

namespace pelmora {

class Form;
class FormWindow;

class QtRuntime final : public Runtime {
 public:
  QtRuntime(EventDoor& door, Clocks& clocks, RandomSource& random);
  ~QtRuntime() override;

  int MsgBox(const std::string& prompt, int value) override;
  void Beep() override;
  int MousePointer() const override { return mousePointer_; }
  void SetMousePointer(int pointer) override;
  double Now() override { return gameClock_.Now(); }
  void SetGameInPlay(bool inPlay) override { gameClock_.SetInPlay(inPlay); }
  RandomSource& Random() override { return random_; }
  void ShowModal(Form& form) override;
  void Unload(Form& form) override;
  bool PrintForm(Form& form) override;

  // The start of a run: the form's Load through the door, then its window,
  // shown as the form's State asks, then Activate. The caller keeps the
  // window; closing it ends the run.
  std::unique_ptr<FormWindow> ShowMainForm(Form& form);

  // The window of a form shown modally, while it is up.
  FormWindow* ModalWindow(const Form& form) const;

  // --- For scripted runs -------------------------------------------------
  RuntimeWatcher* watcher = nullptr;
  // Called once a message box stands (inside its event loop); it answers
  // the box by clicking one of its buttons.
  std::function<void(QMessageBox& box, int value)> answerBox;
  // Runs events until done() holds, in place of a modal form's event loop.
  std::function<void(const std::function<bool()>& done)> runModalLoop;
  // A file (.pdf or .png) that printed sheets go to instead of a printer.
  std::function<std::string()> printTarget;
  // The timers of windows made from now on tick only when told (TimerView::Fire).
  bool scriptedTimers = false;

 private:
  struct Modal {
    const Form* form = nullptr;
    QPointer<FormWindow> window;
    QEventLoop* loop = nullptr;  // null once the form is unloaded
  };
  Modal* Find(const Form& form);
  // The window that dialogs raised now belong to.
  QWidget* DialogParent() const;

  EventDoor& door_;
  ListRefills refills_;  // the lists of every window this runtime makes
  GameClock gameClock_;
  RandomSource& random_;
  int mousePointer_ = 0;
  std::vector<Modal> modals_;  // the innermost last
  QPointer<FormWindow> mainWindow_;
  DesktopBell bell_;
};

}  // namespace pelmora
