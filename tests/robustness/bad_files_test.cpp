// Hostile profiles and a hostile disk: whatever the file holds and whatever
// the disk refuses, the program starts, lists what it can read, deals, and a
// save either lands whole or leaves the old file exactly as it was.

#include <gtest/gtest.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <cstdio>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/text.h"
#include "tests/robustness/headless_program.h"

namespace pelmora::robustness {
namespace {

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The file as the store reads it: one that isn't UTF-8 is Latin-1.
IniView ReadAsStore(const std::string& bytes) {
  return ParseIni(IsValidUtf8(bytes) ? bytes : Latin1ToUtf8(bytes));
}

// What one whole run saw.
struct Outcome {
  std::vector<std::string> listed;               // the game list after start
  std::vector<std::string> designerAfterSave;    // the designer's list right after Save
  std::vector<std::string> fileAfterSave;        // what the index held at that moment
  std::vector<std::string> designerNextEvent;    // the designer's list after the next key in Text1
  std::vector<std::string> listedAfterDesigner;  // the game list once the designer closed
  std::string problem;                           // the first broken rule, if any
};

// Starts the program on ini, deals the first games of its list, and saves a
// game named Robust with the words PEAR and FIG in the designer.
Outcome StartDealAndSave(const std::string& ini) {
  Outcome run;
  HeadlessProgram p(ini, 5);
  auto note = [&run](const std::string& what) {
    if (run.problem.empty()) run.problem = what;
  };
  p.Start();
  run.listed = p.F().List2.Items();
  for (int row = 0; row < std::min(3, p.F().List2.ListCount()); ++row) {
    p.Select(p.F().List2, row);
    if (!BoardFull(p.F().Grid1)) note("the deal of line " + std::to_string(row) + " left the board unfilled");
    if (p.F().Play.WordCount != p.F().List1.ListCount()) note("WordCount disagrees with the word list");
    for (const std::string& w : p.F().List1.Items()) {
      if (FindWord(p.F().Grid1, w).empty()) note("the listed word \"" + w + "\" isn't on the board");
    }
  }
  Form2& d = p.D();
  p.modalSteps = {
      [&] { p.Erase(d.Text1); },
      [&] { p.TypeText(d.Text1, "Robust"); },
      [&] { p.Erase(*d.Text(1)); },
      [&] { p.TypeText(*d.Text(1), "pear"); },
      [&] { p.Erase(*d.Text(2)); },
      [&] { p.TypeText(*d.Text(2), "fig"); },
      [&] { p.Click(d.Command3); },
      [&] {
        run.designerAfterSave = d.List1.Items();
        run.fileAfterSave = IndexNames(ReadAsStore(ReadFile(ini).value_or("")), true);
      },
      // A key in the name box lists the games afresh.
      [&] { p.Type(d.Text1, "s"); },
      [&] { run.designerNextEvent = d.List1.Items(); },
  };
  p.Click(p.F().Command2);
  run.listedAfterDesigner = p.F().List2.Items();
  if (!p.failures.empty()) note("a handler threw: " + p.failures.front());
  if (p.runtime.MousePointer() != vbDefault) note("the busy pointer stayed on");
  return run;
}

// The checks for a save that must land: the game is in the file, whole.
void ExpectSaved(const std::string& ini, const Outcome& run) {
  const auto bytes = ReadFile(ini);
  ASSERT_TRUE(bytes.has_value());
  const IniView view = ReadAsStore(*bytes);
  const auto names = IndexNames(view, true);
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.front(), "ROBUST");
  EXPECT_EQ(GameWords(view, "ROBUST"), (std::vector<std::string>{"PEAR", "FIG"}));
  EXPECT_EQ(run.designerAfterSave, run.fileAfterSave);
  EXPECT_EQ(run.listedAfterDesigner, IndexNames(view, true));
}

// The checks for a save the disk refused: the old file, byte for byte, no
// temporary beside it, and lists that show what the file holds. A refusal
// known before the write (a read-only file) shows at once; one that only the
// end of the handler meets (a full disk) from the next event on.
void ExpectRefused(const std::string& folder, const std::string& before, const Outcome& run,
                   bool knownBeforeWriting) {
  EXPECT_EQ(ReadFile(folder + "/wsearch.ini").value_or("(none)"), before);
  EXPECT_EQ(OtherFiles(folder, "wsearch.ini"), std::vector<std::string>{});
  const auto index = IndexNames(ReadAsStore(before), true);
  if (knownBeforeWriting) {
    EXPECT_EQ(run.designerAfterSave, index) << "the designer lists a game the disk refused";
  }
  EXPECT_EQ(run.designerNextEvent, index) << "the designer still lists a game the disk refused";
  EXPECT_EQ(run.listedAfterDesigner, index);
}

const std::string kFruitFile =
    "[games]\r\n1=FRUIT\r\n2=VEG\r\n[Fruit]\r\n1=APPLE\r\n2=PEAR\r\n3=FIG\r\n"
    "[Veg]\r\n1=LEEK\r\n2=KALE\r\n3=BEAN\r\n[settings]\r\nVisible=1\r\nPractice=0\r\n";

std::string RandomBytes(unsigned seed, std::size_t size, bool withFragments) {
  static const std::vector<std::string> kFragments = {"[games]", "[", "]", "=", "\r", "\n", "\r\n", "1",
                                                      "2",       "PEAR", " ", "\"", "\x1a", std::string(1, '\0'),
                                                      "\xC3\xA9", "\xFF", "none", "games", "[PEAR]"};
  std::mt19937 rng(seed);
  std::string out;
  while (out.size() < size) {
    if (withFragments && rng() % 10 < 7) out += kFragments[rng() % kFragments.size()];
    else out += static_cast<char>(rng() % 256);
  }
  return out;
}

struct BadFile {
  const char* name;
  std::function<std::string()> make;
};

const std::vector<BadFile>& BadFileCases() {
  static const std::vector<BadFile> kFiles = {
      {"random bytes 1", [] { return RandomBytes(1, 65536, false); }},
      {"random bytes 2", [] { return RandomBytes(2, 65536, false); }},
      {"random fragments 1", [] { return RandomBytes(1, 65536, true); }},
      {"random fragments 2", [] { return RandomBytes(2, 65536, true); }},
      {"random fragments 3", [] { return RandomBytes(3, 65536, true); }},
      {"100000 games",
       [] {
         std::string big = "[games]\r\n";
         for (int n = 1; n <= 100000; ++n) big += std::to_string(n) + "=G" + std::to_string(n) + "\r\n";
         for (int n = 1; n <= 100000; ++n) {
           big += "[G" + std::to_string(n) + "]\r\n1=W" + std::to_string(n % 977) + "\r\n2=ZEBRA\r\n";
         }
         return big;
       }},
      {"lines of a megabyte",
       [] {
         const std::string mega(1 << 20, 'M');
         return "[games]\r\n1=" + mega + "\r\n2=PEAR\r\n" + mega + "\r\n[" + mega + "]\r\n1=" + mega +
                "\r\n[PEAR]\r\n1=PEAR\r\n2=" + mega + "\r\n3=APE\r\n";
       }},
      {"NUL bytes",
       [] { return std::string("[games]\r\n1=PE\0AR\r\n2=PLUM\r\n[PLUM]\r\n1=PL\0UM\r\n2=FIG\r\n\0\0\0", 50); }},
      {"only CR line ends",
       [] { return std::string("[games]\r1=PEAR\r2=FIG\r[PEAR]\r1=PEAR\r2=APE\r[FIG]\r1=FIG\r"); }},
      {"empty", [] { return std::string(); }},
      {"no line end at all", [] { return std::string("[games]"); }},
  };
  return kFiles;
}

class BadFiles : public ::testing::TestWithParam<int> {};

TEST_P(BadFiles, StartListDealAndSaveWhateverTheFileHolds) {
  {
    const BadFile& file = BadFileCases()[static_cast<std::size_t>(GetParam())];
    const std::string bytes = file.make();
    // A folder per file: CTest may run the files side by side.
    const std::string folder = FreshFolder("bad-file-" + std::to_string(GetParam()));
    const std::string ini = folder + "/wsearch.ini";
    WriteBytes(ini, bytes);
    const Outcome run = StartDealAndSave(ini);
    EXPECT_EQ(run.problem, "");
    EXPECT_EQ(run.listed, IndexNames(ReadAsStore(bytes), false));
    EXPECT_LE(run.listed.size(), 4096u);
    ExpectSaved(ini, run);
    // With no index of its own the file only grows at its end: every old
    // byte stays where it was.
    const IniView old = ReadAsStore(bytes);
    if (!old.HasSection("GAMES")) {
      EXPECT_TRUE(ReadFile(ini).value_or("").starts_with(bytes)) << "old bytes changed";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Files, BadFiles, ::testing::Range(0, static_cast<int>(BadFileCases().size())),
                         [](const ::testing::TestParamInfo<int>& param) {
                           std::string name;
                           for (char c : std::string(BadFileCases()[static_cast<std::size_t>(param.param)].name)) {
                             if (std::isalnum(static_cast<unsigned char>(c))) name += c;
                           }
                           return name;
                         });

// The lists of the known file, which every refused save must leave alone.
void ExpectFruitListed(const Outcome& run) {
  EXPECT_EQ(run.listed, (std::vector<std::string>{"FRUIT", "VEG"}));
  EXPECT_EQ(run.problem, "");
}

TEST(BadDisk, ReadOnlyFileIsListedDealtAndLeftAlone) {
  const std::string folder = FreshFolder("read-only");
  const std::string ini = folder + "/wsearch.ini";
  WriteBytes(ini, kFruitFile);
  ASSERT_EQ(::chmod(ini.c_str(), 0444), 0);
  const Outcome run = StartDealAndSave(ini);
  ExpectFruitListed(run);
  ExpectRefused(folder, kFruitFile, run, /*knownBeforeWriting=*/true);
}

// Locks a folder against new files: its mode for an ordinary user; for root,
// whom no mode stops, the immutable flag where the file system has one.
bool LockFolder(const std::string& folder, bool lock, std::string& why) {
  if (::geteuid() != 0) return ::chmod(folder.c_str(), lock ? 0555 : 0755) == 0;
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  int flags = 0;
  bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
  if (ok) {
    flags = lock ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    ok = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
  }
  if (!ok) why = std::string("running as root, and the immutable flag is refused: ") + std::strerror(errno);
  ::close(fd);
  return ok;
}

TEST(BadDisk, FolderThatCantBeWrittenLeavesTheFileAlone) {
  const std::string folder = FreshFolder("locked-folder");
  const std::string ini = folder + "/wsearch.ini";
  WriteBytes(ini, kFruitFile);
  std::string why;
  if (!LockFolder(folder, true, why)) GTEST_SKIP() << why;
  struct Unlock {
    std::string at;
    ~Unlock() {
      std::string ignored;
      LockFolder(at, false, ignored);
    }
  } unlock{folder};
  const std::string probe = folder + "/probe";
  const int fd = ::open(probe.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
  if (fd >= 0) {
    ::close(fd);
    ::unlink(probe.c_str());
    GTEST_SKIP() << "the locked folder still takes new files here";
  }
  const Outcome run = StartDealAndSave(ini);
  ExpectFruitListed(run);
  ExpectRefused(folder, kFruitFile, run, /*knownBeforeWriting=*/false);
}

TEST(BadDisk, FolderThatCantBeMadeMeansNoFileAndNoCrash) {
  // The profile's folder would have to be made where a plain file stands.
  const std::string folder = FreshFolder("blocked-folder");
  WriteBytes(folder + "/pelmora", "a file, not a folder");
  const std::string ini = folder + "/pelmora/wsearch.ini";
  const Outcome run = StartDealAndSave(ini);
  EXPECT_EQ(run.problem, "");
  EXPECT_EQ(run.listed, std::vector<std::string>{});
  EXPECT_EQ(run.designerNextEvent, std::vector<std::string>{});
  EXPECT_EQ(run.listedAfterDesigner, std::vector<std::string>{});
  EXPECT_EQ(ReadFile(folder + "/pelmora").value_or(""), "a file, not a folder");
  EXPECT_EQ(OtherFiles(folder, "pelmora"), std::vector<std::string>{});
}

TEST(BadDisk, FullDiskLeavesTheOldFileWhole) {
  // A full disk, played by a file size limit in a child process: every write
  // past the limit fails as a full disk's would.
  const std::string folder = FreshFolder("full-disk");
  const std::string ini = folder + "/wsearch.ini";
  WriteBytes(ini, kFruitFile);
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{64, 64};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(3);
    const Outcome run = StartDealAndSave(ini);
    const auto index = IndexNames(ReadAsStore(kFruitFile), true);
    int status = 0;
    if (!run.problem.empty()) status |= 1 << 1;
    if (run.listed != std::vector<std::string>{"FRUIT", "VEG"}) status |= 1 << 2;
    if (run.listedAfterDesigner != index || run.designerNextEvent != index) status |= 1 << 3;
    ::_exit(status == 0 ? 0 : 16 + status);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status)) << "the run on a full disk crashed (status " << status << ")";
  EXPECT_EQ(WEXITSTATUS(status), 0) << "bit 1: a broken rule; 2: the list at start; 3: the list afterwards";
  EXPECT_EQ(ReadFile(ini).value_or("(none)"), kFruitFile);
  EXPECT_EQ(OtherFiles(folder, "wsearch.ini"), std::vector<std::string>{});
}

TEST(BadDisk, FullTmpfsLeavesTheOldFileWhole) {
  // A real full disk: a small tmpfs, filled up. Mounting needs the right to
  // mount, which CI machines seldom give; the file size limit above stands
  // in for it there.
  const std::string folder = FreshFolder("full-tmpfs");
  if (::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "can't mount a tmpfs here (" << std::strerror(errno) << ")";
  }
  struct Unmount {
    std::string at;
    ~Unmount() { ::umount2(at.c_str(), MNT_DETACH); }
  } unmount{folder};
  const std::string ini = folder + "/wsearch.ini";
  WriteBytes(ini, kFruitFile);
  {
    // Everything else the disk holds goes to one filler file.
    std::ofstream filler(folder + "/filler", std::ios::binary);
    const std::string block(4096, 'x');
    for (int i = 0; i < 64 && filler.write(block.data(), static_cast<std::streamsize>(block.size())); ++i) {
      filler.flush();
    }
  }
  const Outcome run = StartDealAndSave(ini);
  ExpectFruitListed(run);
  EXPECT_EQ(ReadFile(ini).value_or("(none)"), kFruitFile);
  EXPECT_EQ(OtherFiles(folder, "wsearch.ini"), std::vector<std::string>{"filler"});
  const auto index = IndexNames(ReadAsStore(kFruitFile), true);
  EXPECT_EQ(run.designerNextEvent, index);
  EXPECT_EQ(run.listedAfterDesigner, index);
}

}  // namespace
}  // namespace pelmora::robustness
