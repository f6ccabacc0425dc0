#pragma once
// The widgets that show the control models. Each view observes its model
// through the model's onChanged and hands the player's input back to the
// model through the event door; the model, not Qt, decides what a click or
// a key does, and the widget then follows the model.

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QObject>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include "platform/controls.h"
#include "platform/event_door.h"

namespace pelmora {

class FormWindow;

// What every view shares: the model it observes, the door, the geometry in
// twips. Detach() makes the view forget its model for good, so a form can be
// unloaded (and its controls destroyed) while Qt still holds the widgets.
class ControlView {
 public:
  virtual ~ControlView();
  ControlView(const ControlView&) = delete;
  ControlView& operator=(const ControlView&) = delete;

  Control* Model() const { return model_; }
  // The widget showing the control; none for a timer.
  virtual QWidget* Widget() = 0;
  void Detach();

  // What assistive technology calls a control that shows no caption of its
  // own, by what it holds ("Word list", "Board"). A control with a caption
  // is called by its caption while it has one.
  void SetDescriptiveName(const QString& name);

  // The caption the widget shows; empty for a control without one.
  virtual QString Caption() const { return {}; }
  // Follows the window's new scale: place, size, and whatever is drawn.
  virtual void Rescale() { SyncGeometry(); }

 protected:
  ControlView(Control& model, FormWindow& window);
  // Starts observing. The derived constructor calls it once its widget shows
  // the model's present state.
  void Observe();
  virtual void Sync(Change what, int index) = 0;
  // Called once the model is forgotten.
  virtual void Detached() {}

  // Position, size and visibility, common to all visible controls.
  void SyncGeometry();
  void SyncVisible();
  void SyncColours(QPalette::ColorRole fore, QPalette::ColorRole back);
  // Handles the notifications every widget shares; true when it did.
  bool SyncCommon(Change what);
  // The accessible name: the caption, else the descriptive name. Never the
  // control's code name, which means nothing to a person.
  void SyncAccessibleName();

  EventDoor& Door() const;
  FormWindow& window_;
  Control* model_;
  QString descriptiveName_;
};

class LabelView final : public QLabel, public ControlView {
  Q_OBJECT
 public:
  LabelView(Label& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

 private:
  void Sync(Change what, int index) override;
  void SyncCaption();
  QString Caption() const override { return text(); }
};

class ButtonView final : public QPushButton, public ControlView {
  Q_OBJECT
 public:
  ButtonView(CommandButton& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

 private:
  void Sync(Change what, int index) override;
  QString Caption() const override { return text(); }
};

// Shows 0, 1 and 2 as unchecked, checked and partially checked. A click
// doesn't change the state by itself: it goes to the model, whose Click
// handler runs, and the box then shows the model's value.
class CheckView final : public QCheckBox, public ControlView {
  Q_OBJECT
 public:
  CheckView(CheckBox& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

 protected:
  void nextCheckState() override {}

 private:
  void Sync(Change what, int index) override;
  void SyncValue();
  QString Caption() const override { return text(); }
};

// Items follow the model one notification at a time, so a list of thousands
// never rebuilds for one line added or removed. A list cleared inside a
// handler is the start of a refill: it is shown again in one piece when the
// handler ends (or before it waits for the player), not row by row. The
// player's selection (mouse or arrow keys) goes to the model, which raises
// Click; the highlighted row is always the model's.
class ListView final : public QListWidget, public ControlView {
  Q_OBJECT
 public:
  ListView(ListBox& model, FormWindow& window, QWidget* parent);
  ~ListView() override;
  QWidget* Widget() override { return this; }

  // Shows the model's items and choice afresh, if a refill is pending.
  void FinishRefill();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Sync(Change what, int index) override;
  void Detached() override;
  void SyncSelection();
  void Select(int row);
  ListBox& List() const { return static_cast<ListBox&>(*model_); }

  bool refilling_ = false;
};

// Tells the lists when a handler ends: the Qt runtime attaches it to its
// door. With no door attached (or outside a handler) lists follow their
// models at once.
class ListRefills final : public WriteGroup {
 public:
  static ListRefills& Instance();

  bool InHandler() const { return depth_ > 0; }
  void Pending(ListView& list);
  void Forget(ListView& list);

  void HandlerBegins() override { ++depth_; }
  void HandlerEnds() override;
  void BeforeWait() override { FinishAll(); }
  void AfterWait() override {}

 private:
  void FinishAll();
  int depth_ = 0;
  std::vector<ListView*> pending_;
};

// Every key that reaches the box raises KeyDown, then (for a key that
// types) KeyPress, each through the door, before the editor acts on it; the
// editor's change of the text then raises Change through the model.
// MaxLength bounds what the player types, never what the program puts in:
// the editor itself has no bound, so a longer text set by the program shows
// whole and is never cut behind the model's back.
class TextView final : public QLineEdit, public ControlView {
  Q_OBJECT
 public:
  TextView(TextBox& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Sync(Change what, int index) override;
  // KeyDown of the key, through the door; false when the form went with it.
  bool RaiseKeyDown(const QKeyEvent& event);
  // Whether typing one more character (in place of the selection) would
  // pass MaxLength.
  bool Full() const;
};

// A timer whose tick goes through the door. While its handler waits (in a
// message box, say) further ticks of the same timer are dropped, so the
// handler never runs inside itself; and no tick runs while any message box
// stands, so a tick never enters a handler that waits for the player. In a
// window with scripted timers it ticks only when told.
class TimerView final : public QObject, public ControlView {
  Q_OBJECT
 public:
  TimerView(Timer& model, FormWindow& window);
  QWidget* Widget() override { return nullptr; }
  bool Running() const { return scripted_ ? armed_ : timer_.isActive(); }
  // One tick, as the timer's own would come.
  void Fire();

 private:
  void Sync(Change what, int index) override;
  void Detached() override {
    timer_.stop();
    armed_ = false;
  }
  void SyncEnabled();

  QTimer timer_;
  bool scripted_;
  bool armed_ = false;
  bool ticking_ = false;
};

// Key codes and shift state as the controls' events carry them.
int KeyCodeOf(int qtKey);
int ShiftStateOf(Qt::KeyboardModifiers modifiers);

}  // namespace pelmora
