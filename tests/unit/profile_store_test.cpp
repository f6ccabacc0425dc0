#include "profile/profile_store.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/file_system.h"
#include "platform/text.h"
#include "profile/game_library.h"

namespace pelmora {
namespace {

using namespace std::string_literals;
namespace stdfs = std::filesystem;

class TempDir {
 public:
  TempDir() {
    std::string pattern = (stdfs::temp_directory_path() / "pelmora-store-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TempDir() { stdfs::remove_all(path_); }
  std::string File(const std::string& name = "wsearch.ini") const { return path_ + "/" + name; }
  std::set<std::string> Names(const std::string& sub = ".") const {
    std::set<std::string> names;
    for (const auto& e : stdfs::directory_iterator(File(sub))) names.insert(e.path().filename());
    return names;
  }

 private:
  std::string path_;
};

std::optional<std::string> Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

void Spit(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

struct stat StatOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return st;
}

std::string Repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

const std::string kLock = ".wsearch.ini.lock";

TEST(ProfileStoreRead, FollowsTheRulesOfHandEditedFiles) {
  struct Case {
    std::optional<std::string> file;
    std::string section, key, def, text;
  };
  const std::string x31 = Repeat("x", 31);
  std::vector<Case> cases = {
      {std::nullopt, "games", "1", "none", "none"},
      {"[a]\r\nk=1\r\n", "b", "k", "none", "none"},
      {"[a]\r\nk=\r\n", "a", "k", "none", ""},
      {"[a]\r\nk\r\nk=1\r\n", "a", "k", "none", "none"},  // a key with no = reads as absent, and hides the next
      {"[a]\r\nk=" + x31 + "y\r\n", "a", "k", "", x31},
      {"[a]\r\nk=" + Repeat("x", 30) + "é€\r\n", "a", "k", "", Repeat("x", 30) + "é"},
      {"[Fruitz]\r\nApplez=1\r\n", "FRUITZ", "appleZ", "none", "1"},
      {"[Été]\r\nÄpfel=1\r\n", "ÉTÉ", "äPFEL", "none", "1"},
      {"[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "x", "none", "1"},
      {"[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "y", "none", "none"},
      {"[a]\r\nx=1\r\nX=2\r\n", "a", "x", "none", "1"},
      {"[a]\n\r\n\r\rx=1\r\r\n\n\ny=2", "a", "y", "none", "2"},
      {"\xEF\xBB\xBF[a]\r\nx=1\r\n", "a", "x", "none", "1"},
      {"\t [a] \v\r\n\f x \x1a= \t v  w \x1a\v\r\n", " A\t", " X ", "none", "v  w"},
      {"[a]\r\n[b\r\nx=1\r\n", "a", "x", "none", "1"},  // [ with no ] is a line of the section before
      {"[a]\r\n[b=5\r\n", "a", "[b", "none", "5"},
      {"[a]b] c\r\nx=1\r\n", "a]b", "x", "none", "1"},
      {"[a]\r\nx = a=b \r\n", "a", "x", "none", "a=b"},
      {"[a]\r\n;x=1\r\nx=2\r\n", "a", ";x", "none", "1"},
      {"[a]\r\n;x=1\r\nx=2\r\n", "a", "x", "none", "2"},
      {"x=1\r\n[a]\r\ny=2\r\n", "a", "x", "none", "none"},
      {"[a]\r\nx=\"a b\"\r\n", "a", "x", "none", "a b"},
      {"[a]\r\nx='v\"\r\n", "a", "x", "none", "'v\""},
      {"[a]\r\nx=\"\r\n", "a", "x", "none", "\""},
      {"[a]\r\nx=''\r\n", "a", "x", "none", ""},
      {"[a]\r\nx=\"" + Repeat("y", 40) + "\"\r\n", "a", "x", "", Repeat("y", 31)},
      {std::nullopt, "a", "x", "\"a b\"  ", "a b"},
      {std::nullopt, "a", "x", "  x", "  x"},
      {"[a]\r\nx=caf\xE9\r\ny=\xC3\xA9\r\n", "a", "y", "none", "Ã©"},
      {"[\xC9t\xE9]\r\nx=1\r\n", "été", "X", "none", "1"},
      {"[a]\r\nx=1\0 2\r\n"s, "a", "x", "", "1\0 2"s},
  };
  // A section large enough to be searched by halves, with names out of order
  // and each name twice: the first one wins.
  std::string big = "[Big]\r\n";
  for (int i = 300; i >= 1; --i) big += "k" + std::to_string(i) + "=v" + std::to_string(i) + "\r\n";
  for (int i = 1; i <= 300; ++i) big += "K" + std::to_string(i) + "=late\r\n";
  for (const char* key : {"K1", "k150", "k300", "k7"}) cases.push_back({big, "big", key, "", "v"s + (key + 1)});
  cases.push_back({big, "big", "k301", "none", "none"});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file.value_or("(no file)").substr(0, 60) + " " + c.section + "/" + c.key);
    TempDir dir;
    if (c.file) Spit(dir.File(), *c.file);
    PosixFileSystem fs;
    ProfileStore store(dir.File(), fs);
    const ProfileValue v = store.ReadProfileValue(c.section, c.key, c.def);
    EXPECT_EQ(v.text, c.text);
    EXPECT_EQ(v.length, static_cast<int>(Len(c.text)));
  }
}

TEST(ProfileStoreWrite, ChangesOnlyTheLineItWrites) {
  struct Write {
    std::string section, key, value;
  };
  struct Case {
    std::optional<std::string> before;
    std::vector<Write> writes;
    std::string after;  // the same as before: not written at all
  };
  const std::vector<Case> cases = {
      {std::nullopt, {{"Setz", "Visible", "1"}, {"setZ", "Time", "0"}}, "[Setz]\r\nVisible=1\r\nTime=0\r\n"},
      {"[a]\r\nx=1\r\n\r\n[b]\r\ny=2\r\n", {{"a", "z", "3"}}, "[a]\r\nx=1\r\nz=3\r\n\r\n[b]\r\ny=2\r\n"},
      {"[a]\r\nx=1", {{"a", "y", "2"}, {"b", "k", "3"}, {"a", "z", "4"}}, "[a]\r\nx=1\r\ny=2\r\nz=4\r\n[b]\r\nk=3\r\n"},
      {"junk", {{"a", "x", "1"}}, "junk\r\n[a]\r\nx=1\r\n"},
      {"\xEF\xBB\xBF;c\n[a]\r  x = 1 \n#n\r\n\r\n y=2\r", {{"A", "X", "9"}}, "\xEF\xBB\xBF;c\n[a]\rx=9\n#n\r\n\r\n y=2\r"},
      {"\xEF\xBB\xBF[a]\r y=2\r\n\n[b]\r", {{"a", "z", "3"}}, "\xEF\xBB\xBF[a]\r y=2\r\nz=3\r\n\n[b]\r"},
      {"[Fruitz]\r\nApplez=1\r\n", {{"FRUITZ", "APPLEZ", "2"}, {"fruitz", "pear", "3"}}, "[Fruitz]\r\nApplez=2\r\npear=3\r\n"},
      {"[a]\r\nx=1\r\ny=2\r\n", {{"a", "x", ""}, {"a", "x", "5"}, {"a", "y", ""}}, "[a]\r\nx=5\r\ny=\r\n"},
      {"[a]\r\nx=1\r\n[b]\r\n[A]\r\ny=2\r\n", {{"a", "y", "3"}}, "[a]\r\nx=1\r\ny=3\r\n[b]\r\n[A]\r\ny=2\r\n"},
      {"[a]\r\n x \r\n", {{"a", "x", "1"}}, "[a]\r\nx=1\r\n"},
      {std::nullopt, {{" a ", "\tx ", "1\r\n[evil]\r\nk=v"}, {"a]b", "y", "1\0junk"s}}, "[a]\r\nx=1\r\n[a]b]\r\ny=1\r\n"},
      {"[a]\r\nx=é\r\n", {{"a", "y", "ü\xFC"}}, "[a]\r\nx=é\r\ny=üü\r\n"},
      {"[a]\r\nx=caf\xE9\r\n", {{"a", "y", "né"}}, "[a]\r\nx=caf\xE9\r\ny=n\xE9\r\n"},
      {"[a]\r\nx=caf\xE9\r\n", {{"a", "y", "€"}}, "[a]\r\nx=caf\xC3\xA9\r\ny=\xE2\x82\xAC\r\n"},
      {"[a]\r\nx=\xE9\r\n", {{"Été", "k", "€"}}, "[a]\r\nx=\xC3\xA9\r\n[\xC3\x89t\xC3\xA9]\r\nk=\xE2\x82\xAC\r\n"},
      // The Latin-1 bytes of "Ã©" are the UTF-8 of "é": left so, the file
      // would be read as UTF-8 next time.
      {"[a]\r\nx=\xE9\r\n", {{"a", "x", "Ã©"}}, "[a]\r\nx=\xC3\x83\xC2\xA9\r\n"},
      {"[a]\nx=\"abc\"\r\nlong=" + Repeat("L", 40) + "\rb=\r\n",
       {{"A", "X", "abc"}, {"a", "long", Repeat("L", 40)}, {"a", "b", ""}},
       "[a]\nx=\"abc\"\r\nlong=" + Repeat("L", 40) + "\rb=\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before.value_or("(no file)"));
    TempDir dir;
    if (c.before) Spit(dir.File(), *c.before);
    const ino_t inode = StatOf(dir.File()).st_ino;
    PosixFileSystem fs;
    ProfileStore store(dir.File(), fs);
    for (const Write& w : c.writes) EXPECT_TRUE(store.WriteProfileValue(w.section, w.key, w.value));
    EXPECT_EQ(Slurp(dir.File()), c.after);
    if (c.before == c.after) {
      EXPECT_EQ(StatOf(dir.File()).st_ino, inode);
    }
    // What memory holds is what the disk holds.
    ProfileStore fresh(dir.File(), fs);
    for (const Write& w : c.writes) {
      EXPECT_EQ(store.ReadProfileValue(w.section, w.key, "-").text, fresh.ReadProfileValue(w.section, w.key, "-").text);
    }
  }
  TempDir dir;
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  for (const auto& [section, key] : std::vector<std::pair<std::string, std::string>>{
           {" \t", "k"}, {"a", ""}, {"a", "k=v"}, {"a", "[k]"}, {"a\r\nb", "k"}, {"a", "k\nj"}}) {
    EXPECT_FALSE(store.WriteProfileValue(section, key, "1")) << section << "/" << key;
  }
  EXPECT_FALSE(Slurp(dir.File()).has_value());
  // A file longer than the pieces it is read and written in: its last key is
  // read, and a write keeps every byte before it.
  const std::string big = "[games]\r\n" + Repeat("x=" + std::string(98, 'y') + "\r\n", 2000) + "last=1\r\n";
  Spit(dir.File(), big);
  EXPECT_EQ(store.ReadProfileValue("games", "last", "").text, "1");
  store.WriteProfileValue("games", "last", "2");
  EXPECT_EQ(Slurp(dir.File()), big.substr(0, big.size() - 3) + "2\r\n");
}

// The real file system without its flushes: the same temporaries and
// renames, for a run that tests anything but a power cut.
class QuickFileSystem final : public PosixFileSystem {
 protected:
  bool Sync(int) override { return true; }
  bool SyncFolder(const std::string&) override { return true; }
};

// One process: random handlers, some of which wait for the player while
// others run. Each stretch of a handler that holds the lock counts itself
// in meta/seq and writes keys tagged with that count; the log says which.
void RunWriter(const std::string& path, unsigned seed, int who, const std::string& logPath) {
  QuickFileSystem fs;
  ProfileStore store(path, fs);
  std::mt19937 rng(seed);
  std::ofstream log(logPath);
  auto stretch = [&] {
    const int seq = std::stoi(store.ReadProfileValue("meta", "seq", "0").text) + 1;
    store.WriteProfileValue("meta", "seq", std::to_string(seq));
    for (int n = static_cast<int>(rng() % 3); n >= 0; --n) {
      const std::string s = "s" + std::to_string(rng() % 3), k = "k" + std::to_string(rng() % 6);
      const std::string v = std::to_string(seq) + "." + std::to_string(who) + "." + std::to_string(n);
      store.WriteProfileValue(s, k, v);
      log << seq << ' ' << s << ' ' << k << ' ' << v << '\n';
    }
  };
  std::function<void(int)> handler = [&](int depth) {
    store.HandlerBegins();
    stretch();
    if (depth < 2 && rng() % 3 == 0) {
      store.BeforeWait();
      for (int n = static_cast<int>(rng() % 3); n > 0; --n) handler(depth + 1);
      store.AfterWait();
      stretch();
    }
    store.HandlerEnds();
  };
  for (int i = 0; i < 60; ++i) handler(0);
}

TEST(ProfileStoreTransactions, TwoProcessesWritingAtOnceLoseNothing) {
  TempDir dir;
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::vector<pid_t> writers;
  for (int who = 0; who < 2; ++who) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      RunWriter(dir.File(), seed + who, who, dir.File("log" + std::to_string(who)));
      ::_exit(0);
    }
    writers.push_back(pid);
  }
  for (const pid_t pid : writers) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
  // The model: every stretch had the lock to itself, so the counts are 1 to
  // n with none twice, and each key holds the value of the last write to it.
  std::map<int, int> stretches;  // count -> writer
  std::map<std::pair<std::string, std::string>, std::string> last;
  std::map<std::pair<std::string, std::string>, int> lastSeq;
  for (int who = 0; who < 2; ++who) {
    std::ifstream log(dir.File("log" + std::to_string(who)));
    int seq = 0;
    std::string s, k, v;
    while (log >> seq >> s >> k >> v) {
      ASSERT_TRUE(stretches.emplace(seq, who).second || stretches[seq] == who) << "count " << seq << " twice";
      if (seq >= lastSeq[{s, k}]) last[{s, k}] = v, lastSeq[{s, k}] = seq;
    }
  }
  PosixFileSystem fs;
  ProfileStore fresh(dir.File(), fs);
  EXPECT_EQ(fresh.ReadProfileValue("meta", "seq", "0").text, std::to_string(stretches.size()));
  EXPECT_EQ(stretches.rbegin()->first, static_cast<int>(stretches.size()));
  for (const auto& [name, value] : last) EXPECT_EQ(fresh.ReadProfileValue(name.first, name.second, "-").text, value);
  EXPECT_EQ(dir.Names(), (std::set<std::string>{kLock, "log0", "log1", "wsearch.ini"}));
}

// A file system whose clock moves in ticks too coarse to tell two writes
// apart: a rewrite keeps the file's identity.
class CoarseClockFileSystem final : public PosixFileSystem {
 public:
  std::optional<FileIdentity> frozen;
  FileIdentity Identify(const std::string& path) override { return frozen.value_or(PosixFileSystem::Identify(path)); }
};

TEST(ProfileStoreTransactions, ARewriteThatKeepsTheIdentityIsStillSeen) {
  TempDir dir;
  Spit(dir.File(), "[a]\r\nx=1\r\n");
  CoarseClockFileSystem fs;
  ProfileStore store(dir.File(), fs);
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");
  fs.frozen = fs.Identify(dir.File());
  Spit(dir.File(), "[a]\r\nx=2\r\n");
  store.HandlerBegins();
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "2");
  store.HandlerEnds();
}

TEST(ProfileStoreTransactions, AHandlerHoldsTheLockAndWritesAtItsEndAndBeforeEachWait) {
  TempDir dir;
  const std::string file = dir.File("cfg/wsearch.ini");
  PosixFileSystem fs;
  ProfileStore store(file, fs);
  auto lockIsFree = [&] {
    const int handle = fs.Lock(file, std::chrono::milliseconds(0), false);
    fs.Unlock(handle);
    return handle >= 0;
  };
  store.HandlerBegins();  // no folder yet, so nothing to lock: the first write makes it
  store.WriteProfileValue("a", "x", "1");
  EXPECT_FALSE(Slurp(file).has_value());
  ProfileStore other(file, fs);
  other.WriteProfileValue("a", "o", "7");  // meanwhile: the flush makes the write again on this
  store.BeforeWait();
  EXPECT_EQ(Slurp(file), "[a]\r\no=7\r\nx=1\r\n");
  EXPECT_TRUE(lockIsFree());
  Spit(file, "[a]\r\nx=1\r\nh=9\r\n");  // a hand edit while the player is asked
  store.AfterWait();
  EXPECT_EQ(store.ReadProfileValue("a", "h", "none").text, "9");
  EXPECT_FALSE(lockIsFree());
  store.HandlerBegins();  // nested: the lock is already this store's
  store.WriteProfileValue("a", "y", "2");
  store.HandlerEnds();
  EXPECT_FALSE(lockIsFree());
  store.HandlerEnds();
  EXPECT_TRUE(lockIsFree());
  EXPECT_EQ(Slurp(file), "[a]\r\nx=1\r\nh=9\r\ny=2\r\n");

  for (const std::string& name : {".wsearch.ini.tmp-Ab12Cd"s, ".wsearch.ini.tmp-long-name"s, ".other.ini.tmp-Ab12Cd"s})
    Spit(dir.File("cfg/" + name), "x");
  EXPECT_EQ(store.RemoveLeftoverTemporaries(), 1);
  EXPECT_EQ(dir.Names("cfg"), (std::set<std::string>{kLock, ".other.ini.tmp-Ab12Cd", ".wsearch.ini.tmp-long-name",
                                                     "wsearch.ini"}));
}

TEST(ProfileStoreLink, WritesGoToTheLinkedFileWhichKeepsItsOwnerAndMode) {
  TempDir dir;
  stdfs::create_directory(dir.File("real"));
  const std::string target = dir.File("real/target.ini");
  Spit(target, "[a]\r\nx=1\r\n");
  ::chmod(target.c_str(), 0640);
  // Root gives the file away, as a run under sudo meets it.
  const bool root = ::geteuid() == 0;
  const uid_t owner = root ? 4321 : ::geteuid();
  const gid_t group = root ? 4322 : ::getegid();
  ASSERT_EQ(::chown(target.c_str(), owner, group), 0);
  stdfs::create_symlink("real/target.ini", dir.File("hop"));  // relative, in a chain
  stdfs::create_symlink(dir.File("hop"), dir.File());
  stdfs::create_symlink("made/new.ini", dir.File("dangling.ini"));
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  ASSERT_TRUE(store.WriteProfileValue("a", "y", "2"));
  EXPECT_TRUE(stdfs::is_symlink(dir.File()));
  EXPECT_EQ(Slurp(target), "[a]\r\nx=1\r\ny=2\r\n");
  EXPECT_EQ(StatOf(target).st_mode & 07777, 0640u);
  EXPECT_EQ(StatOf(target).st_uid, owner);
  EXPECT_EQ(StatOf(target).st_gid, group);
  EXPECT_EQ(dir.Names("real"), (std::set<std::string>{".target.ini.lock", "target.ini"}));
  ProfileStore dangling(dir.File("dangling.ini"), fs);
  ASSERT_TRUE(dangling.WriteProfileValue("a", "x", "1"));
  EXPECT_TRUE(stdfs::is_symlink(dir.File("dangling.ini")));
  EXPECT_EQ(Slurp(dir.File("made/new.ini")), "[a]\r\nx=1\r\n");
  EXPECT_EQ(StatOf(dir.File("made/new.ini")).st_mode & 07777, 0644u);
}

// A failed save told once, with the file as it was, is the scenario
// store_failures' business; here what only the store can show.
TEST(ProfileStoreFailure, AFailedSaveIsSeenAtOnceThenUndoneAndAReadOnlyFileRefuses) {
  TempDir dir;
  Spit(dir.File(), "[games]\r\n1=FRUIT\r\n");
  FaultInjectingFileSystem fs;
  ProfileStore store(dir.File(), fs);
  fs.writeError = ENOSPC;
  store.HandlerBegins();
  store.WriteProfileValue("games", "2", "VEG");
  EXPECT_EQ(store.ReadProfileValue("games", "2", "none").text, "VEG");  // seen at once
  store.HandlerEnds();
  EXPECT_EQ(store.ReadProfileValue("games", "2", "none").text, "none");  // then undone
  EXPECT_EQ(dir.Names(), (std::set<std::string>{kLock, "wsearch.ini"}));  // no temporary left
  EXPECT_FALSE(store.TakeFailure().empty());
  EXPECT_EQ(store.TakeFailure(), "");
  ::chmod(dir.File().c_str(), 0444);
  store.HandlerBegins();
  EXPECT_FALSE(store.WriteProfileValue("games", "3", "NUT"));
  EXPECT_EQ(store.ReadProfileValue("games", "3", "none").text, "none");
  store.HandlerEnds();
  EXPECT_EQ(store.TakeFailure(), "Pelmora could not save to " + dir.File() + ": Permission denied");
}

TEST(ProfileStoreFailure, AFileThatCantBeReadIsNeverWrittenOver) {
  TempDir dir;
  const std::string before = "[games]\r\n1=FRUIT\r\n";
  Spit(dir.File(), before);
  FaultInjectingFileSystem fs;
  fs.readError = EIO;
  ProfileStore store(dir.File(), fs);
  store.HandlerBegins();
  EXPECT_EQ(store.ReadProfileValue("games", "1", "none").text, "none");
  EXPECT_FALSE(store.WriteProfileValue("games", "1", "VEG"));
  EXPECT_FALSE(store.WriteProfileValue("games", "2", "NUT"));
  EXPECT_EQ(store.ReadProfileValue("games", "1", "none").text, "none");
  store.HandlerEnds();
  EXPECT_EQ(store.TakeFailure(), "Pelmora could not save to " + dir.File() + ": Input/output error");
  EXPECT_EQ(store.TakeFailure(), "");
  EXPECT_EQ(Slurp(dir.File()), before);
  fs.readError = 0;
  EXPECT_EQ(store.ReadProfileValue("games", "1", "none").text, "FRUIT");

  // Too little memory to read a large file is the same: no crash, no write.
  // (The address sanitizer's own shadow memory can't live under such a limit.)
#ifndef __SANITIZE_ADDRESS__
  Spit(dir.File(), "[games]\r\n1=FRUIT\r\n" + std::string(64 << 20, '\n'));
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    const rlimit limit{32 << 20, 32 << 20};
    ::setrlimit(RLIMIT_DATA, &limit);
    PosixFileSystem posix;
    ProfileStore starved(dir.File(), posix);
    const bool ok = starved.ReadProfileValue("games", "1", "none").text == "none" &&
                    !starved.WriteProfileValue("games", "1", "VEG") &&
                    starved.TakeFailure().ends_with(": Cannot allocate memory");
    ::_exit(ok ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  EXPECT_EQ(StatOf(dir.File()).st_size, static_cast<off_t>(before.size() + (64 << 20)));
#endif
}

}  // namespace
}  // namespace pelmora
