#pragma once
// The writes the crash test's writer makes, one round per handler. Every
// round writes the same keys in the same order, so the file after round j is
// the same whether it took one round or a thousand to get there: a test can
// make the expected file of any round from nothing.

#include <string>

#include "platform/text.h"
#include "profile/profile_store.h"

namespace pelmora {

inline void WriteRound(ProfileStore& store, long j) {
  store.WriteProfileValue("Crash", "Round", std::to_string(j));
  for (int g = 1; g <= 4; ++g) {
    const std::string name = "Game" + std::to_string(g);
    store.WriteProfileValue("games", std::to_string(g), UCase(name) + std::to_string(j % 7));
    for (int i = 1; i <= 16; ++i) {
      // Words change length from round to round, so the file's size does too.
      const auto length = static_cast<std::size_t>(1 + (j + i + g) % 13);
      store.WriteProfileValue(name, std::to_string(i), std::string(length, static_cast<char>('A' + (j + i) % 26)));
    }
  }
  store.WriteProfileValue("Settings", "Time", std::to_string(j) + ".5");
}

}  // namespace pelmora
