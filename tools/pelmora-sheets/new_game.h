#pragma once
// A word list stored as a new game, as the designer's Save of a new entry
// stores one: the slot behind the listed games gets the name in upper case,
// and the game's section, named as typed, gets the words in keys 1 to 16.

#include <string>
#include <vector>

#include "platform/event_door.h"
#include "profile/profile_store.h"

namespace pelmora {

struct NewGameOutcome {
  int exitStatus = 0;   // 0 stored, 2 refused, 3 not written
  std::string message;  // one line for a refusal or a failed write
};

// Refuses, as the designer would, a blank name, a name the file can't hold
// and a name the list already shows (the designer would ask before writing
// over that game). The writes go through door as one handler, so the
// store's grouping and its failure rules hold; door must have store attached.
NewGameOutcome AddGame(ProfileStore& store, EventDoor& door, const std::string& name,
                       const std::vector<std::string>& words);

}  // namespace pelmora
