#pragma once
// The view of a CommandButton: a click goes to the model's Click through the
// door.

#include <QPushButton>

#include "platform/qt/control_view.h"

namespace pelmora {

class ButtonView final : public QPushButton, public ControlView {
  Q_OBJECT
 public:
  ButtonView(CommandButton& model, FormWindow& window, QWidget* parent);
  QWidget* Widget() override { return this; }

 private:
  void Sync(Change what, int index) override;
  QString Caption() const override { return text(); }
};

}  // namespace pelmora
