#include "platform/qt/keyboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <algorithm>

#include "platform/keys.h"

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
#define PELMORA_CODE_OF(name, code, scripted) \
  case Qt::Key_##name: return code;
    PELMORA_KEYS(PELMORA_CODE_OF)
#undef PELMORA_CODE_OF
    default: break;
  }
  // Any other printable key: its character's own code.
  return qtKey > 0 && qtKey < 0x7F ? qtKey : 0;
}

int QtKeyNamed(std::string_view name) {
#define PELMORA_QT_KEY(key, code, scripted) \
  if (name == #key) return Qt::Key_##key;
  PELMORA_KEYS(PELMORA_QT_KEY)
#undef PELMORA_QT_KEY
  return Qt::Key_unknown;
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
