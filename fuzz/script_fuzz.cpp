// Any bytes as a pelmora-script script, run by the headless interpreter on a
// small profile with two games: whatever the script says, the interpreter
// ends with one of its exit statuses and no sanitizer report.
//
// The profile sits in a private folder made for the run (and removed at
// exit); no sheet renderer is set, so a print writes nothing. The input is
// bounded so that one run stays short: at most 4 KiB and 200 lines, and at
// most a minute of script time in `wait` (each 0.1 s is a tick of every
// timer). Scripts whose `wait` the bound can't read are skipped.

#include <stdlib.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/pelmora-script/script_runner.h"

namespace {

constexpr std::size_t kMaxBytes = 4096;
constexpr std::size_t kMaxLines = 200;
constexpr double kMaxWaitSeconds = 60;

constexpr std::string_view kProfile =
    "[Settings]\r\n"
    "Practice=0\r\n"
    "Visible=1\r\n"
    "Time=3.47222222222222E-04\r\n"
    "Title=FRUIT\r\n"
    "[games]\r\n"
    "1=FRUIT\r\n"
    "2=TOOLS\r\n"
    "[FRUIT]\r\n"
    "1=APPLE\r\n"
    "2=PEAR\r\n"
    "3=PLUM\r\n"
    "[TOOLS]\r\n"
    "1=SAW\r\n"
    "2=AXE\r\n"
    "3=HAMMER\r\n";

std::string g_dir;
std::string g_ini;

void RemoveDir() {
  std::error_code ec;
  if (!g_dir.empty()) std::filesystem::remove_all(g_dir, ec);
}

std::string MakePrivateDir() {
  // /dev/shm keeps the profile store's fsync cheap; any temp folder works.
  std::vector<std::string> bases{"/dev/shm"};
  if (const char* t = std::getenv("TMPDIR")) bases.emplace_back(t);
  bases.emplace_back("/tmp");
  for (const std::string& base : bases) {
    std::string templ = base + "/pelmora-fuzz-script-XXXXXX";
    if (mkdtemp(templ.data())) return templ;
  }
  std::fprintf(stderr, "can't make a temporary folder\n");
  std::abort();
}

// The words of a line as far as the bound needs them: split at blanks, and
// a word in quotes (JSON) comes back with its quote so the caller can tell.
std::vector<std::string_view> Words(std::string_view line, std::size_t most) {
  std::vector<std::string_view> out;
  std::size_t i = 0;
  while (out.size() < most) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i >= line.size()) break;
    const std::size_t start = i;
    while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
    out.push_back(line.substr(start, i - start));
  }
  return out;
}

// False when the script could run for long: too many lines, or more `wait`
// than the bound, or a command or a wait written so the bound can't read it.
bool Bounded(std::string_view script) {
  std::size_t lines = 0;
  double waited = 0;
  while (!script.empty()) {
    const std::size_t end = script.find('\n');
    std::string_view line = script.substr(0, end);
    script = end == std::string_view::npos ? std::string_view() : script.substr(end + 1);
    if (++lines > kMaxLines) return false;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const auto words = Words(line, 2);
    if (words.empty()) continue;
    if (words[0].front() == '"') return false;  // a command in quotes could be a wait
    if (words[0] != "wait" || words.size() < 2) continue;
    std::string_view arg = words[1];
    if (!arg.empty() && arg.front() == '+') arg.remove_prefix(1);
    double seconds = 0;
    const auto [p, ec] = std::from_chars(arg.data(), arg.data() + arg.size(), seconds);
    if (ec != std::errc() || p != arg.data() + arg.size()) {
      // Anything but a plain number: the interpreter refuses it, unless it is
      // a number in quotes, which the bound won't try to read.
      if (!arg.empty() && arg.front() == '"') return false;
      continue;
    }
    if (!std::isfinite(seconds)) continue;
    if (seconds > 0) waited += seconds;
    if (waited > kMaxWaitSeconds) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_dir = MakePrivateDir();
  g_ini = g_dir + "/wsearch.ini";
  std::atexit(RemoveDir);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMaxBytes) return -1;
  const std::string script(reinterpret_cast<const char*>(data), size);
  if (!Bounded(script)) return -1;

  {
    std::ofstream ini(g_ini, std::ios::binary | std::ios::trunc);
    ini.write(kProfile.data(), static_cast<std::streamsize>(kProfile.size()));
    if (!ini) {
      std::fprintf(stderr, "can't write the profile\n");
      std::abort();
    }
  }

  std::ostringstream out;
  std::ostringstream err;
  std::istringstream in(script);
  int status = 0;
  {
    pelmora::ScriptRunner runner(g_ini, out, err);
    status = runner.Run(in);
  }
  if (status != 0 && status != 2 && status != 3) {
    std::fprintf(stderr, "the interpreter ended with status %d\n", status);
    std::abort();
  }
  // A failing script says why on its last line of err.
  if (status != 0 && err.str().find("pelmora-script: line ") == std::string::npos) {
    std::fprintf(stderr, "status %d with no reason given\n", status);
    std::abort();
  }
  return 0;
}
