#pragma once
// The keys that the controls' KeyDown tells apart by a code of their own,
// each in one row: its name, which is also Qt's (Qt::Key_<name>); the code
// KeyDown carries for it, 0 for a key that has none; and whether a script
// presses it by name (`key`), a key that types nothing. Letters, digits and
// the space bar carry their own character's code and need no row.

#include <string_view>

// Expands KEY(name, code, scripted) once for each key.
#define PELMORA_KEYS(KEY) \
  KEY(Backspace, 8, false) \
  KEY(Tab, 9, true)        \
  KEY(Return, 13, false)   \
  KEY(Enter, 13, false)    \
  KEY(Shift, 16, true)     \
  KEY(Control, 17, false)  \
  KEY(Alt, 18, false)      \
  KEY(Pause, 19, false)    \
  KEY(CapsLock, 20, false) \
  KEY(Escape, 27, false)   \
  KEY(PageUp, 33, false)   \
  KEY(PageDown, 34, false) \
  KEY(End, 35, true)       \
  KEY(Home, 36, true)      \
  KEY(Left, 37, true)      \
  KEY(Up, 38, true)        \
  KEY(Right, 39, true)     \
  KEY(Down, 40, true)      \
  KEY(Insert, 45, false)   \
  KEY(Delete, 46, false)   \
  KEY(Meta, 91, true)      \
  KEY(Menu, 93, true)      \
  KEY(NumLock, 144, true)  \
  KEY(AltGr, 0, true)

namespace pelmora {

struct NamedKey {
  std::string_view name;
  int code;
  bool scripted;
};

inline constexpr NamedKey kNamedKeys[] = {
#define PELMORA_NAMED_KEY(name, code, scripted) {#name, code, scripted},
    PELMORA_KEYS(PELMORA_NAMED_KEY)
#undef PELMORA_NAMED_KEY
};

// The key called name, or null.
constexpr const NamedKey* KeyNamed(std::string_view name) {
  for (const NamedKey& key : kNamedKeys)
    if (key.name == name) return &key;
  return nullptr;
}

}  // namespace pelmora
