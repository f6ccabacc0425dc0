#include "platform/qt/check_view.h"

#include <QCoreApplication>
#include <QPointer>
#include <QProxyStyle>
#include <algorithm>
#include <cmath>

#include "platform/qt/conversions.h"
#include "platform/qt/form_window.h"

namespace pelmora {

namespace {

// The square of a check box grows with the form, as its caption does; the
// platform's style draws it at the size it is given.
class ScaledIndicatorStyle final : public QProxyStyle {
 public:
  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
    const int base = QProxyStyle::pixelMetric(metric, option, widget);
    if (metric != PM_IndicatorWidth && metric != PM_IndicatorHeight && metric != PM_CheckBoxLabelSpacing)
      return base;
    const auto* window = widget ? qobject_cast<const FormWindow*>(widget->window()) : nullptr;
    return window ? std::max(1, static_cast<int>(std::lround(base * window->Scale()))) : base;
  }
};

QStyle* IndicatorStyle() {
  static QPointer<QStyle> style;
  if (!style) {
    style = new ScaledIndicatorStyle;
    style->setParent(QCoreApplication::instance());  // lives as long as the application
  }
  return style;
}

}  // namespace

CheckView::CheckView(CheckBox& model, FormWindow& window, QWidget* parent)
    : QCheckBox(parent), ControlView(model, window) {
  setStyle(IndicatorStyle());
  setTristate(true);
  SyncColours(QPalette::WindowText, QPalette::Window);
  SyncGeometry();
  setText(ToQString(model.Caption()));
  SyncAccessibleName();
  SyncValue();
  SyncVisible();
  connect(this, &QAbstractButton::clicked, this, [this] {
    auto* box = static_cast<CheckBox*>(model_);
    if (!box) return;
    Door().Dispatch([box] { box->UserClick(); });
    SyncValue();  // the handler may have put the value back
  });
  Observe();
}

void CheckView::SyncValue() {
  if (!model_) return;
  const int value = static_cast<CheckBox&>(*model_).Value();
  setCheckState(value == 1 ? Qt::Checked : value == 2 ? Qt::PartiallyChecked : Qt::Unchecked);
}

void CheckView::Sync(Change what, int) {
  if (what == Change::Value) SyncValue();
  else SyncCommon(what);
}

}  // namespace pelmora
