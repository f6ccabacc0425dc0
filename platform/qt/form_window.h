#pragma once
// A window for any Form: one widget per control at its twip position, the
// caption as title. The window is built from the models as they stand, so it
// may be made after the form's Load has run.
//
// The form is drawn at one uniform scale, in pixels per logical pixel of its
// design (15 twips): the scale at which it just fits the window's client
// area, centred in it. Ctrl+0 shows it at 1:1, Ctrl++ and Ctrl+- zoom in
// steps of a quarter (with scroll bars once it outgrows the window), and a
// resize of the window fits it again. Twips never change; only the pixels
// they are drawn at. Text is laid out again at each scale, in a font chosen
// so that every caption fits its control.

#include <QFont>
#include <QWidget>
#include <functional>
#include <vector>

#include "platform/event_door.h"
#include "platform/form.h"

class QScrollArea;

namespace pelmora {

class ControlView;
class ListRefills;

class FormWindow final : public QWidget {
  Q_OBJECT
 public:
  // refills: the lists' refills, attached to door by the runtime that makes
  // the window. scale: the form's scale until the window is first resized;
  // the window starts at the form's design size times it. scriptedTimers:
  // the timers tick only when told (TimerView::Fire), for scripted runs
  // whose clock moves only when the script says.
  FormWindow(Form& form, EventDoor& door, ListRefills& refills, QWidget* parent = nullptr,
             Qt::WindowFlags flags = Qt::WindowFlags(), double scale = 1.0, bool scriptedTimers = false);
  ~FormWindow() override;

  Form* form() const { return form_; }
  EventDoor& Door() const { return door_; }
  ListRefills& Refills() const { return refills_; }
  bool ScriptedTimers() const { return scriptedTimers_; }

  // Pixels per logical pixel of the design (15 twips), now.
  double Scale() const { return scale_; }
  // The scale at which the whole form just fits the window's client area.
  double FitScale() const;
  // Shows the form at scale, as a zoom does; a resize of the window fits it
  // again.
  void SetScale(double scale);
  // The form's client area at the present scale: the controls' parent.
  QWidget* Canvas() const { return canvas_; }
  // The controls' font at 1:1.
  const QFont& ControlFont() const { return controlFont_; }

  // The widget showing control, or nullptr (a timer, the grid, or after
  // Detach).
  QWidget* WidgetFor(const Control& control) const;
  ControlView* ViewFor(const Control& control) const;
  const std::vector<ControlView*>& Views() const { return views_; }

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

  // A minimise from the window manager is undone at once: for a modal
  // window, which would take the window it blocks down with it.
  void SetRefusesMinimise(bool on) { refusesMinimise_ = on; }

 protected:
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void ApplyScale(double scale);
  void ChooseControlFont();
  bool Zoom(const QKeyEvent& key);

  Form* form_;
  EventDoor& door_;
  ListRefills& refills_;
  bool scriptedTimers_;
  bool escapeCloses_ = false;
  bool refusesMinimise_ = false;
  double scale_ = 1.0;
  bool zoomed_ = false;  // a zoom holds until the window is resized
  QFont controlFont_;
  QScrollArea* scroll_;
  QWidget* canvas_;
  std::vector<ControlView*> views_;  // owned by Qt: children of the canvas
};

}  // namespace pelmora
