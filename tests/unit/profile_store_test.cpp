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
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include "platform/file_system.h"

namespace pelmora {
namespace {

using namespace std::string_literals;
namespace stdfs = std::filesystem;

// A folder of its own for each test, removed with everything in it.
struct TempDir {
  std::string path = [] {
    std::string pattern = (stdfs::temp_directory_path() / "pelmora-store-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    return pattern;
  }();
  ~TempDir() { stdfs::remove_all(path); }
  std::string File(const std::string& name = "wsearch.ini") const { return path + "/" + name; }
  std::set<std::string> Names(const std::string& sub = ".") const {
    std::set<std::string> names;
    for (const auto& e : stdfs::directory_iterator(File(sub))) names.insert(e.path().filename());
    return names;
  }
};

std::optional<std::string> Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void Spit(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

struct stat StatOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return st;
}

const std::string kLock = ".wsearch.ini.lock";

// The real file system without its flushes (for runs that test anything but
// a power cut), counting the files it puts in place and the flushes asked. With `frozen` set, its
// clock moves in ticks too coarse to tell two writes apart: a rewrite keeps
// the file's identity, and the clock stands still.
class TestFileSystem final : public PosixFileSystem {
 public:
  std::optional<FileIdentity> frozen;
  int replaced = 0, flushed = 0;
  FileIdentity Identify(const std::string& path) override { return frozen.value_or(PosixFileSystem::Identify(path)); }
  std::int64_t NowNs() override { return frozen ? frozen->changedNs : PosixFileSystem::NowNs(); }

