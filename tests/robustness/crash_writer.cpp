// Writes rounds into the profile through the real store and the real event
// door, as fast as it can, until it is killed. It carries on from the round
// the file holds, as a restarted program carries on from the file, and says
// so once its first round is on disk.

#include <cstdio>
#include <string>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "profile/profile_store.h"
#include "tests/robustness/crash_rounds.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  pelmora::PosixFileSystem fs;
  pelmora::ProfileStore store(argv[1], fs);
  pelmora::EventDoor door;
  door.Attach(store);
  long round = 0;
  door.Dispatch([&] { round = std::stol(store.ReadProfileValue("Crash", "Round", "0").text); });
  for (bool told = false;; told = true) {
    ++round;
    door.Dispatch([&] { pelmora::WriteRound(store, round); });
    if (!told) {
      std::fputc('w', stdout);
      std::fflush(stdout);
    }
  }
}
