#pragma once
// What the widgets that show the control models share. Each view observes
// its model through the model's onChanged and hands the player's input back
// to the model through the event door; the model, not Qt, decides what a
// click or a key does, and the widget then follows the model. One file per
// kind of view: label_view, button_view, check_view, list_view, text_view,
// timer_view, and the board's board_surface.

#include <QPalette>
#include <QString>

#include "platform/controls.h"
#include "platform/event_door.h"

class QWidget;

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

}  // namespace pelmora
