// Any bytes at all as wsearch.ini: the store reads what it can, takes writes
// derived from the input, and must keep its promises whatever the file held.
//
//   - a read gives valid UTF-8 of at most 31 characters, and its length in
//     characters;
//   - a write that names a section and a key reads back at once as written
//     (cut to 31 characters); a name no line could carry is refused;
//   - what memory holds is what the disk holds: a fresh store on the file
//     after the writes reads every key as the old store does;
//   - keys the writes didn't name read as they did before;
//   - lines the writes didn't touch are all still in the file, byte for
//     byte, and the byte-order mark stays as it was;
//   - writing the value already stored changes nothing on disk.
//
// The file lives in a private folder made for the run and removed at exit.

#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"
#include "platform/text.h"
#include "profile/profile_store.h"

namespace {

std::string g_dir;
std::string g_path;

void Require(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "profile store broke a promise: %s\n", what);
    std::abort();
  }
}

void RemoveDir() {
  std::error_code ec;
  if (!g_dir.empty()) std::filesystem::remove_all(g_dir, ec);
}

std::string MakePrivateDir() {
  // /dev/shm keeps the store's fsync cheap; any temp folder works.
  std::vector<std::string> bases;
  if (const char* t = std::getenv("TMPDIR")) bases.emplace_back(t);
  bases.insert(bases.begin(), "/dev/shm");
  bases.emplace_back("/tmp");
  for (const std::string& base : bases) {
    std::string templ = base + "/pelmora-fuzz-store-XXXXXX";
    if (mkdtemp(templ.data())) return templ;
  }
  std::fprintf(stderr, "can't make a temporary folder\n");
  std::abort();
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  Require(static_cast<bool>(out), "the fuzzer could not write the test file");
}

