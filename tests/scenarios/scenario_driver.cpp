// Runs one .scenario file through pelmora-script, once for each front, and
// checks what each printed, how it ended and what it left in the profile;
// the fronts must also agree with each other byte for byte.
//
//   scenario_driver [--update] PELMORA_SCRIPT SCENARIO WORKDIR FRONT...
//
// A scenario file is made of sections, each opened by a line "=== NAME":
//   profile        the profile before the run; its lines end in CR LF
//   script         the script, as pelmora-script reads it
//   stdout         the expected standard output
//   profile-after  the expected profile, its lines ending in CR LF
//   exit N         the expected exit status (0 by default)
//   stderr       text the last line of standard error must contain
// In stdout and profile-after a line "..." stands for any lines, none
// included. In profile \r, \n, \t, \\ and \xHH stand for their bytes. The absolute path of the run's folder reads as $WORK in stdout.
// Lines before the first section say what the scenario is about.
//
// --update writes the first front's stdout, profile and exit status into the
// expected sections that don't match, for review in the diff.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

std::string ReadFile(const std::string& path, bool* ok = nullptr) {
  std::ifstream in(path, std::ios::binary);
  if (ok) *ok = static_cast<bool>(in);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '\\' || i + 1 >= s.size()) {
      out += s[i];
      continue;
    }
    const char e = s[++i];
    if (e == 'r') out += '\r';
    else if (e == 'n') out += '\n';
    else if (e == 't') out += '\t';
    else if (e == '\\') out += '\\';
    else if (e == 'x' && i + 2 < s.size()) {
      out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += '\\';
      out += e;
    }
  }
  return out;
}

std::vector<std::string> Split(const std::string& text, const std::string& eol) {
  std::vector<std::string> lines;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find(eol, at);
    if (end == std::string::npos) {
      lines.push_back(text.substr(at));
      break;
    }
    lines.push_back(text.substr(at, end - at));
    at = end + eol.size();
  }
  return lines;
}

// Whether lines match the pattern, in which "..." stands for any run of lines.
bool Matches(const std::vector<std::string>& pattern, std::size_t p, const std::vector<std::string>& lines,
             std::size_t l) {
  if (p == pattern.size()) return l == lines.size();
  if (pattern[p] == "...") {
    for (std::size_t k = l; k <= lines.size(); ++k)
      if (Matches(pattern, p + 1, lines, k)) return true;
    return false;
  }
  return l < lines.size() && pattern[p] == lines[l] && Matches(pattern, p + 1, lines, l + 1);
}

struct Section {
  std::string name;
  std::vector<std::string> lines;
};

struct Scenario {
  std::vector<std::string> prose;
  std::vector<Section> sections;
  const Section* Find(const std::string& name) const {
    for (const Section& s : sections)
      if (s.name == name) return &s;
    return nullptr;
  }
  std::string Joined(const std::string& name, const std::string& eol) const {
    std::string out;
    for (const std::string& line : Find(name)->lines) out += line + eol;
    return out;
  }
  int ExitStatus() const {
    for (const Section& s : sections)
      if (s.name.rfind("exit ", 0) == 0) return std::atoi(s.name.c_str() + 5);
    return 0;
  }
};

Scenario Parse(const std::string& text) {
  Scenario sc;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("=== ", 0) == 0) sc.sections.push_back({line.substr(4), {}});
    else if (sc.sections.empty()) sc.prose.push_back(line);
    else sc.sections.back().lines.push_back(line);
  }
  return sc;
}

std::string Write(const Scenario& sc) {
  std::string out;
  for (const std::string& line : sc.prose) out += line + "\n";
  for (const Section& s : sc.sections) {
    out += "=== " + s.name + "\n";
    for (const std::string& line : s.lines) out += line + "\n";
  }
  return out;
}

struct Run {
  int code = 0;
  std::string out, err, profile;
  bool profileExists = false;
};

// Runs the script through one front in a fresh folder of its own.
bool RunFront(const std::string& binary, const Scenario& sc, const std::string& dir, const std::string& front,
              Run& run) {
  std::system(("rm -rf '" + dir + "' && mkdir -p '" + dir + "'").c_str());
  char resolved[PATH_MAX];
  const std::string absolute = realpath(dir.c_str(), resolved) ? resolved : dir;
  if (sc.Find("profile")) std::ofstream(dir + "/wsearch.ini", std::ios::binary) << Unescape(sc.Joined("profile", "\r\n"));
  std::ofstream(dir + "/script.txt", std::ios::binary) << sc.Joined("script", "\n");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, (dir + "/script.txt").c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, (dir + "/stdout.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, (dir + "/stderr.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
  std::vector<std::string> args = {binary, "--front", front, "--ini", "wsearch.ini"};
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  const bool started = posix_spawn(&pid, binary.c_str(), &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!started) return false;
  int status = 0;
  waitpid(pid, &status, 0);
  run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  run.out = ReadFile(dir + "/stdout.txt");
  for (std::size_t at; (at = run.out.find(absolute)) != std::string::npos;) run.out.replace(at, absolute.size(), "$WORK");
  run.err = ReadFile(dir + "/stderr.txt");
  run.profile = ReadFile(dir + "/wsearch.ini", &run.profileExists);
  return true;
}

std::string Visible(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    if (c == '\r') out += "\\r";
    else if (c == '\n') out += "\\n\n";
    else if (c < 0x20 || c >= 0x7f) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else out += static_cast<char>(c);
  }
  return out;
}

