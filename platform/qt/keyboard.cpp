#include "platform/qt/keyboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <algorithm>

namespace pelmora {

int KeyAsciiOf(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Escape: return 27;
    default: break;
  }
  const QList<uint> codePoints = event.text().toUcs4();
  if (codePoints.size() != 1) return 0;
  const uint c = codePoints.front();
  if (c < 0x20 || c == 0x7F) return 0;
  return static_cast<int>(c);
}

int KeyCodeOf(int qtKey) {
  // Letters, digits and the space bar carry their own codes in both schemes.
  if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) ||
      qtKey == Qt::Key_Space)
    return qtKey;
  if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F12) return 112 + (qtKey - Qt::Key_F1);
  switch (qtKey) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Tab: return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Shift: return 16;
    case Qt::Key_Control: return 17;
    case Qt::Key_Alt: return 18;
    case Qt::Key_Pause: return 19;
    case Qt::Key_CapsLock: return 20;
    case Qt::Key_Escape: return 27;
    case Qt::Key_PageUp: return 33;
    case Qt::Key_PageDown: return 34;
    case Qt::Key_End: return 35;
    case Qt::Key_Home: return 36;
    case Qt::Key_Left: return 37;
    case Qt::Key_Up: return 38;
    case Qt::Key_Right: return 39;
    case Qt::Key_Down: return 40;
    case Qt::Key_Insert: return 45;
    case Qt::Key_Delete: return 46;
    default: break;
  }
  // Any other printable key: its character's own code.
  return qtKey > 0 && qtKey < 0x7F ? qtKey : 0;
}

int ShiftStateOf(Qt::KeyboardModifiers modifiers) {
  return ((modifiers & Qt::ShiftModifier) ? 1 : 0) | ((modifiers & Qt::ControlModifier) ? 2 : 0) |
         ((modifiers & Qt::AltModifier) ? 4 : 0);
}

void PasteWithin(QLineEdit& edit, int maxLength) {
  const qsizetype room = maxLength - (edit.text().toUcs4().size() - edit.selectedText().toUcs4().size());
  const QList<uint> pasted = QGuiApplication::clipboard()->text().toUcs4();
  if (room > 0)
    edit.insert(QString::fromUcs4(reinterpret_cast<const char32_t*>(pasted.data()), std::min(room, pasted.size())));
}

}  // namespace pelmora
