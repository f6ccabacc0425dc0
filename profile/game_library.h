#pragma once
// GameLibrary: how games are stored in wsearch.ini. The section "games" is the
// index: keys 1 to 4096 are slots holding a game's name in upper case, an
// empty value (a blank slot, passed over), or the lower-case markers "none"
// (the end of the list; also what an absent key reads as) and "games" (the
// end for every walk but the one at start-up). Each game has a section of its
// own, named as first typed, with the keys 1 to 16, one word each.

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/controls.h"
#include "profile/profile_store.h"

namespace pelmora {

inline constexpr int kIndexSlots = 4096;
inline constexpr int kWordsPerGame = 16;
inline constexpr std::string_view kIndexSection = "games";
inline constexpr std::string_view kEndMarker = "none";
inline constexpr std::string_view kGamesMarker = "games";

// The 16 word boxes of the designer, Text(1) to Text(16); element 0 unused.
using WordBoxes = std::array<TextBox*, kWordsPerGame + 1>;

// Appends the names of the index to list, which the caller has cleared:
// blank slots are passed over, "none" ends the walk, and so does "games"
// when gamesStops.
void ListGames(ProfileStore& store, ListBox& list, bool gamesStops);

// The words of a game for play, from key 1 upward; the first blank, "none" or
// absent key ends the walk.
std::vector<std::string> ReadGameWords(ProfileStore& store, std::string_view section);

// Puts a game's words into the designer's boxes: box i gets key i, an empty
// value included; "none" (absent) or "games" ends the walk, and the boxes
// from there on keep their text.
void LoadWordBoxes(ProfileStore& store, std::string_view section, const WordBoxes& boxes);

// Writes the index slot and, for a name that isn't blank, the 16 word keys
// into the section named as typed. Each box is first brought into its stored
// form by storedForm (which puts the result back into the box); the value
// written is the box upper-cased.
void WriteGameEntry(ProfileStore& store, int slot, std::string_view name, const WordBoxes& boxes,
                    const std::function<std::string(std::string_view)>& storedForm);

// One pass over slots 1 to count that closes blank slots: each blank slot
// takes the value of the slot behind it, which is then blanked.
void CompactIndex(ProfileStore& store, int count);

}  // namespace pelmora
