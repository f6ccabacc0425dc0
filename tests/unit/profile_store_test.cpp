#include "profile/profile_store.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/file_system.h"
#include "platform/text.h"

namespace pelmora {
namespace {

using namespace std::string_literals;
namespace stdfs = std::filesystem;

// A private folder that is removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (stdfs::temp_directory_path() / "pelmora-store-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    stdfs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string File(const std::string& name = "wsearch.ini") const { return path_ + "/" + name; }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& e : stdfs::directory_iterator(path_)) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
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

void Spit(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

struct stat StatOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return st;
}

// The real file system, which can fail any step of a replacement or every
// read, skip the flushes (for speed), and counts what the store asks of it.
class FaultyFileSystem : public PosixFileSystem {
 public:
  enum class Step { kNone, kMakeFolder, kCreateTemporary, kWriteAll, kSync, kClose, kCopyMode, kRename, kSyncFolder };

  Step failAt = Step::kNone;
  bool failReads = false;
  bool skipSync = false;
  int identifies = 0;
  int reads = 0;
  int replacements = 0;

  FileIdentity Identify(const std::string& path) override {
    ++identifies;
    return PosixFileSystem::Identify(path);
  }
  std::optional<std::string> ReadAll(const std::string& path) override {
    ++reads;
    if (failReads) return std::nullopt;
    return PosixFileSystem::ReadAll(path);
  }

