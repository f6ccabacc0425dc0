#pragma once
// The forms runtime on Qt: message boxes, the beep, the busy pointer, the
// clock, modal forms with a nested event loop, and the printed form. Every
// wait for the player is wrapped in the door's BeforeWait and AfterWait, so
// nothing written stays only in memory while the program waits.

#include <QPointer>
#include <memory>
#include <vector>

#include "platform/event_door.h"
#include "platform/random.h"
#include "platform/runtime.h"

class QEventLoop;
class QWidget;

namespace pelmora {

class Form;
class FormWindow;

class QtRuntime final : public Runtime {
 public:
  explicit QtRuntime(EventDoor& door);
  ~QtRuntime() override;

  int MsgBox(const std::string& prompt, int value) override;
  void Beep() override;
  int MousePointer() const override { return mousePointer_; }
  void SetMousePointer(int pointer) override;
  double Now() override;
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

 private:
  struct Modal {
    const Form* form = nullptr;
    QPointer<FormWindow> window;
    QEventLoop* loop = nullptr;  // null once the form is unloaded
  };
  Modal* Find(const Form& form);
  QWidget* DialogParent() const;

  EventDoor& door_;
  ClockSeededRandom random_;
  int mousePointer_ = 0;
  std::vector<Modal> modals_;  // the innermost last
};

}  // namespace pelmora