bool IsBlank(char c) {
  return c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == '\x1a' || c == ' ';
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool HasLineBreakOrNul(std::string_view s) {
  return s.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

// Characters of valid UTF-8: every byte that isn't a continuation byte.
std::size_t CountChars(std::string_view s) {
  std::size_t n = 0;
  for (char c : s) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return n;
}

std::string FirstChars(std::string_view s, std::size_t n) {
  std::size_t i = 0;
  std::size_t seen = 0;
  for (; i < s.size(); ++i) {
    if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
      if (seen == n) break;
      ++seen;
    }
  }
  return std::string(s.substr(0, i));
}

bool IsAscii(std::string_view s) {
  for (char c : s) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

// Section and key names compare trimmed and without regard to case; for
// ASCII names that is plain folding. Non-ASCII names give the empty text:
// the caller then can't tell whether two names are the same.
std::string AsciiFold(std::string_view name) {
  const std::string_view t = Trim(name);
  if (!IsAscii(t)) return {};
  std::string out(t);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

void RequireGoodRead(const pelmora::ProfileValue& v) {
  Require(pelmora::IsValidUtf8(v.text), "a read gave text that isn't UTF-8");
  Require(v.length >= 0 && static_cast<std::size_t>(v.length) == CountChars(v.text),
          "a read's length isn't its number of characters");
  Require(v.length <= 31, "a read gave more than 31 characters");
}

std::string Latin1(std::string_view bytes) {
  std::string out;
  for (char c : bytes) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x80) {
      out += c;
    } else {
      out += static_cast<char>(0xC0 | (b >> 6));
      out += static_cast<char>(0x80 | (b & 0x3F));
    }
  }
  return out;
}

// The physical lines of a file, without their ends: a line ends at CR, LF or
// CR LF. The byte-order mark is taken off first.
std::vector<std::string> Lines(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  std::vector<std::string> out;
  while (!bytes.empty()) {
    std::size_t cut = 0;
    while (cut < bytes.size() && bytes[cut] != '\r' && bytes[cut] != '\n') ++cut;
    out.emplace_back(bytes.substr(0, cut));
    if (cut == bytes.size()) break;
    const bool crlf = bytes[cut] == '\r' && cut + 1 < bytes.size() && bytes[cut + 1] == '\n';
    bytes.remove_prefix(cut + (crlf ? 2 : 1));
  }
  return out;
}

struct Write {
  std::string section, key, value;
};

const char* const kNames[] = {"Settings", "settings", "games", "FRUIT", "Practice", "Visible",
                              "Time",     "Title",    "1",     "2",     "16",       "4096"};

std::string PickName(FuzzedDataProvider& in) {
  if (in.ConsumeBool()) return in.ConsumeRandomLengthString(24);
  return kNames[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kNames) - 1)];
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_dir = MakePrivateDir();
  g_path = g_dir + "/wsearch.ini";
  std::atexit(RemoveDir);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using pelmora::ProfileStore;
  using pelmora::ProfileValue;

  FuzzedDataProvider in(data, size);
  const std::uint8_t flags = in.ConsumeIntegral<std::uint8_t>();
  const bool absent = (flags & 1) != 0;
  const bool grouped = (flags & 2) != 0;
  const std::string original = in.ConsumeRandomLengthString(1 << 16);

  // Writes every input makes, so that a plain INI seed exercises writing
  // too, and then writes the rest of the input spells out.
  std::vector<Write> writes = {
      {"Settings", "Visible", std::to_string(flags >> 2)},
      {"games", "3", "NEWGAME"},
      {"FRUIT", "16", original.substr(0, std::min<std::size_t>(original.size(), 40))},
  };
  while (in.remaining_bytes() > 0 && writes.size() < 12) {
    Write w;
    w.section = PickName(in);
    w.key = PickName(in);
    w.value = in.ConsumeRandomLengthString(48);
    writes.push_back(std::move(w));
  }

  std::error_code ec;
  std::filesystem::remove(g_path, ec);
  if (!absent) WriteFile(g_path, original);

  // What every name pair reads before any write.
  std::vector<std::pair<std::string, std::string>> probes;
  for (const char* s : {"Settings", "games", "FRUIT"}) {
    for (const char* k : {"Practice", "Visible", "Time", "Title", "1", "2", "16"}) probes.emplace_back(s, k);
  }
  for (const Write& w : writes) probes.emplace_back(w.section, w.key);

  pelmora::PosixFileSystem fs;
  std::vector<ProfileValue> before;
  {
    ProfileStore fresh(g_path, fs);
    for (const auto& [s, k] : probes) {
      before.push_back(fresh.ReadProfileValue(s, k, "(absent)"));
      RequireGoodRead(before.back());
    }
  }

  ProfileStore store(g_path, fs);
  if (grouped) store.HandlerBegins();
  std::size_t accepted = 0;
  const Write* lastAccepted = nullptr;
  for (const Write& w : writes) {
    const std::string_view s = Trim(w.section);
    const std::string_view k = Trim(w.key);
    const bool nameable = !s.empty() && !HasLineBreakOrNul(s) && !k.empty() && !HasLineBreakOrNul(k) &&
                          k.front() != '[' && k.find('=') == std::string_view::npos;
    const bool ok = store.WriteProfileValue(w.section, w.key, w.value);
    if (!nameable) {
      Require(!ok, "a write to a name no line can carry was taken");
      continue;
    }
    Require(ok, "a write into a private folder failed");
    ++accepted;
    lastAccepted = &w;

    const ProfileValue v = store.ReadProfileValue(w.section, w.key, "(absent)");
    RequireGoodRead(v);
    // The value up to its first line break; with no blanks or quotes at its
    // ends (which a read takes off) and valid UTF-8 it reads back exactly.
    const std::string_view cut = std::string_view(w.value).substr(
        0, std::string_view(w.value).find_first_of(std::string_view("\r\n\0", 3)));
    const bool quoted = cut.size() >= 2 && (cut.front() == '"' || cut.front() == '\'') && cut.back() == cut.front();
    if (pelmora::IsValidUtf8(cut) && Trim(cut) == cut && !quoted) {
      Require(v.text == FirstChars(cut, 31), "a written value didn't read back");
    }
  }
  if (grouped) store.HandlerEnds();
  Require(store.Flush(), "flushing into a private folder failed");

  const std::string after = ReadFile(g_path);
  {
    // The disk holds what memory holds.
    ProfileStore reread(g_path, fs);
    for (std::size_t i = 0; i < probes.size(); ++i) {
      const auto& [s, k] = probes[i];
      const ProfileValue mem = store.ReadProfileValue(s, k, "(absent)");
      const ProfileValue disk = reread.ReadProfileValue(s, k, "(absent)");
      Require(mem.text == disk.text && mem.length == disk.length,
              "the file after the writes reads differently from memory");

      // A pair no write named reads as before. Only ASCII names can be told
      // apart here; the others are skipped.
      const std::string ps = AsciiFold(s);
      const std::string pk = AsciiFold(k);
      bool untouched = !ps.empty() && !pk.empty();
      for (const Write& w : writes) {
        if (!untouched) break;
        const std::string ws = AsciiFold(w.section);
        const std::string wk = AsciiFold(w.key);
        if (ws.empty() || wk.empty() || (ws == ps && wk == pk)) untouched = false;
      }
      if (untouched) {
        Require(disk.text == before[i].text, "a write changed a key it didn't name");
      }
    }
  }

  if (accepted == 0) {
    Require(after == (absent ? std::string() : original), "the file changed with no write taken");
    return 0;
  }

  if (absent) {
    // A file the store makes: UTF-8, no byte-order mark, CR LF ends only.
    Require(pelmora::IsValidUtf8(after), "a new file isn't UTF-8");
    Require(!after.starts_with("\xEF\xBB\xBF"), "a new file has a byte-order mark");
    for (std::size_t i = 0; i < after.size(); ++i) {
      if (after[i] == '\n') Require(i > 0 && after[i - 1] == '\r', "a new file has a bare LF");
      if (after[i] == '\r') Require(i + 1 < after.size() && after[i + 1] == '\n', "a new file has a bare CR");
    }
  } else {
    Require(original.starts_with("\xEF\xBB\xBF") == after.starts_with("\xEF\xBB\xBF"),
            "the byte-order mark changed");
    // Lines are kept, changed in place (one per write) or added. A file read
    // as Latin-1 may have been turned to UTF-8 as a whole.
    std::vector<std::string> old = Lines(original);
    if (!pelmora::IsValidUtf8(original) && pelmora::IsValidUtf8(after)) {
      for (std::string& line : old) line = Latin1(line);
    }
    std::map<std::string, std::ptrdiff_t> count;
    for (const std::string& line : old) ++count[line];
    for (const std::string& line : Lines(after)) --count[line];
    std::size_t lost = 0;
    for (const auto& [line, n] : count) lost += n > 0 ? static_cast<std::size_t>(n) : 0;
    Require(lost <= accepted, "lines no write touched are gone");
  }

  // The value already stored, written again: nothing changes on disk.
  store.WriteProfileValue(lastAccepted->section, lastAccepted->key, lastAccepted->value);
  Require(ReadFile(g_path) == after, "writing the stored value again changed the file");
  return 0;
}
