#include "platform/qt/list_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>

#include "platform/qt/accessibility.h"
#include "platform/qt/conversions.h"
#include "platform/qt/form_window.h"

namespace pelmora {

ListView::ListView(ListBox& model, FormWindow& window, QWidget* parent)
    : QListWidget(parent), ControlView(model, window), refills_(window.Refills()) {
  setSelectionMode(QAbstractItemView::SingleSelection);
  setUniformItemSizes(true);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setDragEnabled(false);
  SyncColours(QPalette::Text, QPalette::Base);
  SyncGeometry();
  for (const std::string& item : model.Items()) addItem(ToQString(item));
  SyncSelection();
  SyncVisible();
  SyncAccessibleName();
  Observe();
}

ListView::~ListView() { refills_.Forget(*this); }

void ListView::Detached() {
  refilling_ = false;
  refills_.Forget(*this);
}

void ListView::FinishRefill() {
  if (!refilling_ || !model_) return;
  refilling_ = false;
  QStringList items;
  items.reserve(List().ListCount());
  for (const std::string& item : List().Items()) items << ToQString(item);
  clear();
  addItems(items);
  SyncSelection();
}

void ListView::Sync(Change what, int index) {
  // While a refill is pending, its finish shows the items and the choice.
  if (refilling_ && (what == Change::ItemAdded || what == Change::ItemRemoved || what == Change::Cleared ||
                     what == Change::Selection))
    return;
  switch (what) {
    case Change::ItemAdded:
      insertItem(index, ToQString(List().List(index)));
      SyncSelection();  // rows below the insertion moved
      return;
    case Change::ItemRemoved:
      delete takeItem(index);
      SyncSelection();  // Qt moves the current row to a neighbour; the model doesn't
      return;
    case Change::Cleared:
      clear();
      if (refills_.InHandler()) {
        refilling_ = true;
        refills_.Pending(*this);
      }
      return;
    case Change::Selection:
      SyncSelection();
      return;
    default:
      SyncCommon(what);
  }
}

void ListRefills::Pending(ListView& list) {
  if (std::find(pending_.begin(), pending_.end(), &list) == pending_.end()) pending_.push_back(&list);
}

void ListRefills::Forget(ListView& list) { std::erase(pending_, &list); }

// Every handler's end, not only the outermost: a handler nested in a wait
// (a key in a modal window) runs while the outer one stands still.
void ListRefills::HandlerEnds() {
  if (depth_ > 0) --depth_;
  FinishAll();
}

void ListRefills::FinishAll() {
  // Take the list first, so that nothing added meanwhile is missed or
  // finished twice.
  std::vector<ListView*> lists;
  lists.swap(pending_);
  for (ListView* list : lists) list->FinishRefill();
}

void ListView::SyncSelection() {
  if (!model_) return;
  int row = List().ListIndex();
  if (row >= count()) row = -1;
  if (row == currentRow() && (row < 0 || item(row)->isSelected())) return;
  if (row < 0) {
    setCurrentRow(-1);
    clearSelection();
    return;
  }
  const bool alreadyCurrent = row == currentRow();
  setCurrentRow(row);
  if (alreadyCurrent) TellFocusedItem(*this, row);
  scrollToItem(item(row));
}

void ListView::Select(int row) {
  if (!model_ || row < 0 || row >= List().ListCount()) return;
  ListBox* list = &List();
  Door().Dispatch([list, row] { list->UserSelect(row); });
  SyncSelection();
}

void ListView::mousePressEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() == Qt::LeftButton && index.isValid()) Select(index.row());
  event->accept();
}

// Dragging, releasing and double-clicking would let Qt move the selection
// behind the model's back.
void ListView::mouseMoveEvent(QMouseEvent* event) { event->accept(); }
void ListView::mouseReleaseEvent(QMouseEvent* event) { event->accept(); }
void ListView::mouseDoubleClickEvent(QMouseEvent* event) { event->accept(); }

void ListView::keyPressEvent(QKeyEvent* event) {
  CursorAction action;
  switch (event->key()) {
    case Qt::Key_Up: action = MoveUp; break;
    case Qt::Key_Down: action = MoveDown; break;
    case Qt::Key_Home: action = MoveHome; break;
    case Qt::Key_End: action = MoveEnd; break;
    case Qt::Key_PageUp: action = MovePageUp; break;
    case Qt::Key_PageDown: action = MovePageDown; break;
    default:
      event->ignore();
      return;
  }
  // With nothing chosen yet, Qt still keeps a current row (the first, once the
  // list has focus), so its first Down would skip a line: the first move
  // lands on the first line (End on the last) as a list with no choice does.
  QModelIndex target;
  if (model_ && List().ListIndex() < 0 && count() > 0)
    target = model()->index(action == MoveEnd ? count() - 1 : 0, 0);
  else
    target = moveCursor(action, event->modifiers());
  if (target.isValid() && model_ && target.row() != List().ListIndex()) Select(target.row());
  event->accept();
}

}  // namespace pelmora
