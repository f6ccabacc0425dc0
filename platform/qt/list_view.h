#pragma once
// The view of a ListBox, and the refills that the lists of a program share.

#include <QListWidget>
#include <vector>

#include "platform/qt/control_view.h"

namespace pelmora {

class ListView;

// Tells the lists when a handler ends. The Qt runtime owns one, attaches it
// to its door and hands it to every window it makes. Unattached (or outside
// a handler) lists follow their models at once.
class ListRefills final : public WriteGroup {
 public:
  bool InHandler() const { return depth_ > 0; }
  void Pending(ListView& list);
  void Forget(ListView& list);

  void HandlerBegins() override { ++depth_; }
  void HandlerEnds() override;
  void BeforeWait() override { FinishAll(); }
  void AfterWait() override {}

 private:
  void FinishAll();
  int depth_ = 0;
  std::vector<ListView*> pending_;
};

// Items follow the model one notification at a time, so a list of thousands
// never rebuilds for one line added or removed. A list cleared inside a
// handler is the start of a refill: it is shown again in one piece when the
// handler ends (or before it waits for the player), not row by row. The
// player's selection (mouse or arrow keys) goes to the model, which raises
// Click; the highlighted row is always the model's.
class ListView final : public QListWidget, public ControlView {
  Q_OBJECT
 public:
  ListView(ListBox& model, FormWindow& window, QWidget* parent);
  ~ListView() override;
  QWidget* Widget() override { return this; }

  // Shows the model's items and choice afresh, if a refill is pending.
  void FinishRefill();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Sync(Change what, int index) override;
  void Detached() override;
  void SyncSelection();
  void Select(int row);
  ListBox& List() const { return static_cast<ListBox&>(*model_); }

  ListRefills& refills_;
  bool refilling_ = false;
};

}  // namespace pelmora
