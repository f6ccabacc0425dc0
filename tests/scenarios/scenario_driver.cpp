// Runs one .scenario file through pelmora-script, once for each front, and
// checks what each printed, how it ended and what it left in the profile;
// the fronts must also agree with each other byte for byte.
//
//   scenario_driver PELMORA_SCRIPT SCENARIO WORKDIR FRONT...
//
// A scenario file is made of sections, each opened by a line "=== NAME":
//   profile        the profile before the run; its lines end in CR LF
//   script         the script, as pelmora-script reads it
//   stdout         the expected standard output
//   profile-after  the expected profile, its lines ending in CR LF
//   exit N         the expected exit status (0 by default)
//   stderr         text the last line of standard error must contain
// In stdout and profile-after a line "..." stands for any lines, none
// included. In profile \r, \n, \t, \\ and \xHH stand for their bytes. The
// absolute path of the run's folder reads as $WORK in stdout. Lines before
// the first section say what the scenario is about.

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char e = i + 1 < s.size() && s[i] == '\\' ? s[++i] : 0;
    if (!e) out += s[i];
    else if (e == 'x') out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16)), i += 2;
    else out += e == 'r' ? '\r' : e == 'n' ? '\n' : e == 't' ? '\t' : e;
  }
  return out;
}

Lines Split(const std::string& text, const std::string& eol) {
  Lines lines;
  for (std::size_t at = 0, end; at < text.size(); at = end + eol.size()) {
    end = text.find(eol, at);
    lines.push_back(text.substr(at, end - at));
    if (end == std::string::npos) break;
  }
  return lines;
}

// Whether lines match the pattern, in which "..." stands for any run of lines.
bool Matches(const Lines& pattern, std::size_t p, const Lines& lines, std::size_t l) {
  if (p == pattern.size()) return l == lines.size();
  if (pattern[p] == "...") {
    for (std::size_t k = l; k <= lines.size(); ++k)
      if (Matches(pattern, p + 1, lines, k)) return true;
    return false;
  }
  return l < lines.size() && pattern[p] == lines[l] && Matches(pattern, p + 1, lines, l + 1);
}

struct Scenario {
  std::vector<std::pair<std::string, Lines>> sections;
  Lines* Find(const std::string& name) {
    for (auto& [n, lines] : sections)
      if (n == name) return &lines;
    return nullptr;
  }
  std::string Joined(const std::string& name, const std::string& eol) {
    std::string out;
    for (const std::string& line : *Find(name)) out += line + eol;
    return out;
  }
  int ExitStatus() const {
    for (const auto& [n, lines] : sections)
      if (n.rfind("exit ", 0) == 0) return std::atoi(n.c_str() + 5);
    return 0;
  }
};

struct Run {
  int code = 0;
  std::string out, err, profile;
};

// Runs the script through one front in a fresh folder of its own.
Run RunFront(const std::string& binary, Scenario& sc, const std::string& dir, const std::string& front) {
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const std::string absolute = std::filesystem::canonical(dir).string();
  if (sc.Find("profile")) std::ofstream(dir + "/wsearch.ini", std::ios::binary) << Unescape(sc.Joined("profile", "\r\n"));
  std::ofstream(dir + "/script.txt", std::ios::binary) << sc.Joined("script", "\n");
  const int status = std::system(("cd '" + dir + "' && '" + binary + "' --front " + front +
                                  " --ini wsearch.ini <script.txt >stdout.txt 2>stderr.txt").c_str());
  Run run{WIFEXITED(status) ? WEXITSTATUS(status) : 128, ReadFile(dir + "/stdout.txt"), ReadFile(dir + "/stderr.txt"),
          ReadFile(dir + "/wsearch.ini")};
  for (std::size_t at; (at = run.out.find(absolute)) != std::string::npos;) run.out.replace(at, absolute.size(), "$WORK");
  return run;
}

// Every way the run falls short of the scenario.
Lines Faults(Scenario& sc, const Run& run) {
  Lines faults;
  if (run.code != sc.ExitStatus())
    faults.push_back("exit status " + std::to_string(run.code) + "; stderr:\n" + run.err);
  if (sc.Find("stdout") && !Matches(*sc.Find("stdout"), 0, Split(run.out, "\n"), 0))
    faults.push_back("stdout does not match; it was:\n" + run.out);
  if (sc.Find("stderr")) {
    const Lines err = Split(run.err, "\n");
    if (err.empty() || err.back().find(sc.Joined("stderr", "")) == std::string::npos)
      faults.push_back("stderr does not end as expected:\n" + run.err);
  }
  if (sc.Find("profile-after") && !Matches(*sc.Find("profile-after"), 0, Split(run.profile, "\r\n"), 0))
    faults.push_back("the profile does not match; it was:\n" + run.profile);
  return faults;
}

}  // namespace

int main(int argc, char** argv) {
  const Lines args(argv + 1, argv + argc);
  if (args.size() < 4) {
    std::cerr << "usage: scenario_driver PELMORA_SCRIPT SCENARIO WORKDIR FRONT...\n";
    return 2;
  }
  const std::string binary = std::filesystem::absolute(args[0]).string(), path = args[1], work = args[2];
  Scenario sc;
  std::istringstream text(ReadFile(path));
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("=== ", 0) == 0) sc.sections.push_back({line.substr(4), {}});
    else if (!sc.sections.empty()) sc.sections.back().second.push_back(line);
  }
  if (!sc.Find("script")) {
    std::cerr << "no script in " << path << '\n';
    return 2;
  }
  std::vector<Run> runs;
  for (std::size_t i = 3; i < args.size(); ++i) runs.push_back(RunFront(binary, sc, work + "/" + args[i], args[i]));
  int failures = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    for (const std::string& fault : Faults(sc, runs[i])) std::cerr << "--- " << args[i + 3] << ": " << fault << '\n';
    failures += static_cast<int>(Faults(sc, runs[i]).size());
    if (i > 0 && (runs[i].out != runs[0].out || runs[i].code != runs[0].code || runs[i].profile != runs[0].profile)) {
      std::cerr << "--- the fronts " << args[3] << " and " << args[i + 3] << " differ; " << args[i + 3] << " printed:\n"
                << runs[i].out << "and left the profile:\n" << runs[i].profile << '\n';
      ++failures;
    }
  }
  if (failures == 0) std::filesystem::remove_all(work);
  return failures == 0 ? 0 : 1;
}
