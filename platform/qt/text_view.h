#pragma once
// The view of a TextBox. Every key that reaches the box raises KeyDown, then
// (for a key that types) KeyPress, each through the door, before the editor
// acts on it; the editor's change of the text then raises Change through the
// model. MaxLength bounds what the player types, never what the program puts
// in: the editor itself has no bound, so a longer text set by the program
// shows whole and is never cut behind the model's back.

#include <QLineEdit>

#include "platform/qt/control_view.h"

namespace pelmora {

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

}  // namespace pelmora
