#pragma once
// The keyboard as the controls' events carry it: Qt's keys and modifiers
// turned into key codes, shift states and typed characters, and a paste
// that respects a box's MaxLength.

#include <Qt>
#include <string_view>

class QKeyEvent;
class QLineEdit;

namespace pelmora {

// Key codes and shift state as the controls' events carry them.
int KeyCodeOf(int qtKey);
// Qt's key for the key of that name (platform/keys.h), or Qt::Key_unknown.
int QtKeyNamed(std::string_view name);
int ShiftStateOf(Qt::KeyboardModifiers modifiers);

// The character a key types, as KeyPress carries it, or 0 for a key that
// types nothing. Backspace, Enter and Escape type their control codes;
// other control characters (Ctrl+C and the like) belong to the editor.
int KeyAsciiOf(const QKeyEvent& event);

// Pastes the clipboard over the editor's selection, as much of it as keeps
// the text within maxLength characters.
void PasteWithin(QLineEdit& edit, int maxLength);

}  // namespace pelmora
