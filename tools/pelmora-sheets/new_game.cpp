#include "tools/pelmora-sheets/new_game.h"

#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {

namespace {

constexpr std::size_t kNameBoxLength = 30;  // what the designer's name box holds

// A line break or a tab would end or split the name's line in the file.
bool HoldsControlCharacter(const std::string& name) {
  for (char c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return true;
  }
  return false;
}

}  // namespace

NewGameOutcome AddGame(ProfileStore& store, EventDoor& door, const std::string& name,
                       const std::vector<std::string>& words) {
  if (name.empty()) return {2, "Please give your game a name"};
  if (NameFileCannotHold(name) || HoldsControlCharacter(name)) {
    return {2, "Please choose another name for your game (\"" + name + "\" can't be stored as one)"};
  }
  if (Len(name) > kNameBoxLength) {
    return {2, "a game's name holds at most " + std::to_string(kNameBoxLength) + " characters: " + name};
  }

  // The words as Save stores a new entry's boxes; the keys left over are
  // stored empty.
  GameWords stored;
  for (std::size_t i = 0; i < words.size() && i < stored.size(); ++i) stored[i] = NormaliseWord(words[i]);

  NewGameOutcome outcome;
  std::string failure;
  door.onWriteFailed = [&failure](const std::string& sentence) { failure = sentence; };
  door.onFailure = [&outcome](const std::string& what) { outcome = {3, what}; };
  int slot = 0;
  door.Dispatch([&] {
    // The list and the slot come from the index as the file holds it now.
    const std::vector<std::string> games = ListGames(store, /*gamesStops=*/true);
    for (const std::string& game : games) {
      if (UCase(name) == UCase(game)) {
        outcome = {2, store.Path() + " already has a game called " + game};
        return;
      }
    }
    if (static_cast<int>(games.size()) >= kIndexSlots) {
      outcome = {2, store.Path() + " holds " + std::to_string(kIndexSlots) + " games, as many as it can list"};
      return;
    }
    slot = static_cast<int>(games.size()) + 1;
    WriteGameEntry(store, slot, name, stored);
  });
  if (outcome.exitStatus != 0) return outcome;
  if (!failure.empty()) return {3, failure};
  // A write the disk refused is dropped from the store, and a read shows the
  // file as it is: the name is in its slot only if the game was stored.
  if (store.ReadProfileValue(kIndexSection, Format(slot), kEndMarker).text != UCase(name)) {
    return {3, "could not save to " + store.Path()};
  }
  return outcome;
}

}  // namespace pelmora
