#pragma once
// The view of a Label: its caption, bold or not, in the form's colours.

#include <QLabel>

#include "platform/qt/control_view.h"

namespace pelmora {

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

}  // namespace pelmora
