#include "platform/qt/accessibility.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleWidget>

#include "platform/qt/board_accessible.h"
#include "platform/qt/board_surface.h"
#include "platform/qt/form_window.h"

namespace pelmora {

namespace {

QAccessibleInterface* RoleOf(const QString& /*className*/, QObject* object) {
  if (auto* board = qobject_cast<BoardSurface*>(object)) return new BoardAccessible(board, board->Voice());
  if (auto* window = qobject_cast<FormWindow*>(object))
    return new QAccessibleWidget(window, window->parentWidget() ? QAccessible::Dialog : QAccessible::Window);
  return nullptr;
}

}  // namespace

void InstallAccessibleRoles() {
  static const bool installed = [] {
    QAccessible::installFactory(RoleOf);
    return true;
  }();
  (void)installed;
}

void TellFocusedItem(QAbstractItemView& view, int row) {
  if (!QAccessible::isActive() || !view.hasFocus() || row < 0) return;
  QAccessibleEvent focus(&view, QAccessible::Focus);
  focus.setChild(row);
  QAccessible::updateAccessibility(&focus);
}

}  // namespace pelmora
