#pragma once
// The Qt front: the script's events go in as a player's would, through the
// real widgets of the game's own windows (mouse presses on buttons, list
// rows and the board at the pixels their twips map to, key events into the
// line edits, the close event, real message boxes whose buttons the script's
// answers click), and what the script looks at is read off the widgets. The
// timers tick when the script waits, so a run takes no real time. Needs the
// application object.

#include <memory>
#include <string>

#include "tools/pelmora-script/script_front.h"

namespace pelmora {

class FileSystem;

std::unique_ptr<ScriptFront> MakeQtFront(const std::string& iniPath, ScriptHooks& hooks, FileSystem& fileSystem);

}  // namespace pelmora
