#include "profile/game_library.h"

#include "platform/runtime_helpers.h"
#include "platform/text.h"

namespace pelmora {

void ListGames(ProfileStore& store, ListBox& list, bool gamesStops) {
  // The handler's writes go to disk first: when they can't, the store takes
  // the file as it is again, and the list shows what is really stored
  // rather than a game that never reached it.
  store.Flush();
  for (int n = 1; n <= kIndexSlots; ++n) {
    const ProfileValue v = store.ReadProfileValue(kIndexSection, Format(n), kEndMarker);
    if (v.length == 0) continue;
    if (v.text == kEndMarker) break;
    if (gamesStops && v.text == kGamesMarker) break;
    list.AddItem(v.text);
  }
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

void LoadWordBoxes(ProfileStore& store, std::string_view section, const WordBoxes& boxes) {
  for (int i = 1; i <= kWordsPerGame; ++i) {
    ProfileValue v = store.ReadProfileValue(section, Format(i), kEndMarker);
    if (v.text == kEndMarker || v.text == kGamesMarker) break;
    boxes[static_cast<std::size_t>(i)]->SetText(std::move(v.text));
  }
}

void WriteGameEntry(ProfileStore& store, int slot, std::string_view name, const WordBoxes& boxes,
                    const std::function<std::string(std::string_view)>& storedForm) {
  store.WriteProfileValue(kIndexSection, Format(slot), UCase(name));
  if (name.empty()) return;
  for (int i = 1; i <= kWordsPerGame; ++i) {
    TextBox& box = *boxes[static_cast<std::size_t>(i)];
    box.SetText(storedForm(box.Text()));
    store.WriteProfileValue(name, Format(i), UCase(box.Text()));
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

}  // namespace pelmora
