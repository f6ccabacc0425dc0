// A writer killed at random moments, hundreds of times: after every kill the
// profile must hold exactly the state before or after one whole handler, and
// whatever the kill left beside it must not disturb the next start.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <set>
#include <string>

#include "tests/robustness/crash_rounds.h"
#include "tests/robustness/headless_program.h"

namespace pelmora::robustness {
namespace {

// The file as it stands after round j, made from nothing.
std::string ExpectedAfterRound(const std::string& scratchFolder, long j) {
  const std::string path = scratchFolder + "/wsearch.ini";
  ::unlink(path.c_str());
  {
    // No flushes: the expected files are made by the hundred, and no power
    // cut threatens them.
    UnflushedFileSystem fs;
    ProfileStore store(path, fs);
    EventDoor door;
    door.Attach(store);
    door.Dispatch([&] { WriteRound(store, j); });
  }
  return ReadFile(path).value_or("");
}

// Starts the writer and waits until it begins writing (or 10 s went by).
pid_t StartWriter(const std::string& ini) {
  int ready[2];
  if (::pipe(ready) != 0) return -1;
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(ready[1], STDOUT_FILENO);
    ::close(ready[0]);
    ::close(ready[1]);
    ::execl(PELMORA_CRASH_WRITER, PELMORA_CRASH_WRITER, ini.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ready[1]);
  pollfd wait{ready[0], POLLIN, 0};
  char signal = 0;
  if (::poll(&wait, 1, 10000) == 1) (void)!::read(ready[0], &signal, 1);
  ::close(ready[0]);
  return pid;
}

TEST(CrashSafety, KilledWriterLeavesAWholeStateAndAStartableFolder) {
  constexpr int kKills = 210;
  const std::string folder = FreshFolder("crash");
  const std::string scratch = FreshFolder("crash-scratch");
  const std::string ini = folder + "/wsearch.ini";
  std::mt19937 rng(20261123);
  // How long the writer's first round takes and how long a round takes after
  // it: a fresh process's first write (page faults, a cold disk, a busy
  // machine) can take many rounds' time, and kills that all land before it
  // would never let a round reach the disk. Kills are spread over the first
  // round twice over and two rounds more, so they land at every step of a
  // write, however slow the disk's flushes.
  long firstUs = 0;
  long roundUs = 0;
  {
    const std::string timing = scratch + "/timing.ini";
    const pid_t pid = StartWriter(timing);
    ASSERT_GT(pid, 0);
    const auto roundsDone = [&] {
      const std::string text = ParseIni(ReadFile(timing).value_or("")).Read("Crash", "Round", "0");
      return std::stol(text.empty() ? "0" : text);
    };
    const auto started = std::chrono::steady_clock::now();
    const auto since = [&] {
      return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started)
          .count();
    };
    while (roundsDone() == 0 && since() < 10000000) ::usleep(200);
    firstUs = since();
    ::usleep(200000);
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    roundUs = 200000 / std::max(1L, roundsDone());
  }
  long maxDelayUs = std::clamp(2 * firstUs + 2 * roundUs, 5000L, 400000L);

  long lastRound = 0;
  std::set<long> states;
  int kills = 0;
  for (int k = 0; k < kKills; ++k) {
    const pid_t pid = StartWriter(ini);
    ASSERT_GT(pid, 0);
    // A machine that slowed down since the timing: while no round has reached
    // the disk, every ten kills wait twice as long.
    if (lastRound == 0 && k > 0 && k % 10 == 0) maxDelayUs = std::min(2 * maxDelayUs, 2000000L);
    ::usleep(static_cast<useconds_t>(std::uniform_int_distribution<long>(0, maxDelayUs)(rng)));
    ASSERT_EQ(::kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    // The writer never stops by itself: anything but our kill is a crash.
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "kill " << k << ": the writer ended by itself, status " << status;
    ++kills;

    const auto bytes = ReadFile(ini);
    if (!bytes) {
      ASSERT_EQ(lastRound, 0) << "kill " << k << ": the file is gone after round " << lastRound;
      continue;
    }
    const IniView view = ParseIni(*bytes);
    ASSERT_TRUE(view.wellFormed) << "kill " << k << ": " << view.problem;
    const std::string roundText = view.Read("Crash", "Round", "");
    ASSERT_FALSE(roundText.empty()) << "kill " << k << ": a file with no round in it";
    const long round = std::stol(roundText);
    // A round the disk had acknowledged never goes missing.
    ASSERT_GE(round, lastRound) << "kill " << k;
    ASSERT_EQ(*bytes, ExpectedAfterRound(scratch, round)) << "kill " << k << ": torn file at round " << round;
    lastRound = round;
    states.insert(round);

    // A kill leaves at most one temporary behind, named so that nothing takes
    // it for the profile.
    const auto others = OtherFiles(folder, "wsearch.ini");
    ASSERT_LE(static_cast<int>(others.size()), kills);
    for (const std::string& name : others) {
      ASSERT_EQ(name.rfind(".wsearch.ini.tmp-", 0), 0u) << "an unexpected file " << name;
    }
  }
  ASSERT_GT(lastRound, 0) << "no round ever reached the disk: the kills came too early";
  EXPECT_GE(states.size(), 10u) << "the kills did not spread over the writes";

  // The next start with whatever the kills left beside the file: it reads
  // the last state, lists its games, and its own writes land whole.
  const auto leftovers = OtherFiles(folder, "wsearch.ini");
  HeadlessProgram next(ini, 1);
  next.Start();
  EXPECT_TRUE(next.failures.empty());
  EXPECT_EQ(next.F().List2.Items(), IndexNames(ParseIni(*ReadFile(ini)), false));
  next.Event([&] { WriteRound(next.store, lastRound + 1); });
  // The start adds settings of its own; every key of the round must be there.
  const IniView after = ParseIni(ReadFile(ini).value_or(""));
  const IniView expected = ParseIni(ExpectedAfterRound(scratch, lastRound + 1));
  EXPECT_TRUE(after.wellFormed) << after.problem;
  for (const auto& [section, keys] : expected.sections) {
    for (const auto& [key, value] : keys.keys) {
      EXPECT_EQ(after.Read(section, key, "(absent)"), value) << "[" << section << "] " << key;
    }
  }
  EXPECT_EQ(OtherFiles(folder, "wsearch.ini"), leftovers) << "the start touched the leftovers";

  std::printf("crash safety: %d kills, %zu distinct states seen, last round %ld, %zu temporaries left, "
              "a round takes about %ld us\n",
              kills, states.size(), lastRound, leftovers.size(), roundUs);
}

}  // namespace
}  // namespace pelmora::robustness
