#pragma once
// The headless front: the program with no window, its events delivered to
// the control models as a platform would deliver them.

#include <memory>
#include <string>

#include "tools/pelmora-script/script_front.h"

namespace pelmora {

std::unique_ptr<ScriptFront> MakeHeadlessFront(const std::string& iniPath, ScriptHooks& hooks,
                                               FileSystem& fileSystem);

}  // namespace pelmora
