// Runs one .scenario file through the real pelmora-script binary and checks
// what it printed, how it ended and what it left in the profile.
//
// A scenario file is made of sections, each opened by a line "=== NAME":
//   profile      the profile before the run; its lines end in CR LF
//   profile-raw  the same, with no line ends added: write them as \r, \n
//   script       the script, as pelmora-script reads it
//   stdout       the expected standard output, line by line
//   profile-after / profile-after-raw   the expected profile, byte for byte
//   exit N       the expected exit status (0 by default)
//   stderr       text the last line of standard error must contain
//   files        names of files the run must have made, one a line
//   profile-at NAME   the expected profile, byte for byte, at the script's
//                line "#at NAME" (a comment to pelmora-script): the script up
//                to that line is run again on its own, from the same profile,
//                and the file it leaves is compared. Runs are deterministic,
//                so this is the file as the whole run had it at that line.
// In the profile sections \r, \n, \t, \\ and \xHH stand for their bytes.
// Lines before the first section are comments.

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include <cstdio>
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
    else if (e == 'x' && i + 2 < s.size() + 0) {
      out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += '\\';
      out += e;
    }
  }
  return out;
}

struct Scenario {
  std::map<std::string, std::vector<std::string>> sections;
  int exitStatus = 0;
  bool Has(const std::string& name) const { return sections.count(name) > 0; }
  std::string Joined(const std::string& name, const std::string& eol) const {
    std::string out;
    for (const std::string& line : sections.at(name)) out += line + eol;
    return out;
  }
};

Scenario Parse(const std::string& text) {
  Scenario sc;
  std::istringstream in(text);
  std::string line, current;
  while (std::getline(in, line)) {
    if (line.rfind("=== ", 0) == 0) {
      current = line.substr(4);
      if (current.rfind("exit ", 0) == 0) {
        sc.exitStatus = std::atoi(current.c_str() + 5);
        current.clear();
        continue;
      }
      sc.sections[current];
      continue;
    }
    if (!current.empty()) sc.sections[current].push_back(line);
  }
  return sc;
}

