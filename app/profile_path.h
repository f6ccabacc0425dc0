#pragma once
// Where the player's profile lives, for the game and the tools beside it.

#include <string>

namespace pelmora {

// The player's profile: one file in the user's configuration folder, never
// beside the program or in the working directory. Needs the application
// object (the folder is the desktop's, as Qt reads it).
std::string PlayerProfilePath();

}  // namespace pelmora
