#include "platform/qt/board_accessible.h"

#include <QMetaObject>
#include <QWidget>
#include <QWindow>

namespace pelmora {

namespace {

// One thing said of the focus cell: a cell of the board, named by the words,
// focused while the board has the focus.
class SaidCell final : public QAccessibleInterface {
 public:
  SaidCell(QWidget& board, QString text, QRect cell) : board_(&board), text_(std::move(text)), cell_(cell) {}

  bool isValid() const override { return board_ != nullptr; }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override { return board_ ? board_->window()->windowHandle() : nullptr; }
  QAccessibleInterface* parent() const override {
    return board_ ? QAccessible::queryAccessibleInterface(board_.data()) : nullptr;
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QString text(QAccessible::Text t) const override { return t == QAccessible::Name ? text_ : QString(); }
  void setText(QAccessible::Text, const QString&) override {}
  QRect rect() const override {
    return board_ ? QRect(board_->mapToGlobal(cell_.topLeft()), cell_.size()) : QRect();
  }
  QAccessible::Role role() const override { return QAccessible::Cell; }
  QAccessible::State state() const override {
    QAccessible::State state;
    state.focusable = true;
    state.focused = board_ && board_->hasFocus();
    state.invisible = !board_ || !board_->isVisible();
    return state;
  }

 private:
  QPointer<QWidget> board_;
  QString text_;
  QRect cell_;
};

}  // namespace

BoardVoice::BoardVoice(QWidget& board) : board_(&board) {}

BoardVoice::~BoardVoice() {
  for (QAccessible::Id id : {before_, child_})
    if (id) QAccessible::deleteAccessibleInterface(id);
}

QAccessibleInterface* BoardVoice::Child() const { return child_ ? QAccessible::accessibleInterface(child_) : nullptr; }

void BoardVoice::Say(const QString& text, const QRect& cell, bool again) {
  if (!board_ || (text == text_ && child_ && !again)) return;
  text_ = text;
  if (before_) QAccessible::deleteAccessibleInterface(before_);
  before_ = child_;
  child_ = QAccessible::registerAccessibleInterface(new SaidCell(*board_, text, cell));
  if (board_->hasFocus() && board_->isActiveWindow()) Focus();
}

void BoardVoice::TellFocus(const QString& text, const QRect& cell) {
  // Qt tells of the board's own focus after the board has taken it.
  QMetaObject::invokeMethod(
      board_,
      [this, text, cell] {
        if (!board_ || !board_->hasFocus() || !board_->isActiveWindow()) return;
        if (text != text_ || !child_) Say(text, cell);
        else Focus();
      },
      Qt::QueuedConnection);
}

void BoardVoice::Focus() {
  QAccessibleInterface* said = Child();
  if (!said || !QAccessible::isActive()) return;
  QAccessibleEvent focus(said, QAccessible::Focus);
  QAccessible::updateAccessibility(&focus);
}

BoardAccessible::BoardAccessible(QWidget* board, BoardVoice& voice)
    : QAccessibleWidget(board, QAccessible::Graphic), voice_(voice) {}

int BoardAccessible::childCount() const { return voice_.Child() ? 1 : 0; }

QAccessibleInterface* BoardAccessible::child(int index) const { return index == 0 ? voice_.Child() : nullptr; }

int BoardAccessible::indexOfChild(const QAccessibleInterface* child) const {
  return child && child == voice_.Child() ? 0 : -1;
}

QAccessibleInterface* BoardAccessible::focusChild() const {
  return widget()->hasFocus() && voice_.Child() ? voice_.Child() : QAccessibleWidget::focusChild();
}

}  // namespace pelmora