std::string Show(const std::string& bytes) {
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

struct RunResult {
  int code = 0;
  std::string out;
  std::string err;
};

// Runs the binary in dir on dir/wsearch.ini with dir/script.txt as its input.
bool RunIn(const std::string& binary, const std::string& dir, RunResult& result) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, (dir + "/script.txt").c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, (dir + "/stdout.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, (dir + "/stderr.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
  std::vector<std::string> args = {binary, "--ini", "wsearch.ini"};
  std::vector<char*> argvChild;
  for (std::string& a : args) argvChild.push_back(a.data());
  argvChild.push_back(nullptr);
  pid_t pid = 0;
  const bool started = posix_spawn(&pid, binary.c_str(), &actions, nullptr, argvChild.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!started) return false;
  int status = 0;
  waitpid(pid, &status, 0);
  result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = ReadFile(dir + "/stdout.txt");
  result.err = ReadFile(dir + "/stderr.txt");
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: scenario_driver PELMORA_SCRIPT SCENARIO WORKDIR\n";
    return 2;
  }
  char resolved[PATH_MAX];
  const std::string binary = realpath(argv[1], resolved) ? resolved : argv[1];
  const std::string scenarioPath = argv[2];
  const std::string work = argv[3];
  bool ok = false;
  const Scenario sc = Parse(ReadFile(scenarioPath, &ok));
  if (!ok || !sc.Has("script")) {
    std::cerr << "can't read a script from " << scenarioPath << '\n';
    return 2;
  }

  std::system(("rm -rf '" + work + "' && mkdir -p '" + work + "'").c_str());
  const std::string ini = work + "/wsearch.ini";
  if (sc.Has("profile") || sc.Has("profile-raw")) {
    const std::string bytes = sc.Has("profile") ? Unescape(sc.Joined("profile", "\r\n"))
                                                : Unescape(sc.Joined("profile-raw", ""));
    std::ofstream(ini, std::ios::binary) << bytes;
  }
  std::ofstream(work + "/script.txt", std::ios::binary) << sc.Joined("script", "\n");

  RunResult run;
  if (!RunIn(binary, work, run)) {
    std::cerr << "can't start " << binary << '\n';
    return 2;
  }

  int failures = 0;
  const std::string& out = run.out;
  const std::string& err = run.err;
  const int code = run.code;
  if (code != sc.exitStatus) {
    std::cerr << "exit status " << code << ", expected " << sc.exitStatus << "\nstderr:\n" << err;
    ++failures;
  }
  if (sc.Has("stdout")) {
    const std::string expected = sc.Joined("stdout", "\n");
    if (out != expected) {
      std::cerr << "--- stdout expected:\n" << expected << "--- stdout was:\n" << out << "---\n";
      ++failures;
    }
  }
  if (sc.Has("stderr")) {
    std::string last = err;
    while (!last.empty() && last.back() == '\n') last.pop_back();
    last = last.substr(last.rfind('\n') == std::string::npos ? 0 : last.rfind('\n') + 1);
    const std::string want = sc.Joined("stderr", "");
    if (last.find(want) == std::string::npos) {
      std::cerr << "last line of stderr: " << last << "\nexpected it to contain: " << want << '\n';
      ++failures;
    }
  }
  if (sc.Has("profile-after") || sc.Has("profile-after-raw")) {
    const std::string expected = sc.Has("profile-after")
                                     ? Unescape(sc.Joined("profile-after", "\r\n"))
                                     : Unescape(sc.Joined("profile-after-raw", ""));
    bool exists = false;
    const std::string actual = ReadFile(ini, &exists);
    if (!exists || actual != expected) {
      std::cerr << "--- profile expected:\n" << Show(expected) << "\n--- profile was"
                << (exists ? "" : " (no file)") << ":\n" << Show(actual) << "\n---\n";
      ++failures;
    }
  }
  if (sc.Has("files")) {
    for (const std::string& name : sc.sections.at("files")) {
      struct stat st {};
      if (name.empty()) continue;
      if (stat((work + "/" + name).c_str(), &st) != 0 || st.st_size == 0) {
        std::cerr << "the run made no file " << name << '\n';
        ++failures;
      }
    }
  }
  // Each "#at NAME" line: the script before it, run alone, must leave the
  // profile of section "profile-at NAME" and print the start of the whole
  // run's output.
  const std::vector<std::string>& script = sc.sections.at("script");
  int checkpoints = 0;
  for (std::size_t n = 0; n < script.size(); ++n) {
    if (script[n].rfind("#at ", 0) != 0) continue;
    const std::string name = script[n].substr(4);
    const std::string section = "profile-at " + name;
    if (!sc.Has(section)) {
      std::cerr << "no section \"" << section << "\" for the line \"" << script[n] << "\"\n";
      ++failures;
      continue;
    }
    const std::string dir = work + "/at" + std::to_string(++checkpoints);
    std::system(("mkdir -p '" + dir + "'").c_str());
    if (sc.Has("profile") || sc.Has("profile-raw")) {
      std::ofstream(dir + "/wsearch.ini", std::ios::binary)
          << (sc.Has("profile") ? Unescape(sc.Joined("profile", "\r\n"))
                                : Unescape(sc.Joined("profile-raw", "")));
    }
    std::string prefix;
    for (std::size_t k = 0; k < n; ++k) prefix += script[k] + "\n";
    std::ofstream(dir + "/script.txt", std::ios::binary) << prefix;
    RunResult part;
    if (!RunIn(binary, dir, part)) {
      std::cerr << "can't start " << binary << '\n';
      return 2;
    }
    if (part.code != 0) {
      std::cerr << "at " << name << ": exit status " << part.code << "\nstderr:\n" << part.err;
      ++failures;
    }
    if (sc.Has("stdout") && sc.Joined("stdout", "\n").rfind(part.out, 0) != 0) {
      std::cerr << "at " << name << ": the output so far is not the start of the expected output:\n"
                << part.out << "---\n";
      ++failures;
    }
    const std::string expected = Unescape(sc.Joined(section, "\r\n"));
    bool exists = false;
    const std::string actual = ReadFile(dir + "/wsearch.ini", &exists);
    if (!exists || actual != expected) {
      std::cerr << "--- profile at " << name << " expected:\n" << Show(expected) << "\n--- profile was"
                << (exists ? "" : " (no file)") << ":\n" << Show(actual) << "\n---\n";
      ++failures;
    }
  }
  for (const auto& [section, lines] : sc.sections) {
    if (section.rfind("profile-at ", 0) == 0 &&
        std::find(script.begin(), script.end(), "#at " + section.substr(11)) == script.end()) {
      std::cerr << "section \"" << section << "\" has no line \"#at " << section.substr(11)
                << "\" in the script\n";
      ++failures;
    }
  }

  if (failures == 0) std::system(("rm -rf '" + work + "'").c_str());
  return failures == 0 ? 0 : 1;
}
