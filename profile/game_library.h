#pragma once
// GameLibrary: how games are stored in wsearch.ini. The section "games" is the
// index: keys 1 to 4096 are slots holding a game's name in upper case, an
// empty value (a blank slot, passed over), or the lower-case markers "none"
// (the end of the list; also what an absent key reads as) and "games" (the
// end for every walk but the one at start-up). Each game has a section of its
// own, named as first typed, with the keys 1 to 16, one word each.
//
// The library speaks in names and words; each window puts them into its own
// controls.

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "profile/profile_store.h"

namespace pelmora {

inline constexpr int kIndexSlots = 4096;
inline constexpr int kWordsPerGame = 16;
inline constexpr std::string_view kIndexSection = "games";
inline constexpr std::string_view kEndMarker = "none";
inline constexpr std::string_view kGamesMarker = "games";

// The 16 word keys of a game's section, key 1 first. A saved game always has
// all 16, blanks included, so an earlier word in a key is never left behind.
using GameWords = std::array<std::string, kWordsPerGame>;

// The names of the index in slot order: blank slots are passed over, "none"
// ends the walk, and so does "games" when gamesStops.
std::vector<std::string> ListGames(ProfileStore& store, bool gamesStops);

// The words of a game for play, from key 1 upward; the first blank, "none" or
// absent key ends the walk.
std::vector<std::string> ReadGameWords(ProfileStore& store, std::string_view section);

// What the designer's word boxes get from a game: box i gets key i, an empty
// value included; "none" (absent) or "games" ends the walk, and the boxes
// from there on keep their text. Element 0 is for box 1.
std::vector<std::string> LoadWordBoxes(ProfileStore& store, std::string_view section);

// Writes the index slot and, for a name that isn't blank, the 16 word keys
// upper-cased into the section named as typed. The words come in the form
// the caller stores them in (Save and Exit clean them differently).
void WriteGameEntry(ProfileStore& store, int slot, std::string_view name, const GameWords& words);

// One pass over slots 1 to count that closes blank slots: each blank slot
// takes the value of the slot behind it, which is then blanked.
void CompactIndex(ProfileStore& store, int count);

// Names the file can't hold as typed, which every writer of a game refuses:
// the names of its own sections (games, settings, in any case), a blank at
// either end (trimmed away on reading) and a name in quotes (which reading
// strips).
bool NameFileCannotHold(std::string_view name);

// A word as Save stores it: only the letters A to Z of either case stay,
// each with the case it had.
std::string NormaliseWord(std::string_view word);

}  // namespace pelmora
