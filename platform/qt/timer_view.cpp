#include "platform/qt/timer_view.h"

#include "platform/qt/form_window.h"

namespace pelmora {

TimerView::TimerView(Timer& model, FormWindow& window)
    : QObject(&window), ControlView(model, window), scripted_(window.ScriptedTimers()) {
  timer_.setInterval(model.Interval());
  connect(&timer_, &QTimer::timeout, this, &TimerView::Fire);
  SyncEnabled();
  Observe();
}

void TimerView::SyncEnabled() {
  if (!model_) {
    timer_.stop();
    armed_ = false;
    return;
  }
  auto& timer = static_cast<Timer&>(*model_);
  armed_ = timer.Enabled() && timer.Interval() > 0;
  if (armed_ && !scripted_) {
    if (!timer_.isActive()) timer_.start();
  } else {
    timer_.stop();
  }
}

void TimerView::Sync(Change what, int) {
  if (what == Change::Enabled) SyncEnabled();
}

void TimerView::Fire() {
  auto* timer = static_cast<Timer*>(model_);
  if (!timer) {
    timer_.stop();
    return;
  }
  if (ticking_ || !timer->Tick || Door().InMessageBox()) return;
  ticking_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{ticking_};
  Door().Dispatch([timer] {
    if (timer->Tick) timer->Tick();
  });
}

}  // namespace pelmora