 protected:
  bool MakeFolder(const std::string& folder) override {
    return failAt != Step::kMakeFolder && PosixFileSystem::MakeFolder(folder);
  }
  int CreateTemporary(const std::string& folder, std::string& tempPath) override {
    return failAt == Step::kCreateTemporary ? -1 : PosixFileSystem::CreateTemporary(folder, tempPath);
  }
  bool WriteAll(int handle, std::string_view bytes) override {
    if (failAt != Step::kWriteAll) return PosixFileSystem::WriteAll(handle, bytes);
    PosixFileSystem::WriteAll(handle, bytes.substr(0, bytes.size() / 2));  // the disk filled up
    return false;
  }
  bool Sync(int handle) override {
    return failAt != Step::kSync && (skipSync || PosixFileSystem::Sync(handle));
  }
  bool Close(int handle) override {
    const bool closed = PosixFileSystem::Close(handle);
    return failAt != Step::kClose && closed;
  }
  bool CopyMode(const std::string& from, const std::string& to) override {
    return failAt != Step::kCopyMode && PosixFileSystem::CopyMode(from, to);
  }
  bool Rename(const std::string& from, const std::string& to) override {
    if (failAt == Step::kRename || !PosixFileSystem::Rename(from, to)) return false;
    ++replacements;
    return true;
  }
  bool SyncFolder(const std::string& folder) override {
    return failAt != Step::kSyncFolder && (skipSync || PosixFileSystem::SyncFolder(folder));
  }
};

std::string Repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

// ---------------------------------------------------------------------------
// Reading

struct ReadCase {
  const char* what;
  std::optional<std::string> file;
  std::string section, key, def;
  std::string text;
  int length;
};

TEST(ProfileStoreRead, FollowsTheRulesOfHandEditedFiles) {
  const std::string x31 = Repeat("x", 31);
  const std::vector<ReadCase> cases = {
      {"no file", std::nullopt, "games", "1", "none", "none", 4},
      {"no section", "[a]\r\nk=1\r\n", "b", "k", "none", "none", 4},
      {"no key", "[a]\r\nk=1\r\n", "a", "j", "none", "none", 4},
      {"blank value", "[a]\r\nk=\r\n", "a", "k", "none", "", 0},
      {"key with no = reads as absent", "[a]\r\nk\r\n", "a", "k", "none", "none", 4},
      {"a bare key hides a later one", "[a]\r\nk\r\nk=1\r\n", "a", "k", "none", "none", 4},
      {"31 characters", "[a]\r\nk=" + x31 + "\r\n", "a", "k", "", x31, 31},
      {"32 characters", "[a]\r\nk=" + x31 + "y\r\n", "a", "k", "", x31, 31},
      {"cut between characters", "[a]\r\nk=" + Repeat("x", 30) + "é€\r\n", "a", "k", "",
       Repeat("x", 30) + "é", 31},
      {"Cyrillic counted by character", "[a]\r\nk=" + Repeat("ж", 40), "a", "k", "", Repeat("ж", 31), 31},
      {"four-byte characters", "[a]\r\nk=" + Repeat("𝄞", 32), "a", "k", "", Repeat("𝄞", 31), 31},
      {"section case", "[Fruit]\r\nApple=1\r\n", "FRUIT", "apple", "none", "1", 1},
      {"key case", "[Fruit]\r\nApple=1\r\n", "fruit", "APPLE", "none", "1", 1},
      {"case of Latin letters", "[Été]\r\nÄpfel=1\r\n", "ÉTÉ", "äPFEL", "none", "1", 1},
      {"first section of a name", "[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "x", "none", "1", 1},
      {"later section not searched", "[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "y", "none", "none", 4},
      {"first key of a name", "[a]\r\nx=1\r\nX=2\r\n", "a", "x", "none", "1", 1},
      {"CR only", "[a]\rx=1\ry=2\r", "a", "y", "none", "2", 1},
      {"LF only", "[a]\nx=1\ny=2", "a", "y", "none", "2", 1},
      {"runs of line ends", "[a]\n\r\n\r\rx=1\r\r\n\n\ny=2", "a", "y", "none", "2", 1},
      {"LF CR", "[a]\n\rx=1", "a", "x", "none", "1", 1},
      {"byte-order mark", "\xEF\xBB\xBF[a]\r\nx=1\r\n", "a", "x", "none", "1", 1},
      {"blanks trimmed", "\t [a] \v\r\n\f x \x1a= \t v  w \x1a\v\r\n", "A", "X", "none", "v  w", 4},
      {"blanks inside the brackets", "[ a\t]\r\nx=1\r\n", "a", "x", "none", "1", 1},
      {"names asked for are trimmed", "[a]\r\nx=1\r\n", " a\t", " x ", "none", "1", 1},
      {"[ without ] belongs to the section before", "[a]\r\n[b\r\nx=1\r\n", "a", "x", "none", "1", 1},
      {"[ without ] heads nothing", "[a]\r\n[b\r\nx=1\r\n", "b", "x", "none", "none", 4},
      {"[ without ] is an entry", "[a]\r\n[b=5\r\n", "a", "[b", "none", "5", 1},
      {"name runs to the last ]", "[a]b] c\r\nx=1\r\n", "a]b", "x", "none", "1", 1},
      {"text after ] ignored", "[a] x=9\r\nx=1\r\n", "a", "x", "none", "1", 1},
      {"split at the first =", "[a]\r\nx = a=b \r\n", "a", "x", "none", "a=b", 3},
      {"; is no comment", "[a]\r\n;x=1\r\n", "a", ";x", "none", "1", 1},
      {"# is no comment", "[a]\r\n#x=1\r\nx=2\r\n", "a", "#x", "none", "1", 1},
      {"; line hides no key", "[a]\r\n;x=1\r\nx=2\r\n", "a", "x", "none", "2", 1},
      {"lines before the first head", "x=1\r\n[a]\r\ny=2\r\n", "a", "x", "none", "none", 4},
      {"empty section name", "[]\r\nx=1\r\n", "", "x", "none", "none", 4},
      {"double quotes", "[a]\r\nx=\"a b\"\r\n", "a", "x", "none", "a b", 3},
      {"single quotes", "[a]\r\nx='v'\r\n", "a", "x", "none", "v", 1},
      {"mismatched quotes kept", "[a]\r\nx=\"v'\r\n", "a", "x", "none", "\"v'", 3},
      {"a lone quote kept", "[a]\r\nx=\"\r\n", "a", "x", "none", "\"", 1},
      {"empty quotes", "[a]\r\nx=\"\"\r\n", "a", "x", "none", "", 0},
      {"quotes stripped before the cut", "[a]\r\nx=\"" + Repeat("y", 40) + "\"\r\n", "a", "x", "",
       Repeat("y", 31), 31},
      {"default loses trailing spaces", std::nullopt, "a", "x", "none  ", "none", 4},
      {"default loses quotes", std::nullopt, "a", "x", "'none'", "none", 4},
      {"default: spaces, then quotes", std::nullopt, "a", "x", "\"a b\"  ", "a b", 3},
      {"default keeps leading spaces", std::nullopt, "a", "x", "  x", "  x", 3},
      {"default cut", std::nullopt, "a", "x", Repeat("d", 40), Repeat("d", 31), 31},
      {"Latin-1 file", "[a]\r\nx=caf\xE9\r\n", "a", "x", "none", "café", 4},
      {"Latin-1 names and case", "[\xC9t\xE9]\r\nx=1\r\n", "été", "X", "none", "1", 1},
      {"Latin-1 cut", "[a]\r\nx=" + Repeat("\xE9", 40), "a", "x", "", Repeat("é", 31), 31},
      {"NUL in a value", "[a]\r\nx=1\0 2\r\n"s, "a", "x", "", "1\0 2"s, 4},
  };
  for (const ReadCase& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir dir;
    if (c.file) Spit(dir.File(), *c.file);
    PosixFileSystem fs;
    ProfileStore store(dir.File(), fs);
    const ProfileValue v = store.ReadProfileValue(c.section, c.key, c.def);
    EXPECT_EQ(v.text, c.text);
    EXPECT_EQ(v.length, c.length);
  }
}

// ---------------------------------------------------------------------------
// Writing

struct Write {
  std::string section, key, value;
};

struct WriteCase {
  const char* what;
  std::optional<std::string> before;
  std::vector<Write> writes;
  std::string after;
};

TEST(ProfileStoreWrite, ChangesOnlyTheLineItWrites) {
  const std::vector<WriteCase> cases = {
      {"first write makes the file", std::nullopt, {{"Settings", "Visible", "1"}},
       "[Settings]\r\nVisible=1\r\n"},
      {"another case reuses the head", std::nullopt, {{"Settings", "Visible", "1"}, {"settings", "Time", "0"}},
       "[Settings]\r\nVisible=1\r\nTime=0\r\n"},
      {"new key after the last entry", "[a]\r\nx=1\r\n\r\n[b]\r\ny=2\r\n", {{"a", "z", "3"}},
       "[a]\r\nx=1\r\nz=3\r\n\r\n[b]\r\ny=2\r\n"},
      {"new section at the end", "[a]\r\nx=1\r\n", {{"b", "y", "2"}}, "[a]\r\nx=1\r\n[b]\r\ny=2\r\n"},
      {"no final break, new key", "[a]\r\nx=1", {{"a", "y", "2"}}, "[a]\r\nx=1\r\ny=2\r\n"},
      {"no final break, new section", "[a]\r\nx=1", {{"b", "y", "2"}}, "[a]\r\nx=1\r\n[b]\r\ny=2\r\n"},
      {"head alone at the end", "[a]", {{"a", "x", "1"}}, "[a]\r\nx=1\r\n"},
      {"in place among odd bytes", "\xEF\xBB\xBF;c\n[a]\r  x = 1 \n#note\r\n\r\n y=2\r", {{"A", "X", "9"}},
       "\xEF\xBB\xBF;c\n[a]\rx=9\n#note\r\n\r\n y=2\r"},
      {"added among odd bytes", "\xEF\xBB\xBF;c\n[a]\r  x = 1 \n#note\r\n\r\n y=2\r\n\n[b]\r",
       {{"a", "z", "3"}}, "\xEF\xBB\xBF;c\n[a]\r  x = 1 \n#note\r\n\r\n y=2\r\nz=3\r\n\n[b]\r"},
      {"spelling of head and key kept", "[Fruit]\r\nApple=1\r\n", {{"FRUIT", "APPLE", "2"}, {"fruit", "pear", "3"}},
       "[Fruit]\r\nApple=2\r\npear=3\r\n"},
      {"empty value blanks the key", "[a]\r\nx=1\r\ny=2\r\n", {{"a", "x", ""}}, "[a]\r\nx=\r\ny=2\r\n"},
      {"a blanked key is written again in place", "[a]\r\nx=1\r\ny=2\r\n", {{"a", "x", ""}, {"a", "x", "5"}},
       "[a]\r\nx=5\r\ny=2\r\n"},
      {"key goes to the first section of a name", "[a]\r\nx=1\r\n[b]\r\n[A]\r\ny=2\r\n", {{"a", "y", "3"}},
       "[a]\r\nx=1\r\ny=3\r\n[b]\r\n[A]\r\ny=2\r\n"},
      {"empty section", "[a]\r\n\r\n[b]\r\n", {{"a", "x", "1"}}, "[a]\r\nx=1\r\n\r\n[b]\r\n"},
      {"a line break ends the value", std::nullopt, {{"a", "x", "1\r\n[evil]\r\nk=v"}}, "[a]\r\nx=1\r\n"},
      {"a NUL ends the value", std::nullopt, {{"a", "x", "1\0junk"s}}, "[a]\r\nx=1\r\n"},
      {"a bare key takes its value in place", "[a]\r\n x \r\n", {{"a", "x", "1"}}, "[a]\r\nx=1\r\n"},
      {"text before any section", "junk", {{"a", "x", "1"}}, "junk\r\n[a]\r\nx=1\r\n"},
      {"names are trimmed", std::nullopt, {{" a ", "\tx ", "1"}}, "[a]\r\nx=1\r\n"},
      {"] in a section name", std::nullopt, {{"a]b", "x", "1"}}, "[a]b]\r\nx=1\r\n"},
      {"UTF-8 stays UTF-8", "[a]\r\nx=é\r\n", {{"a", "y", "ü"}}, "[a]\r\nx=é\r\ny=ü\r\n"},
      {"Latin-1 file, Latin-1 line", "[a]\r\nx=caf\xE9\r\n", {{"a", "y", "né"}},
       "[a]\r\nx=caf\xE9\r\ny=n\xE9\r\n"},
      {"Latin-1 file turns UTF-8", "[a]\r\nx=caf\xE9\r\n", {{"a", "y", "€"}},
       "[a]\r\nx=caf\xC3\xA9\r\ny=\xE2\x82\xAC\r\n"},
      {"new section turns the file UTF-8", "[a]\r\nx=\xE9\r\n", {{"Été", "k", "€"}},
       "[a]\r\nx=\xC3\xA9\r\n[\xC3\x89t\xC3\xA9]\r\nk=\xE2\x82\xAC\r\n"},
      // The Latin-1 bytes of "Ã©" are the UTF-8 of "é": left so, the file
      // would be read as UTF-8 next time.
      {"last Latin-1 line rewritten", "[a]\r\nx=\xE9\r\n", {{"a", "x", "Ã©"}}, "[a]\r\nx=\xC3\x83\xC2\xA9\r\n"},
  };
  for (const WriteCase& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir dir;
    if (c.before) Spit(dir.File(), *c.before);
    PosixFileSystem fs;
    ProfileStore store(dir.File(), fs);
    for (const Write& w : c.writes) EXPECT_TRUE(store.WriteProfileValue(w.section, w.key, w.value));
    EXPECT_EQ(Slurp(dir.File()), c.after);

    // Each key reads back its last value, cut at the line break, in this
    // store and in a fresh one.
    ProfileStore fresh(dir.File(), fs);
    for (const Write& w : c.writes) {
      const std::string expected = w.value.substr(0, w.value.find_first_of("\r\n\0"s));
      const Write* last = &w;
      for (const Write& later : c.writes) {
        if (EqualsIgnoringCase(later.section, w.section) && EqualsIgnoringCase(later.key, w.key)) last = &later;
      }
      if (last != &w) continue;
      EXPECT_EQ(store.ReadProfileValue(w.section, w.key, "none").text, expected);
      EXPECT_EQ(fresh.ReadProfileValue(w.section, w.key, "none").text, expected);
    }
  }
}

TEST(ProfileStoreWrite, RefusesNamesTheFileCannotHold) {
  TempDir dir;
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  for (const auto& [section, key] : std::vector<std::pair<std::string, std::string>>{
           {"", "k"}, {" \t", "k"}, {"a", ""}, {"a", "k=v"}, {"a", "[k]"}, {"a", "[k"}, {"a\r\nb", "k"},
           {"a", "k\nj"}}) {
    EXPECT_FALSE(store.WriteProfileValue(section, key, "1")) << section << "/" << key;
  }
  EXPECT_FALSE(Slurp(dir.File()).has_value());
}

TEST(ProfileStoreWrite, BlankNoneAndAbsentKeysReadApart) {
  TempDir dir;
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);
  store.WriteProfileValue("games", "1", "FRUIT");
  store.WriteProfileValue("games", "2", "");
  store.WriteProfileValue("games", "3", "none");
  const std::vector<std::tuple<std::string, std::string, int>> expected = {
      {"1", "FRUIT", 5}, {"2", "", 0}, {"3", "none", 4}, {"4", "none", 4}};
  ProfileStore fresh(dir.File(), fs);
  for (ProfileStore* s : {&store, &fresh}) {
    for (const auto& [key, text, length] : expected) {
      const ProfileValue v = s->ReadProfileValue("games", key, "none");
      EXPECT_EQ(v.text, text) << key;
      EXPECT_EQ(v.length, length) << key;
    }
  }
  EXPECT_EQ(Slurp(dir.File()), "[games]\r\n1=FRUIT\r\n2=\r\n3=none\r\n");
}

TEST(ProfileStoreWrite, TheValueAlreadyStoredLeavesTheFileAlone) {
  TempDir dir;
  const std::string long40 = Repeat("L", 40);
  const std::string bytes = "[a]\nx=\"abc\"\r\nlong=" + long40 + "\rb=\r\n";
  Spit(dir.File(), bytes);
  const struct stat before = StatOf(dir.File());
  FaultyFileSystem fs;
  ProfileStore store(dir.File(), fs);
  EXPECT_TRUE(store.WriteProfileValue("A", "X", "abc"));     // as read: quotes gone
  EXPECT_TRUE(store.WriteProfileValue("a", "long", long40));  // as read, but uncut
  EXPECT_TRUE(store.WriteProfileValue("a", "b", ""));
  EXPECT_EQ(fs.replacements, 0);
  const struct stat after = StatOf(dir.File());
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
  EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
  EXPECT_EQ(Slurp(dir.File()), bytes);

  // What a read gives back is not the stored value when it was cut.
  EXPECT_TRUE(store.WriteProfileValue("a", "long", store.ReadProfileValue("a", "long", "").text));
  EXPECT_EQ(fs.replacements, 1);
  EXPECT_EQ(Slurp(dir.File()), "[a]\nx=\"abc\"\r\nlong=" + Repeat("L", 31) + "\rb=\r\n");
}

TEST(FileSystemReplace, KeepsTheModeOfTheFileAndMakesNewFilesReadable) {
  TempDir dir;
  PosixFileSystem fs;
  ASSERT_TRUE(fs.ReplaceAtomically(dir.File("new.ini"), "x"));
  EXPECT_EQ(StatOf(dir.File("new.ini")).st_mode & 07777, 0644u);
  Spit(dir.File("own.ini"), "old");
  ::chmod(dir.File("own.ini").c_str(), 0600);
  ASSERT_TRUE(fs.ReplaceAtomically(dir.File("own.ini"), "new"));
  EXPECT_EQ(StatOf(dir.File("own.ini")).st_mode & 07777, 0600u);
  EXPECT_EQ(Slurp(dir.File("own.ini")), "new");
  ASSERT_TRUE(fs.ReplaceAtomically(dir.File("deep/er/f.ini"), "made"));
  EXPECT_EQ(Slurp(dir.File("deep/er/f.ini")), "made");
  EXPECT_EQ(dir.Names(), (std::vector<std::string>{"deep", "new.ini", "own.ini"}));
}

TEST(FileSystemSweep, OnlyTheFilesOwnTemporariesADayOldGo) {
  TempDir dir;
  const std::string old = ".wsearch.ini.tmp-Ab12Cd", fresh = ".wsearch.ini.tmp-Xy34Zw";
  for (const std::string& name : {old, fresh, ".other.ini.tmp-Ab12Cd"s, ".wsearch.ini.tmp-long-name"s,
                                  "wsearch.ini"s, "wsearch.ini.tmp-Ab12Cd"s})
    Spit(dir.File(name), "x");
  const timespec twoDaysAgo[2] = {{::time(nullptr) - 2 * 86400, 0}, {::time(nullptr) - 2 * 86400, 0}};
  for (const std::string& name : dir.Names()) {
    if (name != fresh) ::utimensat(AT_FDCWD, dir.File(name).c_str(), twoDaysAgo, 0);
  }
  PosixFileSystem fs;
  EXPECT_EQ(fs.RemoveStaleTemporaries(dir.File(), 86400), 1);
  EXPECT_EQ(dir.Names(), (std::vector<std::string>{".other.ini.tmp-Ab12Cd", fresh, ".wsearch.ini.tmp-long-name",
                                                   "wsearch.ini", "wsearch.ini.tmp-Ab12Cd"}));
  EXPECT_EQ(fs.RemoveStaleTemporaries(dir.File("missing/wsearch.ini"), 86400), 0);
}

// ---------------------------------------------------------------------------
// Grouping the writes of a handler

TEST(ProfileStoreGrouping, AHandlersWritesMakeOneReplacement) {
  TempDir dir;
  FaultyFileSystem fs;
  ProfileStore store(dir.File(), fs);
  store.HandlerBegins();
  for (int i = 1; i <= 20; ++i) {
    const std::string key = std::to_string(i);
    EXPECT_TRUE(store.WriteProfileValue("games", key, "G" + key));
    EXPECT_EQ(store.ReadProfileValue("games", key, "none").text, "G" + key);  // seen at once
    store.WriteProfileValue("G" + key, "1", "WORD");
  }
  EXPECT_EQ(fs.replacements, 0);
  EXPECT_FALSE(Slurp(dir.File()).has_value());
  store.HandlerEnds();
  EXPECT_EQ(fs.replacements, 1);

  ProfileStore fresh(dir.File(), fs);
  EXPECT_EQ(fresh.ReadProfileValue("games", "20", "none").text, "G20");
  EXPECT_EQ(fresh.ReadProfileValue("g7", "1", "none").text, "WORD");

  // A handler that writes nothing writes nothing; outside a handler every
  // write goes out by itself.
  store.HandlerBegins();
  store.ReadProfileValue("games", "1", "none");
  store.HandlerEnds();
  EXPECT_EQ(fs.replacements, 1);
  store.WriteProfileValue("games", "1", "X");
  store.WriteProfileValue("games", "2", "Y");
  EXPECT_EQ(fs.replacements, 3);
}

TEST(ProfileStoreGrouping, NothingStaysInMemoryWhileThePlayerIsAsked) {
  TempDir dir;
  FaultyFileSystem fs;
  {
    ProfileStore store(dir.File(), fs);
    store.HandlerBegins();
    store.WriteProfileValue("a", "x", "1");
    store.BeforeWait();  // a message box comes up
    EXPECT_EQ(fs.replacements, 1);
    EXPECT_EQ(Slurp(dir.File()), "[a]\r\nx=1\r\n");
    store.AfterWait();
    store.WriteProfileValue("a", "y", "2");
    store.HandlerEnds();
    EXPECT_EQ(fs.replacements, 2);

    store.HandlerBegins();
    store.WriteProfileValue("a", "z", "3");
    // The store goes away inside a handler: what it holds still reaches the disk.
  }
  EXPECT_EQ(Slurp(dir.File()), "[a]\r\nx=1\r\ny=2\r\nz=3\r\n");
}

TEST(ProfileStoreGrouping, TheFileIsLookedAtOncePerHandlerAndNotReadAfterOwnWrites) {
  TempDir dir;
  std::string bytes = "[games]\r\n";
  for (int i = 1; i <= 4096; ++i) bytes += std::to_string(i) + "=G" + std::to_string(i) + "\r\n";
  Spit(dir.File(), bytes);
  FaultyFileSystem fs;
  ProfileStore store(dir.File(), fs);
  auto walk = [&] {
    int listed = 0;
    for (int i = 1; i <= 4096; ++i) {
      const ProfileValue v = store.ReadProfileValue("games", std::to_string(i), "none");
      if (v.text == "none") break;
      ++listed;
    }
    return listed;
  };
  for (int round = 1; round <= 3; ++round) {
    store.HandlerBegins();
    EXPECT_EQ(walk(), 4096);
    store.HandlerEnds();
    EXPECT_EQ(fs.identifies, round);
    EXPECT_EQ(fs.reads, 1);
  }
  store.HandlerBegins();
  store.WriteProfileValue("games", "4096", "none");
  store.HandlerEnds();
  const int identifiesAfterWrite = fs.identifies;
  store.HandlerBegins();
  EXPECT_EQ(walk(), 4095);
  store.HandlerEnds();
  EXPECT_EQ(fs.reads, 1);  // its own write wasn't parsed again
  EXPECT_EQ(fs.identifies, identifiesAfterWrite + 1);
}

// ---------------------------------------------------------------------------
// Another process sharing the file

TEST(ProfileStoreSharing, AChangeOnDiskIsSeenByTheNextHandler) {
  TempDir dir;
  Spit(dir.File(), "[a]\r\nx=1\r\n");
  PosixFileSystem fs;
  ProfileStore mine(dir.File(), fs);
  ProfileStore other(dir.File(), fs);
  mine.HandlerBegins();
  EXPECT_EQ(mine.ReadProfileValue("a", "x", "none").text, "1");
  mine.HandlerEnds();

  other.WriteProfileValue("a", "x", "22");  // a second copy of the program
  mine.HandlerBegins();
  EXPECT_EQ(mine.ReadProfileValue("a", "x", "none").text, "22");

  Spit(dir.File(), "[a]\r\nx=333\r\n");  // a hand edit while a message box is up
  mine.AfterWait();
  EXPECT_EQ(mine.ReadProfileValue("a", "x", "none").text, "333");
  mine.HandlerEnds();
}

TEST(ProfileStoreSharing, PendingWritesSurviveAChangeOnDisk) {
  TempDir dir;
  PosixFileSystem fs;
  ProfileStore mine(dir.File(), fs);
  ProfileStore other(dir.File(), fs);
  mine.HandlerBegins();
  mine.WriteProfileValue("a", "x", "1");
  mine.WriteProfileValue("b", "k", "mine");

  other.WriteProfileValue("a", "y", "2");
  other.WriteProfileValue("b", "k", "theirs");

  mine.HandlerBegins();  // a handler nested in this one looks at the file
  EXPECT_EQ(mine.ReadProfileValue("a", "y", "none").text, "2");
  EXPECT_EQ(mine.ReadProfileValue("a", "x", "none").text, "1");
  EXPECT_EQ(mine.ReadProfileValue("b", "k", "none").text, "mine");  // the later write wins
  mine.HandlerEnds();
  mine.HandlerEnds();

  EXPECT_EQ(Slurp(dir.File()), "[a]\r\ny=2\r\nx=1\r\n[b]\r\nk=mine\r\n");
}

// ---------------------------------------------------------------------------
// Failures

TEST(ProfileStoreFailure, AReadOnlyFileIsLeftAsItIs) {
  TempDir dir;
  const std::string bytes = "[a]\r\nx=1\r\n";
  Spit(dir.File(), bytes);
  ::chmod(dir.File().c_str(), 0444);
  PosixFileSystem fs;
  ProfileStore store(dir.File(), fs);

  EXPECT_FALSE(store.WriteProfileValue("a", "x", "2"));
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");

  store.HandlerBegins();
  EXPECT_FALSE(store.WriteProfileValue("a", "x", "3"));  // refused at once, not at the flush
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");
  store.HandlerEnds();
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");  // what the disk holds
  EXPECT_EQ(Slurp(dir.File()), bytes);
  EXPECT_EQ(dir.Names(), std::vector<std::string>{"wsearch.ini"});

  ::chmod(dir.File().c_str(), 0644);
  EXPECT_TRUE(store.WriteProfileValue("a", "x", "4"));
  EXPECT_EQ(Slurp(dir.File()), "[a]\r\nx=4\r\n");
}

TEST(ProfileStoreFailure, EachStepOfAReplacementCanFail) {
  using Step = FaultyFileSystem::Step;
  const std::string before = "[a]\r\nx=1\r\n";
  for (const Step step : {Step::kMakeFolder, Step::kCreateTemporary, Step::kWriteAll, Step::kSync, Step::kClose,
                          Step::kCopyMode, Step::kRename, Step::kSyncFolder}) {
    for (const bool fileExists : {true, false}) {
      SCOPED_TRACE("step " + std::to_string(static_cast<int>(step)) + (fileExists ? ", file" : ", no file"));
      TempDir dir;
      if (fileExists) Spit(dir.File(), before);
      FaultyFileSystem fs;
      fs.failAt = step;
      ProfileStore store(dir.File(), fs);
      EXPECT_FALSE(store.WriteProfileValue("a", "x", "2"));

      // A folder that can't be flushed comes after the rename: the file is
      // whole, old or new; every other failure leaves the old one.
      const std::optional<std::string> onDisk = Slurp(dir.File());
      if (step == Step::kSyncFolder) {
        EXPECT_EQ(onDisk, "[a]\r\nx=2\r\n");
      } else if (fileExists) {
        EXPECT_EQ(onDisk, before);
      } else {
        EXPECT_FALSE(onDisk.has_value());
      }
      EXPECT_EQ(dir.Names(), onDisk ? std::vector<std::string>{"wsearch.ini"} : std::vector<std::string>{});
      const std::string diskValue = step == Step::kSyncFolder ? "2" : fileExists ? "1" : "none";
      EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, diskValue);

      fs.failAt = Step::kNone;
      EXPECT_TRUE(store.WriteProfileValue("a", "x", "3"));
      EXPECT_EQ(Slurp(dir.File()), "[a]\r\nx=3\r\n");
      EXPECT_EQ(dir.Names(), std::vector<std::string>{"wsearch.ini"});
    }
  }
}

TEST(ProfileStoreFailure, AnUnreadableFileIsNeverWrittenOver) {
  TempDir dir;
  const std::string bytes = "[a]\r\nx=1\r\n";
  Spit(dir.File(), bytes);
  FaultyFileSystem fs;
  fs.failReads = true;
  ProfileStore store(dir.File(), fs);
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "none");
  EXPECT_FALSE(store.WriteProfileValue("a", "y", "2"));
  EXPECT_EQ(Slurp(dir.File()), bytes);

  fs.failReads = false;
  store.HandlerBegins();
  EXPECT_EQ(store.ReadProfileValue("a", "x", "none").text, "1");
  EXPECT_TRUE(store.WriteProfileValue("a", "y", "2"));
  store.HandlerEnds();
  EXPECT_EQ(Slurp(dir.File()), "[a]\r\nx=1\r\ny=2\r\n");
}

}  // namespace
}  // namespace pelmora
