// Any bytes at all as wsearch.ini, and writes derived from the input: the
// store reads what it can and keeps its promises whatever the file held.
//   - a read gives valid UTF-8 of at most 31 characters, and its length;
//   - a write that names a section and a key reads back at once as written;
//   - what memory holds is what the disk holds: a fresh store on the file
//     reads every written key as the old one does;
//   - writing the value already stored changes nothing on disk.

#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/text.h"
#include "profile/profile_store.h"

namespace {

std::string g_dir;

void Require(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "the profile store broke a promise: %s\n", what);
  std::abort();
}

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void RequireGoodRead(const pelmora::ProfileValue& v) {
  Require(pelmora::IsValidUtf8(v.text), "a read gave text that isn't UTF-8");
  Require(v.length <= 31 && static_cast<std::size_t>(v.length) == pelmora::Len(v.text), "a read's length");
}

std::string Trim(const std::string& s) {
  const char* blanks = " \t\n\v\f\r\x1a";
  const std::size_t b = s.find_first_not_of(blanks);
  return b == std::string::npos ? std::string() : s.substr(b, s.find_last_not_of(blanks) - b + 1);
}

const char* const kNames[] = {"Settings", "settings", "games", "FRUIT", "Practice", "Time", "1", "16"};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char folder[] = "/tmp/pelmora-fuzz-store-XXXXXX";
  if (!mkdtemp(folder)) std::abort();
  g_dir = folder;
  std::atexit([] { std::filesystem::remove_all(g_dir); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const std::string path = g_dir + "/wsearch.ini";
  std::ofstream(path, std::ios::binary | std::ios::trunc) << in.ConsumeRandomLengthString(1 << 16);
  struct Write {
    std::string section, key, value;
  };
  std::vector<Write> writes;
  std::map<std::string, std::optional<Write>> last;  // by the names as the file matches them
  auto name = [&in] {
    return in.ConsumeBool() ? in.ConsumeRandomLengthString(24) : kNames[in.ConsumeIntegralInRange(0, 7)];
  };
  while (in.remaining_bytes() > 0 && writes.size() < 12) writes.push_back({name(), name(), in.ConsumeRandomLengthString(40)});

  pelmora::PosixFileSystem fs;
  pelmora::ProfileStore store(path, fs);
  pelmora::EventDoor door;
  door.Attach(store);
  door.Dispatch([&] {
    for (const Write& w : writes) {
      RequireGoodRead(store.ReadProfileValue(w.section, w.key, "none"));
      if (!store.WriteProfileValue(w.section, w.key, w.value)) continue;
      const pelmora::ProfileValue v = store.ReadProfileValue(w.section, w.key, "none");
      RequireGoodRead(v);
      std::optional<Write>& latest = last[pelmora::UCase(Trim(w.section)) + '\n' + pelmora::UCase(Trim(w.key))];
      latest.reset();
      // A value reads back as written, cut at a line break and to 31
      // characters, unless quotes or blanks at its ends go on reading.
      const std::string plain = w.value.substr(0, w.value.find_first_of(std::string("\r\n\0", 3)));
      if (pelmora::IsValidUtf8(plain) && pelmora::Len(plain) <= 31 &&
          plain.find_first_of("\"' \t\x0b\x0c\x1a") == std::string::npos) {
        Require(v.text == plain, "a write didn't read back");
        latest = w;
      }
    }
  });
  const std::string written = Bytes(path);
  pelmora::PosixFileSystem fs2;
  pelmora::ProfileStore fresh(path, fs2);
  for (const Write& w : writes)
    Require(fresh.ReadProfileValue(w.section, w.key, "none").text == store.ReadProfileValue(w.section, w.key, "none").text,
            "memory and disk disagree");
  // Each key's last value, where it was a plain one, written again: not a
  // byte changes.
  door.Dispatch([&] {
    for (const auto& [id, w] : last)
      if (w) store.WriteProfileValue(w->section, w->key, w->value);
  });
  Require(Bytes(path) == written, "writing the value already stored changed the file");
  return 0;
}
