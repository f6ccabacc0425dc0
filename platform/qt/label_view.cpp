#include "platform/qt/label_view.h"

#include "platform/qt/conversions.h"

namespace pelmora {

LabelView::LabelView(Label& model, FormWindow& window, QWidget* parent)
    : QLabel(parent), ControlView(model, window) {
  setAlignment(Qt::AlignLeft | Qt::AlignTop);
  setTextFormat(Qt::PlainText);
  SyncColours(QPalette::WindowText, QPalette::Window);
  SyncGeometry();
  SyncCaption();
  SyncVisible();
  Observe();
}

void LabelView::SyncCaption() {
  if (!model_) return;
  auto& label = static_cast<Label&>(*model_);
  if (label.FontBold != font().bold()) {
    QFont bold;  // bold alone: the size follows the window's scale
    bold.setBold(label.FontBold);
    setFont(bold);
  }
  setText(ToQString(label.Caption()));
  SyncAccessibleName();  // the clock's label is called by the time it shows
}

void LabelView::Sync(Change what, int) {
  if (what == Change::Caption) SyncCaption();
  else SyncCommon(what);
}

}  // namespace pelmora