// Every way the run falls short of the scenario, one line each, the first
// lines of a mismatch shown.
std::vector<std::string> Faults(const Scenario& sc, const Run& run) {
  std::vector<std::string> faults;
  if (run.code != sc.ExitStatus())
    faults.push_back("exit status " + std::to_string(run.code) + ", expected " + std::to_string(sc.ExitStatus()) +
                     "; stderr:\n" + run.err);
  if (sc.Find("stdout") && !Matches(sc.Find("stdout")->lines, 0, Split(run.out, "\n"), 0))
    faults.push_back("stdout does not match; it was:\n" + run.out);
  if (const Section* s = sc.Find("stderr")) {
    std::string last = run.err;
    while (!last.empty() && last.back() == '\n') last.pop_back();
    last = last.substr(last.rfind('\n') == std::string::npos ? 0 : last.rfind('\n') + 1);
    if (last.find(sc.Joined("stderr", "")) == std::string::npos || s->lines.empty())
      faults.push_back("last line of stderr: " + last);
  }
  if (sc.Find("profile-after") &&
      (!run.profileExists || !Matches(sc.Find("profile-after")->lines, 0, Split(run.profile, "\r\n"), 0)))
    faults.push_back("the profile does not match; it was:\n" + Visible(run.profile));
  return faults;
}

void Replace(Scenario& sc, const std::string& name, std::vector<std::string> lines) {
  for (Section& s : sc.sections)
    if (s.name == name) {
      s.lines = std::move(lines);
      return;
    }
  sc.sections.push_back({name, std::move(lines)});
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  const bool update = !args.empty() && args[0] == "--update";
  if (update) args.erase(args.begin());
  if (args.size() < 4) {
    std::cerr << "usage: scenario_driver [--update] PELMORA_SCRIPT SCENARIO WORKDIR FRONT...\n";
    return 2;
  }
  char resolved[PATH_MAX];
  const std::string binary = realpath(args[0].c_str(), resolved) ? resolved : args[0];
  const std::string path = args[1];
  const std::string work = args[2];
  const std::vector<std::string> fronts(args.begin() + 3, args.end());
  bool ok = false;
  Scenario sc = Parse(ReadFile(path, &ok));
  if (!ok || !sc.Find("script")) {
    std::cerr << "can't read a script from " << path << '\n';
    return 2;
  }

  std::vector<Run> runs(fronts.size());
  for (std::size_t i = 0; i < fronts.size(); ++i) {
    if (!RunFront(binary, sc, work + "/" + fronts[i], fronts[i], runs[i])) {
      std::cerr << "can't start " << binary << '\n';
      return 2;
    }
  }
  if (update) {
    const Run& run = runs[0];
    if (sc.Find("stdout") && !Matches(sc.Find("stdout")->lines, 0, Split(run.out, "\n"), 0))
      Replace(sc, "stdout", Split(run.out, "\n"));
    if (sc.Find("profile-after") && !Matches(sc.Find("profile-after")->lines, 0, Split(run.profile, "\r\n"), 0))
      Replace(sc, "profile-after", Split(run.profile, "\r\n"));
    bool exitSection = false;
    for (Section& s : sc.sections)
      if (s.name.rfind("exit ", 0) == 0) {
        s.name = "exit " + std::to_string(run.code);
        exitSection = true;
      }
    if (!exitSection && run.code != 0) sc.sections.push_back({"exit " + std::to_string(run.code), {}});
    std::ofstream(path, std::ios::binary) << Write(sc);
  }
  int failures = 0;
  for (std::size_t i = 0; i < fronts.size(); ++i) {
    for (const std::string& fault : Faults(sc, runs[i])) {
      std::cerr << "--- " << fronts[i] << ": " << fault << '\n';
      ++failures;
    }
  }
  for (std::size_t i = 1; i < runs.size(); ++i) {
    const Run& a = runs[0];
    const Run& b = runs[i];
    if (a.out == b.out && a.code == b.code && a.profile == b.profile && a.profileExists == b.profileExists) continue;
    const std::vector<std::string> la = Split(a.out, "\n"), lb = Split(b.out, "\n");
    std::size_t k = 0;
    while (k < la.size() && k < lb.size() && la[k] == lb[k]) ++k;
    std::cerr << "--- the fronts differ: " << fronts[0] << " and " << fronts[i] << " (exit " << a.code << " and "
              << b.code << ")\n";
    if (a.out != b.out)
      std::cerr << "first different line of stdout, " << k + 1 << ":\n  " << (k < la.size() ? la[k] : "(end)")
                << "\n  " << (k < lb.size() ? lb[k] : "(end)") << '\n';
    if (a.profile != b.profile) std::cerr << "the profiles differ\n";
    ++failures;
  }
  if (failures == 0) std::system(("rm -rf '" + work + "'").c_str());
  return failures == 0 ? 0 : 1;
}
