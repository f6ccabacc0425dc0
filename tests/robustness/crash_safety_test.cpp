// A writer killed at random moments, again and again: after every kill the
// profile holds exactly the file of one whole round, never an older one than
// the disk had already shown, and never a torn one.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include "tests/robustness/crash_rounds.h"

namespace pelmora {
namespace {

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

// The file after round j, made from nothing by the same writes.
std::string AfterRound(const std::string& path, long j) {
  std::filesystem::remove(path);
  {
    PosixFileSystem fs;
    ProfileStore store(path, fs);
    EventDoor door;
    door.Attach(store);
    door.Dispatch([&] { WriteRound(store, j); });
  }
  return Bytes(path);
}

// Starts the writer; returns once its first round is on disk.
pid_t StartWriter(const std::string& ini) {
  int ready[2];
  if (::pipe(ready) != 0) return -1;
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(ready[1], STDOUT_FILENO);
    ::execl(PELMORA_CRASH_WRITER, PELMORA_CRASH_WRITER, ini.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ready[1]);
  pollfd wait{ready[0], POLLIN, 0};
  char signal = 0;
  if (::poll(&wait, 1, 30000) == 1) (void)!::read(ready[0], &signal, 1);
  ::close(ready[0]);
  return pid;
}

TEST(CrashSafety, AKilledWriterLeavesAWholeRound) {
  const std::string folder = std::filesystem::absolute("crash").string();
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder + "/scratch");
  const std::string ini = folder + "/wsearch.ini";
  std::mt19937 rng(20261123);
  long last = 0;
  std::set<long> rounds;
  for (int kill = 0; kill < 200; ++kill) {
    const pid_t pid = StartWriter(ini);
    ASSERT_GT(pid, 0);
    // A round takes a few milliseconds, most of it the disk's flush: kills
    // spread over twenty land at every step of a write.
    ::usleep(std::uniform_int_distribution<useconds_t>(0, 20000)(rng));
    ASSERT_EQ(::kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself, status " << status;

    const std::string bytes = Bytes(ini);
    PosixFileSystem fs;
    ProfileStore view(ini, fs);
    const long round = std::stol(view.ReadProfileValue("Crash", "Round", "0").text);
    ASSERT_GE(round, last) << "kill " << kill << ": a round the disk had shown went missing";
    ASSERT_EQ(bytes, AfterRound(folder + "/scratch/wsearch.ini", round)) << "kill " << kill << ": a torn file";
    last = round;
    rounds.insert(round);
  }
  EXPECT_GE(rounds.size(), 20u) << "the kills did not spread over the writes";
  std::printf("crash safety: 200 kills, %zu different rounds seen, the last %ld\n", rounds.size(), last);
}

}  // namespace
}  // namespace pelmora
