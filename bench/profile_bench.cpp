// The two costs of the profile store that the player can feel: a walk of a
// full game index (made at every key press in the designer's name box), and
// one durable write into a large profile.

#include <benchmark/benchmark.h>
#include <stdlib.h>

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

// A full index of 4096 games, each with a section of 16 words: about 1 MB.
void WriteFullProfile(const std::string& path) {
  std::string bytes = "[Settings]\r\nVisible=1\r\nPractice=0\r\n[games]\r\n";
  for (int g = 1; g <= kGames; ++g) bytes += std::to_string(g) + "=GAME" + std::to_string(g) + "\r\n";
  for (int g = 1; g <= kGames; ++g) {
    bytes += "[Game" + std::to_string(g) + "]\r\n";
    for (int w = 1; w <= kWords; ++w) bytes += std::to_string(w) + "=WORDNUMBER" + std::to_string(w) + "\r\n";
  }
  std::ofstream(path, std::ios::binary) << bytes;
}

// The walk of the game list: keys 1 to 4096 of "games", default "none",
// stopping at "none", inside one handler as the event door runs it.
void BM_IndexWalk(benchmark::State& state) {
  TempDir dir;
  WriteFullProfile(dir.File());
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

// One write that reaches the disk: the whole file replaced and flushed.
void BM_DurableWrite(benchmark::State& state) {
  TempDir dir;
  WriteFullProfile(dir.File());
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  store.ReadProfileValue("games", "1", "none");
  bool flip = false;
  for (auto _ : state) {
    flip = !flip;  // a different value each time, or the write changes nothing
    if (!store.WriteProfileValue("Game2048", "7", flip ? "CHANGED" : "WORDNUMBER7")) {
      state.SkipWithError("the write failed");
    }
  }
}
BENCHMARK(BM_DurableWrite)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Opening the store on the same profile: the first read parses the file.
void BM_FirstReadOfLargeProfile(benchmark::State& state) {
  TempDir dir;
  WriteFullProfile(dir.File());
  PosixFileSystem fs;
  for (auto _ : state) {
    ProfileStore store(dir.File(), fs);
    benchmark::DoNotOptimize(store.ReadProfileValue("Game4096", "16", "none"));
  }
}
BENCHMARK(BM_FirstReadOfLargeProfile)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
}  // namespace pelmora

BENCHMARK_MAIN();
