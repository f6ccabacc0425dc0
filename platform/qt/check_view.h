#pragma once
// The view of a CheckBox. Shows 0, 1 and 2 as unchecked, checked and
// partially checked. A click doesn't change the state by itself: it goes to
// the model, whose Click handler runs, and the box then shows the model's
// value.

#include <QCheckBox>

#include "platform/qt/control_view.h"

namespace pelmora {

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

}  // namespace pelmora
