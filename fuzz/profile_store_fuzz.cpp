// Any bytes at all as the text of wsearch.ini, and writes derived from the
// input: the document reads what it can and keeps its promises whatever the
// bytes held.
//   - a read gives valid UTF-8 of at most 31 characters, and its length;
//   - a write says whether it changed the bytes, truly (the store saves only
//     what it is told changed);
//   - a write that names a section and a key reads back at once as written;
//   - the bytes out, read afresh, read every written key as the document does;
//   - writing the value already stored changes nothing.
// The file itself (the lock, the atomic replacement) is the store's, and is
// left to its tests: a run of this target touches no disk.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/text.h"
#include "profile/ini_document.h"

namespace {

void Require(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "the INI document broke a promise: %s\n", what);
  std::abort();
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  pelmora::IniDocument doc(in.ConsumeRandomLengthString(1 << 16));
  struct Write {
    std::string section, key, value;
  };
  std::vector<Write> writes;
  std::map<std::string, std::optional<Write>> last;  // by the names as the text matches them
  auto name = [&in] {
    return in.ConsumeBool() ? in.ConsumeRandomLengthString(24) : kNames[in.ConsumeIntegralInRange(0, 7)];
  };
  while (in.remaining_bytes() > 0 && writes.size() < 12) writes.push_back({name(), name(), in.ConsumeRandomLengthString(40)});

  for (const Write& w : writes) {
    RequireGoodRead(doc.Read(w.section, w.key, "none"));
    const std::string before = doc.Bytes();
    const bool changed = doc.Set(w.section, w.key, w.value);
    Require(changed == (doc.Bytes() != before), "a write said wrongly whether it changed the bytes");
    if (!pelmora::IniDocument::CanWrite(w.section, w.key)) continue;
    const pelmora::ProfileValue v = doc.Read(w.section, w.key, "none");
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
  const std::string written = doc.Bytes();
  const pelmora::IniDocument fresh(written);
  for (const Write& w : writes)
    Require(fresh.Read(w.section, w.key, "none").text == doc.Read(w.section, w.key, "none").text,
            "the bytes out read otherwise than the document");
  // Each key's last value, where it was a plain one, written again: not a
  // byte changes.
  for (const auto& [id, w] : last)
    if (w) Require(!doc.Set(w->section, w->key, w->value), "writing the value already stored changed the text");
  Require(doc.Bytes() == written, "writing the value already stored changed the text");
  return 0;
}
