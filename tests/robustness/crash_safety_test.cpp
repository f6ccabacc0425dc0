// A writer killed at random moments, again and again: after every kill the
// profile holds exactly the file of one whole round, newer than any the disk
// had already shown, and never a torn one.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "profile/profile_store.h"

namespace pelmora {
namespace {

// Round j alone through the real store and event door; or, given a pipe to
// tell, rounds from the one after the file's on, as a restarted program
// carries on from the file, until a kill: the first of them on disk is told.
void Write(const std::string& path, long j, int told = -1) {
  PosixFileSystem fs;
  ProfileStore store(path, fs);
  EventDoor door;
  door.Attach(store);
  if (told >= 0) door.Dispatch([&] { j = 1 + std::stol(store.ReadProfileValue("Crash", "Round", "0").text); });
  for (bool first = true;; first = false, ++j) {
    // One handler's writes: the same keys in the same order every round, so
    // the file after round j is the same however many rounds came before it.
    // Words change length, so the file's size changes too.
    door.Dispatch([&] {
      store.WriteProfileValue("Crash", "Round", std::to_string(j));
      for (int k = 0; k < 64; ++k)
        store.WriteProfileValue("Game" + std::to_string(k % 4), std::to_string(k),
                                std::string(1 + (j + k) % 13, 'A' + (j + k) % 26));
    });
    if (told < 0) return;
    if (first) (void)!::write(told, "w", 1);
  }
}

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(CrashSafety, AKilledWriterLeavesAWholeRound) {
  const std::string dir = std::filesystem::absolute("crash"), ini = dir + "/wsearch.ini", scratch = dir + "/scratch.ini";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  std::mt19937 rng(20261123);
  for (long kill = 0, last = 0; kill < 200; ++kill) {
    int told[2];
    ASSERT_EQ(::pipe(told), 0);
    const pid_t pid = ::fork();
    if (pid == 0) Write(ini, 0, told[1]);
    ::close(told[1]);
    char first = 0;
    ASSERT_EQ(::read(told[0], &first, 1), 1) << "the writer ended before its first round";
    ::close(told[0]);
    // A round takes a few milliseconds, most of it the disk's flush: kills
    // spread over twenty land at every step of a write.
    ::usleep(std::uniform_int_distribution<useconds_t>(0, 20000)(rng));
    ASSERT_EQ(::kill(pid, SIGKILL), 0);
    ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
    const std::string bytes = Bytes(ini);
    PosixFileSystem fs;
    const long round = std::stol(ProfileStore(ini, fs).ReadProfileValue("Crash", "Round", "0").text);
    ASSERT_GT(round, last) << "kill " << kill << ": a round the disk had shown went missing";
    std::filesystem::remove(scratch);
    Write(scratch, round);  // the same round made from nothing
    ASSERT_EQ(bytes, Bytes(scratch)) << "kill " << kill << ": a torn file";
    last = round;
  }
}

}  // namespace
}  // namespace pelmora
