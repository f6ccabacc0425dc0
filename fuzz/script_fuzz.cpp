// Any bytes as a pelmora-script script, run with no window on a profile of
// two games: whatever the script says, the run ends with one of its exit
// statuses, says why when it fails, and no sanitizer reports anything. A
// script is skipped when it could run for long: over 4 KiB or 200 lines, or
// more than a minute of `wait` (a tick of every timer each tenth), or a
// command in quotes, which could be a wait the bound can't read.

#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tools/pelmora-script/script_runner.h"

namespace {

std::string g_dir;

bool Bounded(const std::string& script) {
  std::istringstream lines(script);
  double waited = 0;
  int count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (++count > 200) return false;
    std::istringstream words(line);
    std::string command, argument;
    words >> command >> argument;
    if (!command.empty() && command.front() == '"') return false;
    if (command != "wait") continue;
    if (!argument.empty() && argument.front() == '"') return false;
    const double seconds = std::strtod(argument.c_str(), nullptr);
    if (seconds > 0) waited += seconds;
    if (waited > 60) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char folder[] = "/tmp/pelmora-fuzz-script-XXXXXX";
  if (!mkdtemp(folder)) std::abort();
  g_dir = folder;
  std::atexit([] { std::filesystem::remove_all(g_dir); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string script(reinterpret_cast<const char*>(data), size);
  if (size > 4096 || !Bounded(script)) return -1;
  const std::string ini = g_dir + "/wsearch.ini";
  std::ofstream(ini, std::ios::binary | std::ios::trunc)
      << "[Settings]\r\nTime=3.47222222222222E-04\r\nTitle=FRUIT\r\n[games]\r\n1=FRUIT\r\n2=TOOLS\r\n"
         "[FRUIT]\r\n1=APPLE\r\n2=PEAR\r\n[TOOLS]\r\n1=SAW\r\n2=AXE\r\n";
  std::ostringstream out, err;
  std::istringstream in(script);
  const int status = pelmora::ScriptRunner(ini, out, err).Run(in);
  if (status != 0 && status != 2 && status != 3) std::abort();
  if (status != 0 && err.str().find("pelmora-script: line ") == std::string::npos) std::abort();
  return 0;
}
