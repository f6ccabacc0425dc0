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
// In the profile sections \r, \n, \t, \\ and \xHH stand for their bytes.
// Lines before the first section are comments.

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, (work + "/script.txt").c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, (work + "/stdout.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, (work + "/stderr.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addchdir_np(&actions, work.c_str());
  std::vector<std::string> args = {binary, "--ini", "wsearch.ini"};
  std::vector<char*> argvChild;
  for (std::string& a : args) argvChild.push_back(a.data());
  argvChild.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawn(&pid, binary.c_str(), &actions, nullptr, argvChild.data(), environ) != 0) {
    std::cerr << "can't start " << binary << '\n';
    return 2;
  }
  int status = 0;
  waitpid(pid, &status, 0);
  posix_spawn_file_actions_destroy(&actions);

  int failures = 0;
  const std::string out = ReadFile(work + "/stdout.txt");
  const std::string err = ReadFile(work + "/stderr.txt");
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
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
  if (failures == 0) std::system(("rm -rf '" + work + "'").c_str());
  return failures == 0 ? 0 : 1;
}
