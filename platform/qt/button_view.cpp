#include "platform/qt/button_view.h"

#include "platform/qt/conversions.h"

namespace pelmora {

ButtonView::ButtonView(CommandButton& model, FormWindow& window, QWidget* parent)
    : QPushButton(parent), ControlView(model, window) {
  setAutoDefault(false);
  SyncGeometry();
  setText(ToQString(model.Caption()));
  SyncAccessibleName();
  SyncVisible();
  connect(this, &QAbstractButton::clicked, this, [this] {
    auto* button = static_cast<CommandButton*>(model_);
    if (!button) return;
    Door().Dispatch([button] { button->UserClick(); });
  });
  Observe();
}

void ButtonView::Sync(Change what, int) { SyncCommon(what); }

}  // namespace pelmora
