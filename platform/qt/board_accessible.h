#pragma once
// The board as a screen reader meets it: one focusable graphic, "Letter
// board", whose focus child is the focus cell as it is said now ("W, row 1,
// column 1", "W, row 1, column 1, ringed, letters W", "ASTER found, 7 words
// left", or while no game is in play the idle line).
//
// Each new thing said is a new child object that takes the focus: a screen
// reader speaks a focus that moves to another object, and says nothing of a
// name that changes under the focus (Qt sends the object, not the new name,
// with that change). Not a table of cells: a screen reader reads a whole row
// of a table each time the focus moves up or down.

#include <QAccessibleWidget>
#include <QPointer>
#include <QRect>
#include <QString>

class QWidget;

namespace pelmora {

class BoardVoice {
 public:
  explicit BoardVoice(QWidget& board);
  ~BoardVoice();
  BoardVoice(const BoardVoice&) = delete;
  BoardVoice& operator=(const BoardVoice&) = delete;

  // Says text as the focus cell at cell (pixels of the board): a new child
  // that takes the focus while the board has it. The same text again is
  // said only when again is set (a press).
  void Say(const QString& text, const QRect& cell, bool again = false);
  // The board took the focus: once the focus has gone to the board itself,
  // it goes on to the focus cell, which is then said as text. Not while the
  // window is inactive: the window manager's activation focuses the board
  // again.
  void TellFocus(const QString& text, const QRect& cell);

  // What is said now, as an accessible object; null before anything is.
  QAccessibleInterface* Child() const;

 private:
  void Focus();

  QPointer<QWidget> board_;
  QString text_;
  QAccessible::Id child_ = 0;
  // The child before: a screen reader may still ask after it.
  QAccessible::Id before_ = 0;
};

// The board's accessible object: a graphic with the said focus cell as its
// only child.
class BoardAccessible final : public QAccessibleWidget {
 public:
  BoardAccessible(QWidget* board, BoardVoice& voice);
  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* focusChild() const override;

 private:
  BoardVoice& voice_;
};

}  // namespace pelmora
