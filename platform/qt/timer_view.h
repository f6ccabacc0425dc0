#pragma once
// The view of a Timer: a timer whose tick goes through the door. While its
// handler waits (in a message box, say) further ticks of the same timer are
// dropped, so the handler never runs inside itself; and no tick runs while
// any message box stands, so a tick never enters a handler that waits for
// the player. In a window with scripted timers it ticks only when told.

#include <QObject>
#include <QTimer>

#include "platform/qt/control_view.h"

namespace pelmora {

class TimerView final : public QObject, public ControlView {
  Q_OBJECT
 public:
  TimerView(Timer& model, FormWindow& window);
  QWidget* Widget() override { return nullptr; }
  bool Running() const { return scripted_ ? armed_ : timer_.isActive(); }
  // One tick, as the timer's own would come.
  void Fire();

 private:
  void Sync(Change what, int index) override;
  void Detached() override {
    timer_.stop();
    armed_ = false;
  }
  void SyncEnabled();

  QTimer timer_;
  bool scripted_;
  bool armed_ = false;
  bool ticking_ = false;
};

}  // namespace pelmora
