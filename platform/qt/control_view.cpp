#include "platform/qt/control_view.h"

#include <QWidget>

#include "platform/qt/conversions.h"
#include "platform/qt/form_window.h"
#include "platform/qt/twips.h"

namespace pelmora {

ControlView::ControlView(Control& model, FormWindow& window) : window_(window), model_(&model) {}

ControlView::~ControlView() { Detach(); }

void ControlView::Observe() {
  model_->onChanged = [this](Change what, int index) { Sync(what, index); };
}

void ControlView::Detach() {
  if (!model_) return;
  model_->onChanged = nullptr;
  model_ = nullptr;
  Detached();
}

EventDoor& ControlView::Door() const { return window_.Door(); }

void ControlView::SyncGeometry() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  w->setGeometry(ScaledTwipRect({model_->Left(), model_->Top(), model_->Width(), model_->Height()},
                                window_.Scale()));
}

void ControlView::SyncVisible() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  w->setVisible(model_->Visible());
}

void ControlView::SyncColours(QPalette::ColorRole fore, QPalette::ColorRole back) {
  QWidget* w = Widget();
  if (!w || !model_ || (!model_->ForeColor && !model_->BackColor)) return;
  QPalette palette = w->palette();
  if (model_->ForeColor) palette.setColor(fore, FromRgb(*model_->ForeColor));
  if (model_->BackColor) {
    palette.setColor(back, FromRgb(*model_->BackColor));
    w->setAutoFillBackground(true);
  }
  w->setPalette(palette);
}

void ControlView::SetDescriptiveName(const QString& name) {
  descriptiveName_ = name;
  SyncAccessibleName();
}

void ControlView::SyncAccessibleName() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  QString name = Caption().trimmed();
  if (name.isEmpty()) name = descriptiveName_;
  if (w->accessibleName() != name) w->setAccessibleName(name);
}

bool ControlView::SyncCommon(Change what) {
  switch (what) {
    case Change::Geometry:
      SyncGeometry();
      return true;
    case Change::Visible:
      SyncVisible();
      return true;
    case Change::TabIndex:
      window_.ApplyTabOrder();
      return true;
    default:
      return false;
  }
}

}  // namespace pelmora
