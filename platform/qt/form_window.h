#pragma once
// A window for any Form: one widget per control at its twip position, the
// caption as title. The window is built from the models as they stand, so it
// may be made after the form's Load has run.

#include <QWidget>
#include <functional>
#include <vector>

#include "platform/event_door.h"
#include "platform/form.h"

namespace pelmora {

class ControlView;

class FormWindow final : public QWidget {
  Q_OBJECT
 public:
  // dpi: the logical DPI that converts twips; 0 takes the primary screen's.
  // scriptedTimers: the timers tick only when told (TimerView::Fire), for
  // scripted runs whose clock moves only when the script says.
  FormWindow(Form& form, EventDoor& door, QWidget* parent = nullptr,
             Qt::WindowFlags flags = Qt::WindowFlags(), double dpi = 0, bool scriptedTimers = false);
  ~FormWindow() override;

  Form* form() const { return form_; }
  EventDoor& Door() const { return door_; }
  double Dpi() const { return dpi_; }
  bool ScriptedTimers() const { return scriptedTimers_; }

  // The widget showing control, or nullptr (a timer, the grid, or after
  // Detach).
  QWidget* WidgetFor(const Control& control) const;
  ControlView* ViewFor(const Control& control) const;

  // Shows the window as the form's State asks: maximised or normal.
  void ShowAsFormWants();

  // Every view forgets its model and timers stop; the window then shows
  // nothing live. Used when the form unloads before Qt deletes the widgets.
  void Detach();

  // Puts the focusable widgets in the order of their models' TabIndex.
  void ApplyTabOrder();

  // The close box (and Escape, once EscapeCloses is on). Unset, the window
  // closes.
  std::function<void()> onCloseBox;

  // Escape anywhere in the window acts as the close box, before any control
  // sees the key.
  void SetEscapeCloses(bool on) { escapeCloses_ = on; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  Form* form_;
  EventDoor& door_;
  double dpi_;
  bool scriptedTimers_;
  bool escapeCloses_ = false;
  std::vector<ControlView*> views_;  // owned by Qt: children of the window
};

}  // namespace pelmora
