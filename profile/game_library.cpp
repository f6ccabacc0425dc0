#include "profile/game_library.h"

#include "platform/runtime_helpers.h"
#include "platform/text.h"

namespace pelmora {

namespace {

// The sections the file keeps for itself, as a name upper-cased would meet them.
constexpr std::string_view kIndexUpper = "GAMES";
constexpr std::string_view kSettingsUpper = "SETTINGS";

}  // namespace

std::vector<std::string> ListGames(ProfileStore& store, bool gamesStops) {
  // The handler's writes go to disk first: when they can't, the store takes
  // the file as it is again, and the list shows what is really stored
  // rather than a game that never reached it.
  store.Flush();
  std::vector<std::string> names;
  for (int n = 1; n <= kIndexSlots; ++n) {
    ProfileValue v = store.ReadProfileValue(kIndexSection, Format(n), kEndMarker);
    if (v.length == 0) continue;
    if (v.text == kEndMarker) break;
    if (gamesStops && v.text == kGamesMarker) break;
    names.push_back(std::move(v.text));
  }
  return names;
}

std::vector<std::string> ReadGameWords(ProfileStore& store, std::string_view section) {
  std::vector<std::string> words;
  for (int i = 1; i <= kWordsPerGame; ++i) {
    ProfileValue v = store.ReadProfileValue(section, Format(i), kEndMarker);
    if (v.length == 0 || v.text == kEndMarker) break;
    words.push_back(std::move(v.text));
  }
  return words;
}

std::vector<std::string> LoadWordBoxes(ProfileStore& store, std::string_view section) {
  std::vector<std::string> boxes;
  for (int i = 1; i <= kWordsPerGame; ++i) {
    ProfileValue v = store.ReadProfileValue(section, Format(i), kEndMarker);
    if (v.text == kEndMarker || v.text == kGamesMarker) break;
    boxes.push_back(std::move(v.text));
  }
  return boxes;
}

void WriteGameEntry(ProfileStore& store, int slot, std::string_view name, const GameWords& words) {
  store.WriteProfileValue(kIndexSection, Format(slot), UCase(name));
  if (name.empty()) return;
  for (int i = 1; i <= kWordsPerGame; ++i) {
    store.WriteProfileValue(name, Format(i), UCase(words[static_cast<std::size_t>(i - 1)]));
  }
}

void CompactIndex(ProfileStore& store, int count) {
  for (int i = 1; i <= count; ++i) {
    if (store.ReadProfileValue(kIndexSection, Format(i), kEndMarker).length != 0) continue;
    // The buffer of slot i + 1 goes into slot i as it was read: an absent
    // slot gives "none", a blank one an empty value.
    const ProfileValue next = store.ReadProfileValue(kIndexSection, Format(i + 1), kEndMarker);
    store.WriteProfileValue(kIndexSection, Format(i), next.text);
    store.WriteProfileValue(kIndexSection, Format(i + 1), "");
  }
}

bool NameFileCannotHold(std::string_view name) {
  if (name.empty()) return false;
  const std::string upper = UCase(name);
  if (upper == kIndexUpper || upper == kSettingsUpper) return true;
  if (name.front() == ' ' || name.back() == ' ') return true;
  return name.size() >= 2 && name.front() == name.back() && (name.front() == '"' || name.front() == '\'');
}

std::string NormaliseWord(std::string_view word) {
  std::string out;
  for (const std::string& ch : Chars(word)) {
    const std::string upper = UCase(ch);
    if (upper.size() == 1 && upper[0] >= 'A' && upper[0] <= 'Z') out += ch;
  }
  return out;
}

}  // namespace pelmora
