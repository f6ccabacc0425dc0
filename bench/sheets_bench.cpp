// pelmora-sheets as a teacher runs it: the whole program, from its start to
// a finished PDF, run as a child process and timed on the wall clock, with
// its peak resident memory. A class set of 30 puzzles with their keys from
// a 16-word list; and 1,000 puzzles, without and with keys, whose memory
// stays close to what 30 need: each page goes to the file as it is made,
// and a key waits for the end of the run as its board's letters and the
// words' places, under a kilobyte.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

struct ToolRun {
  double seconds = 0;
  long peakKiB = 0;
  bool ok = false;
};

ToolRun RunTool(std::vector<std::string> args) {
  args.insert(args.begin(), PELMORA_SHEETS_TOOL);
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  // The progress line and any news go nowhere: only the run is measured.
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  ToolRun run;
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, argv[0], &quiet, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) == pid) {
      run.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      run.peakKiB = usage.ru_maxrss;
    }
  }
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  posix_spawn_file_actions_destroy(&quiet);
  return run;
}

// Sixteen words, as a full game holds.
std::filesystem::path WriteWordList(const std::filesystem::path& folder) {
  const std::filesystem::path path = folder / "spring.txt";
  std::ofstream out(path);
  for (const char* w : {"DAFFODIL", "TULIP", "CROCUS", "SNOWDROP", "BLUEBELL", "PRIMROSE", "BLOSSOM", "LAMB",
                        "NEST", "ROBIN", "CATKIN", "HYACINTH", "MEADOW", "BUD", "RAIN", "IRIS"})
    out << w << '\n';
  return path;
}

void Sheets(benchmark::State& state, int copies, bool answers) {
  char folderName[] = "/tmp/pelmora-sheets-bench-XXXXXX";
  if (mkdtemp(folderName) == nullptr) {
    state.SkipWithError("no temporary folder");
    return;
  }
  const std::filesystem::path folder = folderName;
  std::vector<std::string> args = {"--words", WriteWordList(folder).string(), "--copies",
                                   std::to_string(copies), "--seed", "7", "--paper", "a4", "-o", (folder / "class.pdf").string()};
  if (answers) args.push_back("--answers");
  long peakKiB = 0;
  for (auto _ : state) {
    const ToolRun run = RunTool(args);
    if (!run.ok) {
      state.SkipWithError("pelmora-sheets failed");
      break;
    }
    state.SetIterationTime(run.seconds);
    peakKiB = std::max(peakKiB, run.peakKiB);
  }
  state.counters["peak_rss_MiB"] = static_cast<double>(peakKiB) / 1024.0;
  state.counters["pdf_MiB"] =
      static_cast<double>(std::filesystem::file_size(folder / "class.pdf")) / (1024.0 * 1024.0);
  std::filesystem::remove_all(folder);
}

}  // namespace

BENCHMARK_CAPTURE(Sheets, class_of_30_with_keys, 30, true)
    ->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(Sheets, puzzles_1000, 1000, false)
    ->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(Sheets, puzzles_1000_with_keys, 1000, true)
    ->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

BENCHMARK_MAIN();
