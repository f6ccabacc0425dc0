// The costs of the profile store that the player can feel: opening a profile
// (time and memory to the first read, for an ordinary profile and two large
// ones), a walk of a full game index (made at every key press in the
// designer's name box), and one durable write into an ordinary profile with
// the file's lock taken and given back, as every handler does.
//
// Peak memory is measured in a fresh process (this program run again with
// --first-read PATH), so that nothing this process did before counts: the
// child reports its resident set before opening the store and its peak after
// the first read, and the difference is the store's.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "platform/file_system.h"
#include "profile/profile_store.h"

namespace pelmora {
namespace {

constexpr int kGames = 4096;
constexpr int kWords = 16;
constexpr std::size_t kLarge = 50u << 20;

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "pelmora-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string File() const { return path_ + "/wsearch.ini"; }

 private:
  std::string path_;
};

void AppendGame(std::string& bytes, long g) {
  bytes += "[Game" + std::to_string(g) + "]\r\n";
  for (int w = 1; w <= kWords; ++w) bytes += std::to_string(w) + "=WORDNUMBER" + std::to_string(w) + "\r\n";
}

std::string Head() {
  std::string bytes = "[Settings]\r\nVisible=1\r\nPractice=0\r\n[games]\r\n";
  for (int g = 1; g <= kGames; ++g) bytes += std::to_string(g) + "=GAME" + std::to_string(g) + "\r\n";
  return bytes;
}

enum Kind { kOrdinary, kLargeGames, kEmptyLines };
const char* const kKindNames[] = {"1MB_games", "50MB_games", "50MB_empty_lines"};

// A full index of 4096 games, each with a section of 16 words (about 1 MB);
// the same with game sections up to 50 MB; or 50 MB of empty lines between
// the index and the games of an ordinary profile.
void WriteProfile(const std::string& path, Kind kind) {
  std::string bytes = Head();
  if (kind == kEmptyLines) {
    bytes.reserve(kLarge + (1u << 20));
    for (std::size_t i = 0; i < kLarge / 2; ++i) bytes += "\r\n";
  }
  long g = 1;
  for (; g <= kGames; ++g) AppendGame(bytes, g);
  if (kind == kLargeGames) {
    while (bytes.size() < kLarge) AppendGame(bytes, g++);
  }
  std::ofstream(path, std::ios::binary) << bytes;
}

long ResidentKb() {
  long pages = 0, resident = 0;
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(f);
  }
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

// In the child: open the store, make one read, print "before peak seconds".
int FirstReadInThisProcess(const char* path) {
  const long before = ResidentKb();
  const auto start = std::chrono::steady_clock::now();
  PosixFileSystem fs;
  ProfileStore store(path, fs);
  const ProfileValue v = store.ReadProfileValue("Game4096", "16", "none");
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("%ld %ld %.6f %s\n", before, usage.ru_maxrss, took.count(), v.text.c_str());
  return 0;
}

struct FirstRead {
  double extraBytes = 0;
  double seconds = 0;
  std::string value;
};

FirstRead FirstReadInFreshProcess(const std::string& path) {
  int out[2];
  if (::pipe(out) != 0) throw std::runtime_error("pipe failed");
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(out[1], STDOUT_FILENO);
    ::close(out[0]);
    ::execl("/proc/self/exe", "profile_bench", "--first-read", path.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(out[1]);
  std::string text;
  char buf[256];
  for (ssize_t n; (n = ::read(out[0], buf, sizeof buf)) > 0;) text.append(buf, static_cast<std::size_t>(n));
  ::close(out[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  long before = 0, peak = 0;
  double seconds = 0;
  char value[64] = {};
  if (std::sscanf(text.c_str(), "%ld %ld %lf %63s", &before, &peak, &seconds, value) != 4) {
    throw std::runtime_error("the child measured nothing");
  }
  return {static_cast<double>(peak - before) * 1024, seconds, value};
}

// Time to the first read, and the peak memory it took in a fresh process.
void BM_FirstRead(benchmark::State& state) {
  const Kind kind = static_cast<Kind>(state.range(0));
  state.SetLabel(kKindNames[kind]);
  TempDir dir;
  WriteProfile(dir.File(), kind);
  const double size = static_cast<double>(std::filesystem::file_size(dir.File()));
  PosixFileSystem fs;
  for (auto _ : state) {
    ProfileStore store(dir.File(), fs);
    benchmark::DoNotOptimize(store.ReadProfileValue("Game4096", "16", "none"));
  }
  const FirstRead fresh = FirstReadInFreshProcess(dir.File());
  if (fresh.value != "WORDNUMBER16") state.SkipWithError("the first read gave the wrong value");
  state.counters["file_MB"] = size / 1e6;
  state.counters["peak_MB"] = fresh.extraBytes / 1e6;
  state.counters["peak_per_file_byte"] = fresh.extraBytes / size;
  state.counters["fresh_first_read_ms"] = fresh.seconds * 1e3;
}
BENCHMARK(BM_FirstRead)->DenseRange(kOrdinary, kEmptyLines)->Unit(benchmark::kMillisecond)->Iterations(3);

// The walk of the game list: keys 1 to 4096 of "games", default "none",
// stopping at "none", inside one handler as the event door runs it.
void BM_IndexWalk(benchmark::State& state) {
  TempDir dir;
  WriteProfile(dir.File(), kOrdinary);
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  store.ReadProfileValue("games", "1", "none");  // the first parse is not part of a walk
  for (auto _ : state) {
    store.HandlerBegins();
    int listed = 0;
    for (int slot = 1; slot <= kGames; ++slot) {
      const ProfileValue v = store.ReadProfileValue("games", std::to_string(slot), "none");
      if (v.length == 0) continue;
      if (v.text == "none") break;
      ++listed;
    }
    store.HandlerEnds();
    if (listed != kGames) state.SkipWithError("the walk didn't list every game");
    benchmark::DoNotOptimize(listed);
  }
}
BENCHMARK(BM_IndexWalk)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

// One handler that writes one key into an ordinary profile: the lock taken
// (and the file looked at), the whole file replaced and flushed, the lock
// given back.
void BM_DurableWriteWithLock(benchmark::State& state) {
  TempDir dir;
  WriteProfile(dir.File(), kOrdinary);
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  store.ReadProfileValue("games", "1", "none");
  bool flip = false;
  for (auto _ : state) {
    flip = !flip;  // a different value each time, or the write changes nothing
    store.HandlerBegins();
    store.WriteProfileValue("Game2048", "7", flip ? "CHANGED" : "WORDNUMBER7");
    store.HandlerEnds();
    if (!store.TakeFailure().empty()) state.SkipWithError("the write failed");
  }
}
BENCHMARK(BM_DurableWriteWithLock)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
}  // namespace pelmora

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--first-read") == 0) return pelmora::FirstReadInThisProcess(argv[2]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