 protected:
  bool Sync(int) override { return ++flushed; }
  bool SyncFolder(const std::string&) override { return ++flushed; }
  bool Rename(const std::string& from, const std::string& to) override {
    ++replaced;
    return PosixFileSystem::Rename(from, to);
  }
};

// Runs body in a child process of its own, which ends with body's verdict:
// a throw is a failure too, never a way back into the tests of the parent.
pid_t Fork(const std::function<bool()>& body) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit([&] { try { return body(); } catch (...) { return false; } }() ? 0 : 1);
  return pid;
}

bool Succeeded(pid_t pid) {
  int status = 1;
  return pid > 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Two processes add one to a shared count, again and again: before a wait
// for the player, in a handler of its own during the wait, and after it.
// Each addition reads and writes under the lock, so none is lost.
TEST(ProfileStoreTransactions, TwoProcessesWritingAtOnceLoseNothing) {
  TempDir dir;
  constexpr int kRounds = 100;
  const auto writer = [&] {
    TestFileSystem fs;
    ProfileStore store(dir.File(), fs);
    const auto addOne = [&] {
      const int count = std::stoi(store.ReadProfileValue("meta", "count", "0").text);
      store.WriteProfileValue("meta", "count", std::to_string(count + 1));
    };
    for (int i = 0; i < kRounds; ++i) {
      store.HandlerBegins(), addOne(), store.BeforeWait();
      store.HandlerBegins(), addOne(), store.HandlerEnds();
      store.AfterWait(), addOne(), store.HandlerEnds();
    }
    return true;
  };
  const pid_t a = Fork(writer), b = Fork(writer);
  ASSERT_TRUE(Succeeded(a) & Succeeded(b));  // not &&: both are waited for
  PosixFileSystem fs;
  EXPECT_EQ(ProfileStore(dir.File(), fs).ReadProfileValue("meta", "count", "0").text, std::to_string(2 * 3 * kRounds));
  EXPECT_EQ(dir.Names(), (std::set<std::string>{kLock, "wsearch.ini"}));
}

// A rewrite the file's identity doesn't show is found by its bytes. Also: a
// file longer than the pieces it is read and written in is compared and
// rewritten whole, and writing the value it holds leaves it alone.
TEST(ProfileStoreTransactions, ARewriteThatKeepsTheIdentityIsStillSeen) {
  TempDir dir;
  const std::string big = "[a]\r\n" + std::string(200000, '\n') + "x=1\r\n";
  Spit(dir.File(), big);
  TestFileSystem fs;
  fs.frozen = fs.Identify(dir.File());
  ProfileStore store(dir.File(), fs);
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");
  Spit(dir.File(), big.substr(0, big.size() - 3) + "2\r\n");
  store.HandlerBegins();
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "2");
  EXPECT_TRUE(store.WriteProfileValue("a", "x", "3"));
  store.HandlerEnds();
  EXPECT_EQ(Slurp(dir.File()), big.substr(0, big.size() - 3) + "3\r\n");
  EXPECT_TRUE(store.WriteProfileValue("a", "x", "3"));
  EXPECT_EQ(fs.replaced, 1);
  EXPECT_EQ(fs.flushed, 2);  // the new file, then its folder: a power cut brings back one file or the other
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
TEST(ProfileStoreFailure, AFailedSaveIsSeenThenUndoneAndAFileThatCantBeReadIsNeverWrittenOver) {
  TempDir dir;
  const std::string before = "[games]\r\n1=FRUIT\r\n";
  Spit(dir.File(), before);
  FaultInjectingFileSystem fs;
  ProfileStore store(dir.File(), fs);
  const std::string failed = "Pelmora could not save to " + dir.File() + ": ";
  fs.writeError = ENOSPC;
  store.HandlerBegins();
  store.WriteProfileValue("games", "2", "VEG");
  EXPECT_EQ(store.ReadProfileValue("games", "2", "none").text, "VEG");  // seen at once
  store.HandlerEnds();
  EXPECT_EQ(store.ReadProfileValue("games", "2", "none").text, "none");  // then undone
  EXPECT_EQ(dir.Names(), (std::set<std::string>{kLock, "wsearch.ini"}));  // no temporary left
  EXPECT_EQ(store.TakeFailure(), failed + "No space left on device");
  EXPECT_EQ(store.TakeFailure(), "");

  fs.writeError = 0;
  fs.readError = EIO;
  Spit(dir.File(), before + "[x]\r\n");
  store.HandlerBegins();
  EXPECT_EQ(store.ReadProfileValue("games", "1", "none").text, "none");
  EXPECT_FALSE(store.WriteProfileValue("games", "2", "NUT"));
  store.HandlerEnds();
  EXPECT_EQ(store.TakeFailure(), failed + "Input/output error");
  EXPECT_EQ(Slurp(dir.File()), before + "[x]\r\n");
  fs.readError = 0;
  EXPECT_EQ(store.ReadProfileValue("games", "1", "none").text, "FRUIT");

  // A file the player made read-only refuses at once: not even memory has it.
  ::chmod(dir.File().c_str(), 0444);
  store.HandlerBegins();
  EXPECT_FALSE(store.WriteProfileValue("games", "3", "NUT"));
  EXPECT_EQ(store.ReadProfileValue("games", "3", "none").text, "none");
  store.HandlerEnds();
  EXPECT_EQ(store.TakeFailure(), failed + "Permission denied");
}

// No crash, and no write over the file.
TEST(ProfileStoreFailure, TooLittleMemoryToReadIsAFileThatCantBeRead) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the address sanitizer's own shadow memory can't live under a memory limit";
#endif
  TempDir dir;
  const std::string head = "[games]\r\n1=FRUIT\r\n";
  Spit(dir.File(), head + std::string(64 << 20, '\n'));  // gone before the fork: the limit is the child's
  EXPECT_TRUE(Succeeded(Fork([&] {
    const rlimit limit{32 << 20, 32 << 20};
    ::setrlimit(RLIMIT_DATA, &limit);
    PosixFileSystem posix;
    ProfileStore starved(dir.File(), posix);
    return starved.ReadProfileValue("games", "1", "none").text == "none" &&
           !starved.WriteProfileValue("games", "1", "VEG") && starved.TakeFailure().ends_with(": Cannot allocate memory");
  })));
  EXPECT_EQ(StatOf(dir.File()).st_size, static_cast<off_t>(head.size() + (64 << 20)));
}

}  // namespace
}  // namespace pelmora
