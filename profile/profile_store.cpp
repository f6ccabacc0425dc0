#include "profile/profile_store.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <list>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "platform/text.h"

namespace pelmora {
namespace {

constexpr std::size_t kMaxChars = ProfileStore::kBufferSize - 1;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCrLf = "\r\n";
// The model keeps offsets into the file in 32 bits: a larger file is refused
// as too large to read, like one that doesn't fit in memory.
constexpr std::uint64_t kMaxFileSize = std::numeric_limits<std::uint32_t>::max();
// A section with more keys than this is searched by halves; a smaller one
// (a game's 16 words) line by line, which needs no sorting at all.
constexpr std::size_t kLinearKeys = 32;
// After a flush, a model carrying more edits than this is parsed afresh from
// what it wrote, so that its edits don't outgrow the file.
constexpr std::size_t kMaxEdits = 4096;
constexpr std::chrono::milliseconds kLockPatience{2000};
// A file changed this close to the moment it was looked at may change again
// without a change of identity (the clock of a file system moves in ticks,
// some of two seconds): its bytes are compared at the next look.
constexpr std::int64_t kRacyNs = 2'000'000'000;

bool IsBlank(char c) {
  switch (c) {
    case '\t':
    case '\n':
    case '\v':
    case '\f':
    case '\r':
    case '\x1a':
    case ' ':
      return true;
    default:
      return false;
  }
}

bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }

std::string_view Trim(std::string_view s) {
  std::size_t begin = 0;
  std::size_t end = s.size();
  while (begin < end && IsBlank(s[begin])) ++begin;
  while (end > begin && IsBlank(s[end - 1])) --end;
  return s.substr(begin, end - begin);
}

std::string_view StripQuotes(std::string_view v) {
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front()) {
    return v.substr(1, v.size() - 2);
  }
  return v;
}

// Text from the program as valid UTF-8: a stray byte is taken as the Latin-1
// character of its code, so no write can turn the file into one that would be
// read in another encoding.
std::string ValidUtf8(std::string_view s) {
  if (IsValidUtf8(s)) return std::string(s);
  std::string out;
  for (const std::string& c : Chars(s)) {
    out += c.size() == 1 && static_cast<unsigned char>(c[0]) >= 0x80 ? Latin1ToUtf8(c) : c;
  }
  return out;
}

// A section or key name as the file holds it: trimmed. A name that no line of
// the file could carry (empty, or holding a line break or a NUL) gives the
// empty text, which names nothing.
std::string NameOf(std::string_view name) {
  const std::string_view t = Trim(name);
  if (t.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos) return {};
  return ValidUtf8(t);
}

// A name as the edits are keyed by it: upper case.
std::string FoldedName(std::string_view name) {
  std::string out(name);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) >= 0x80) return UCase(name);
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

// A key that would be read back as something else: one with `=` (the line
// splits at its first `=`) or one starting with `[` (the line could pass for
// a section head).
bool IsWritableKey(std::string_view key) {
  return !key.empty() && key.front() != '[' && key.find('=') == std::string_view::npos;
}

// A value ends at its first line break or NUL, so it stays on its own line.
std::string ValueOf(std::string_view value) {
  return ValidUtf8(value.substr(0, value.find_first_of(std::string_view("\r\n\0", 3))));
}

char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Orders names as their upper-case UTF-8 forms order, byte by byte (below,
// at or above zero, as std::string::compare); a name
// from a Latin-1 file is taken as Latin-1. Upper case maps each character
// on its own, and ASCII to ASCII, so an ASCII start compares as it stands
// and only the rest of a name with other letters is converted.
int CompareNames(std::string_view a, bool aLatin1, std::string_view b, bool bLatin1) {
  const std::size_t n = std::min(a.size(), b.size());
  std::size_t i = 0;
  for (; i < n; ++i) {
    if (static_cast<unsigned char>(a[i]) >= 0x80 || static_cast<unsigned char>(b[i]) >= 0x80) break;
    const char x = AsciiUpper(a[i]);
    const char y = AsciiUpper(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  if (i == n) return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
  auto fold = [](std::string_view rest, bool latin1) { return UCase(latin1 ? Latin1ToUtf8(rest) : std::string(rest)); };
  return fold(a.substr(i), aLatin1).compare(fold(b.substr(i), bLatin1));
}

std::int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

bool IsRacy(const FileIdentity& id, std::int64_t lookedAtNs) {
  return id.exists && id.changedNs + kRacyNs >= lookedAtNs;
}

enum class Kind : std::uint8_t { kBlank, kHead, kEntry, kBareKey };

// What a line is, and where its name and value are (trimmed).
struct Parts {
  Kind kind = Kind::kBlank;
  std::size_t nameBegin = 0;
  std::size_t nameSize = 0;
  std::size_t valueBegin = 0;
  std::size_t valueSize = 0;
};

Parts Classify(std::string_view raw) {
  Parts p;
  const std::string_view trimmed = Trim(raw);
  if (trimmed.empty()) return p;
  const std::size_t begin = static_cast<std::size_t>(trimmed.data() - raw.data());
  const std::size_t end = begin + trimmed.size();
  auto setRange = [&](std::size_t from, std::size_t to, std::size_t& at, std::size_t& size) {
    const std::string_view part = Trim(raw.substr(from, to - from));
    at = part.empty() ? from : static_cast<std::size_t>(part.data() - raw.data());
    size = part.size();
  };
  if (raw[begin] == '[') {
    // Blanks aren't `]`, so the last `]` of the line is the last one of its text.
    const std::size_t close = raw.rfind(']');
    if (close != std::string_view::npos && close > begin) {
      p.kind = Kind::kHead;
      setRange(begin + 1, close, p.nameBegin, p.nameSize);
      return p;
    }
  }
  const std::size_t equals = raw.find('=', begin);
  if (equals == std::string_view::npos) {
    p.kind = Kind::kBareKey;
    p.nameBegin = begin;
    p.nameSize = end - begin;
    return p;
  }
  p.kind = Kind::kEntry;
  setRange(begin, equals, p.nameBegin, p.nameSize);
  setRange(equals + 1, end, p.valueBegin, p.valueSize);
  return p;
}

std::string_view NameIn(std::string_view raw, const Parts& p) { return raw.substr(p.nameBegin, p.nameSize); }

}  // namespace

// The file in memory: its bytes as read, untouched, with the edits of the
// writes laid over them, and an index of the lines a read can find.
//
// The index holds 32-bit offsets only: the heads of the first section of
// each name, once sorted by name (to find a section) and once in file order
// (to find where its keys end), and the lines of those sections that name a
// key, in file order section after section (a large section's own lines
// sorted by name and then offset). Blank lines, later sections of a name and
// text before the first head cost nothing. A key line is at least two bytes
// and costs four; a head is at least four bytes, and a head of a name of
// its own at least six (there are only so many shorter names), costing
// eight: the index stays within twice the file's size however it is made.
//
// An edit either replaces an original line's bytes (its line end stays) or
// is a new line inserted at a position of the original bytes (after the
// last line of a section, or at the end for new sections). The file is
// written from the original bytes and the edits, piece by piece.
class ProfileStore::Model {
 public:
  // Throws std::bad_alloc when memory runs out and std::length_error for a
  // file too large for the index.
  explicit Model(std::string bytes);

  // The line that holds key in section now (names as NameOf gives them).
  std::optional<std::string_view> Find(const std::string& section, const std::string& key);

  // The value of an entry as a read gives it, cut to maxChars characters.
  std::string Value(std::string_view raw, const Parts& p, std::size_t maxChars) const;

  // Sets the key; false when that changes nothing.
  bool Set(const std::string& section, const std::string& key, const std::string& value);

  // The file as the model holds it, in order; the pieces point into the model.
  std::vector<std::string_view> Pieces() const;
  std::string Serialize() const;
  std::size_t EditCount() const { return edits_; }

 private:
  struct Edit {
    std::string raw;  // the line's bytes, in the file's encoding, without its end
    bool invalidUtf8 = false;
  };
  // New lines at one position of the original bytes, each ending in CR LF.
  struct Insertion {
    bool breakFirst = false;  // the line before had no end: one goes first
    std::list<Edit> lines;
  };
  // Where the next new key of a section goes: after `last`.
  struct Tail {
    std::uint32_t at = 0;
    std::list<Edit>::iterator last;
  };
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  template <typename Visit>
  void ForEachLine(std::size_t from, Visit&& visit) const;
  std::size_t BodyEnd(std::size_t at) const {
    while (at < buf_.size() && !IsLineEnd(buf_[at])) ++at;
    return at;
  }
  std::string_view LineAt(std::size_t at) const { return std::string_view(buf_).substr(at, BodyEnd(at) - at); }
  std::string_view HeadNameAt(std::size_t at) const;
  std::string_view KeyNameAt(std::size_t at) const;
  // The head of the first section of a name, or kNone.
  std::size_t FindSection(std::string_view name) const;
  // The keys_ of the section whose head is at `head`: begin and end.
  std::pair<std::size_t, std::size_t> KeysOf(std::size_t head) const;
  std::size_t FindKey(std::pair<std::size_t, std::size_t> keys, std::string_view name) const;

  std::string Text(std::string_view bytes) const { return latin1_ ? Latin1ToUtf8(bytes) : std::string(bytes); }
  // The bytes of a line of text in the file's encoding; false when a Latin-1
  // file can't spell it.
  bool Encode(const std::string& text, Edit& line);
  void Count(const Edit& line, bool added) {
    if (line.invalidUtf8) added ? ++invalidLines_ : --invalidLines_;
  }
  // Gives an existing key (an original line at `original`, or an edit) its
  // new value in place.
  bool Rewrite(const std::string& section, const std::string& key, std::optional<std::uint32_t> original,
               Edit* edit, std::string_view raw, const std::string& fold, const std::string& value);
  // Makes the whole file UTF-8, which reads the same; the edits are folded
  // into a fresh parse.
  void ToUtf8();

  std::string buf_;
  std::size_t start_ = 0;  // past the byte-order mark
  bool latin1_ = false;    // the file isn't valid UTF-8: each byte is a character
  std::size_t invalidLines_ = 0;  // lines (original or edited) that aren't valid UTF-8 on their own
  std::vector<std::uint32_t> heads_;       // the first head of each name, by name
  std::vector<std::uint32_t> firstHeads_;  // the same, in file order
  std::vector<std::uint32_t> keys_;        // their key lines

  std::map<std::uint32_t, Edit> replaced_;      // original lines replaced, by offset
  std::map<std::uint32_t, Insertion> inserted_;  // new lines, by position
  std::unordered_map<std::string, Edit*> editedKeys_;  // "SECTION\nKEY" -> its line, for edited keys
  std::unordered_map<std::string, Tail> tails_;         // "SECTION" -> where its next new key goes
  std::size_t edits_ = 0;
  // The section found last: a walk asks for the same one thousands of times.
  std::string lastAsked_;
  std::pair<std::size_t, std::size_t> lastFound_{kNone, kNone};
};

ProfileStore::Model::Model(std::string bytes) : buf_(std::move(bytes)) {
  if (buf_.size() > kMaxFileSize) throw std::length_error("profile too large");
  if (std::string_view(buf_).starts_with(kByteOrderMark)) start_ = kByteOrderMark.size();
  latin1_ = !IsValidUtf8(std::string_view(buf_).substr(start_));

  // The heads, counted first so that the array is allocated once, exactly.
  std::size_t headCount = 0;
  ForEachLine(start_, [&](std::size_t, std::string_view line) {
    // A UTF-8 sequence never holds a CR or LF, so the file is valid UTF-8
    // exactly when each of its lines is.
    if (latin1_ && !IsValidUtf8(line)) ++invalidLines_;
    if (Classify(line).kind == Kind::kHead) ++headCount;
  });
  heads_.reserve(headCount);
  ForEachLine(start_, [&](std::size_t at, std::string_view line) {
    const Parts p = Classify(line);
    if (p.kind == Kind::kHead && p.nameSize > 0) heads_.push_back(static_cast<std::uint32_t>(at));
  });
  std::sort(heads_.begin(), heads_.end(), [this](std::uint32_t a, std::uint32_t b) {
    const int c = CompareNames(HeadNameAt(a), latin1_, HeadNameAt(b), latin1_);
    return c != 0 ? c < 0 : a < b;
  });
  heads_.erase(std::unique(heads_.begin(), heads_.end(),
                           [this](std::uint32_t a, std::uint32_t b) {
                             return CompareNames(HeadNameAt(a), latin1_, HeadNameAt(b), latin1_) == 0;
                           }),
               heads_.end());
  firstHeads_.assign(heads_.begin(), heads_.end());
  std::sort(firstHeads_.begin(), firstHeads_.end());

  // The key lines of the first sections: counted, then placed.
  auto forEachKey = [this](auto&& take) {
    bool inFirst = false;
    std::size_t next = 0;  // the next first head, in firstHeads_
    ForEachLine(start_, [&](std::size_t at, std::string_view line) {
      const std::size_t begin = static_cast<std::size_t>(Trim(line).data() - line.data());
      if (begin == line.size()) return;  // a blank line
      if (line[begin] == '[' && line.find(']', begin) != std::string_view::npos) {
        inFirst = next < firstHeads_.size() && firstHeads_[next] == at;
        next += inFirst ? 1 : 0;
      } else if (inFirst && line[begin] != '=') {  // a line with a name before any `=`
        take(at);
      }
    });
  };
  std::size_t keyCount = 0;
  forEachKey([&keyCount](std::size_t) { ++keyCount; });
  keys_.reserve(keyCount);
  forEachKey([this](std::size_t at) { keys_.push_back(static_cast<std::uint32_t>(at)); });
  for (const std::uint32_t head : firstHeads_) {
    const auto [first, last] = KeysOf(head);
    if (last - first <= kLinearKeys) continue;
    std::sort(keys_.begin() + static_cast<std::ptrdiff_t>(first), keys_.begin() + static_cast<std::ptrdiff_t>(last),
              [this](std::uint32_t a, std::uint32_t b) {
                const int c = CompareNames(KeyNameAt(a), latin1_, KeyNameAt(b), latin1_);
                return c != 0 ? c < 0 : a < b;
              });
  }
}

// Calls visit(offset, bytes) for each line of the original bytes from `from`
// (the start of a line) that isn't empty. A run of line ends is skipped in
// one go: a file of empty lines costs a scan and nothing more.
template <typename Visit>
void ProfileStore::Model::ForEachLine(std::size_t from, Visit&& visit) const {
  std::size_t at = from;
  for (;;) {
    while (at < buf_.size() && IsLineEnd(buf_[at])) ++at;
    if (at >= buf_.size()) return;
    const std::size_t end = BodyEnd(at);
    if constexpr (std::is_same_v<decltype(visit(at, std::string_view())), bool>) {
      if (!visit(at, std::string_view(buf_).substr(at, end - at))) return;
    } else {
      visit(at, std::string_view(buf_).substr(at, end - at));
    }
    at = end;
  }
}

std::string_view ProfileStore::Model::HeadNameAt(std::size_t at) const {
  const std::string_view line = LineAt(at);
  return NameIn(line, Classify(line));
}

// Up to the first `=` or the end of the line, trimmed: the line is known to
// be a key's.
std::string_view ProfileStore::Model::KeyNameAt(std::size_t at) const {
  std::size_t end = at;
  while (end < buf_.size() && buf_[end] != '=' && !IsLineEnd(buf_[end])) ++end;
  return Trim(std::string_view(buf_).substr(at, end - at));
}

std::size_t ProfileStore::Model::FindSection(std::string_view name) const {
  const auto it = std::lower_bound(heads_.begin(), heads_.end(), name, [this](std::uint32_t head, std::string_view n) {
    return CompareNames(HeadNameAt(head), latin1_, n, false) < 0;
  });
  if (it == heads_.end() || CompareNames(HeadNameAt(*it), latin1_, name, false) != 0) return kNone;
  return *it;
}

// A section's keys lie between its head and the next first head; the lines
// of a sorted section are out of file order, but all of them still lie
// there, which is all the search by offset needs.
std::pair<std::size_t, std::size_t> ProfileStore::Model::KeysOf(std::size_t head) const {
  const auto next = std::upper_bound(firstHeads_.begin(), firstHeads_.end(), head);
  const auto first = std::lower_bound(keys_.begin(), keys_.end(), head);
  const auto last = next == firstHeads_.end() ? keys_.end() : std::lower_bound(first, keys_.end(), *next);
  return {static_cast<std::size_t>(first - keys_.begin()), static_cast<std::size_t>(last - keys_.begin())};
}

std::size_t ProfileStore::Model::FindKey(std::pair<std::size_t, std::size_t> keys, std::string_view name) const {
  const auto first = keys_.begin() + static_cast<std::ptrdiff_t>(keys.first);
  const auto last = keys_.begin() + static_cast<std::ptrdiff_t>(keys.second);
  if (keys.second - keys.first <= kLinearKeys) {
    for (auto it = first; it != last; ++it) {
      if (CompareNames(KeyNameAt(*it), latin1_, name, false) == 0) return *it;
    }
    return kNone;
  }
  const auto it = std::lower_bound(first, last, name, [this](std::uint32_t key, std::string_view n) {
    return CompareNames(KeyNameAt(key), latin1_, n, false) < 0;
  });
  if (it == last || CompareNames(KeyNameAt(*it), latin1_, name, false) != 0) return kNone;
  return *it;
}

std::optional<std::string_view> ProfileStore::Model::Find(const std::string& section, const std::string& key) {
  if (!editedKeys_.empty()) {
    const auto edited = editedKeys_.find(FoldedName(section) + '\n' + FoldedName(key));
    if (edited != editedKeys_.end()) return std::string_view(edited->second->raw);
  }
  if (lastFound_.first == kNone || section != lastAsked_) {
    const std::size_t found = FindSection(section);
    if (found == kNone) return std::nullopt;
    lastAsked_ = section;
    lastFound_ = KeysOf(found);
  }
  const std::size_t at = FindKey(lastFound_, key);
  if (at == kNone) return std::nullopt;
  return LineAt(at);
}

std::string ProfileStore::Model::Value(std::string_view raw, const Parts& p, std::size_t maxChars) const {
  const std::string_view value = StripQuotes(raw.substr(p.valueBegin, p.valueSize));
  if (latin1_) return Latin1ToUtf8(value.substr(0, maxChars));
  return Left(value, maxChars);
}

bool ProfileStore::Model::Encode(const std::string& text, Edit& line) {
  if (!latin1_) {
    line.raw = text;
    return true;
  }
  if (!Utf8ToLatin1(text, line.raw)) return false;
  line.invalidUtf8 = !IsValidUtf8(line.raw);
  return true;
}

bool ProfileStore::Model::Set(const std::string& section, const std::string& key, const std::string& value) {
  const std::string sectionFold = FoldedName(section);
  const std::string fold = sectionFold + '\n' + FoldedName(key);
  if (const auto edited = editedKeys_.find(fold); edited != editedKeys_.end()) {
    Edit* line = edited->second;
    return Rewrite(section, key, std::nullopt, line, std::string(line->raw), fold, value);
  }
  const std::size_t found = FindSection(section);
  if (found != kNone) {
    const std::size_t at = FindKey(KeysOf(found), key);
    if (at != kNone) return Rewrite(section, key, static_cast<std::uint32_t>(at), nullptr, LineAt(at), fold, value);
  }

  // A new key: after the last line of its section that isn't blank.
  Edit line;
  Edit head;
  if (!Encode(key + "=" + value, line) || (found == kNone && !tails_.contains(sectionFold) &&
                                           !Encode("[" + section + "]", head))) {
    // A Latin-1 file can't spell it; as UTF-8 it can.
    ToUtf8();
    return Set(section, key, value);
  }
  Count(line, true);
  ++edits_;
  auto tail = tails_.find(sectionFold);
  std::list<Edit>::iterator made;
  if (tail != tails_.end()) {
    std::list<Edit>& lines = inserted_[tail->second.at].lines;
    made = lines.insert(std::next(tail->second.last), std::move(line));
    tail->second.last = made;
  } else if (found != kNone) {
    std::size_t last = found;
    ForEachLine(BodyEnd(last), [&](std::size_t at, std::string_view text) {
      const Kind kind = Classify(text).kind;
      if (kind == Kind::kHead) return false;
      if (kind != Kind::kBlank) last = at;
      return true;
    });
    const std::size_t end = BodyEnd(last);
    const std::size_t after = end == buf_.size()                                             ? end
                              : buf_[end] == '\r' && end + 1 < buf_.size() && buf_[end + 1] == '\n' ? end + 2
                                                                                               : end + 1;
    Insertion& insertion = inserted_[static_cast<std::uint32_t>(after)];
    insertion.breakFirst = end == buf_.size() && end > start_;
    // Before any new section at the end of the file.
    made = insertion.lines.insert(insertion.lines.begin(), std::move(line));
    tails_.emplace(sectionFold, Tail{static_cast<std::uint32_t>(after), made});
  } else {
    Insertion& insertion = inserted_[static_cast<std::uint32_t>(buf_.size())];
    insertion.breakFirst = buf_.size() > start_ && !IsLineEnd(buf_.back());
    Count(head, true);
    ++edits_;
    insertion.lines.push_back(std::move(head));
    made = insertion.lines.insert(insertion.lines.end(), std::move(line));
    tails_.emplace(sectionFold, Tail{static_cast<std::uint32_t>(buf_.size()), made});
  }
  editedKeys_.emplace(fold, &*made);
  return true;
}

bool ProfileStore::Model::Rewrite(const std::string& section, const std::string& key,
                                  std::optional<std::uint32_t> original, Edit* edit, std::string_view raw,
                                  const std::string& fold, const std::string& value) {
  const Parts p = Classify(raw);
  if (p.kind == Kind::kEntry && Value(raw, p, std::string::npos) == value) return false;
  // The key keeps the spelling it has in the file.
  Edit line;
  if (!Encode(Text(NameIn(raw, p)) + "=" + value, line)) {
    ToUtf8();
    return Set(section, key, value);
  }
  if (line.raw == raw) return false;
  if (edit) {
    Count(*edit, false);
    Count(line, true);
    *edit = std::move(line);
  } else {
    if (latin1_ && !IsValidUtf8(raw)) --invalidLines_;
    Count(line, true);
    ++edits_;
    Edit& made = replaced_[*original] = std::move(line);
    editedKeys_.emplace(fold, &made);
  }
  // The line that made the file a Latin-1 one may be gone; then the file would
  // be read as UTF-8 next time, and any Latin-1 letter in it would change.
  if (latin1_ && invalidLines_ == 0) ToUtf8();
  return true;
}

void ProfileStore::Model::ToUtf8() {
  const std::string bytes = Serialize();
  std::string converted(bytes.substr(0, start_));
  converted += Latin1ToUtf8(std::string_view(bytes).substr(start_));
  *this = Model(std::move(converted));
}

std::vector<std::string_view> ProfileStore::Model::Pieces() const {
  const std::string_view buf(buf_);
  std::vector<std::string_view> out;
  std::size_t pos = 0;
  auto r = replaced_.begin();
  auto ins = inserted_.begin();
  while (r != replaced_.end() || ins != inserted_.end()) {
    // New lines at a position come before the original line there.
    if (ins != inserted_.end() && (r == replaced_.end() || ins->first <= r->first)) {
      out.push_back(buf.substr(pos, ins->first - pos));
      pos = ins->first;
      if (ins->second.breakFirst) out.push_back(kCrLf);
      for (const Edit& line : ins->second.lines) {
        out.push_back(line.raw);
        out.push_back(kCrLf);
      }
      ++ins;
    } else {
      out.push_back(buf.substr(pos, r->first - pos));
      out.push_back(r->second.raw);
      pos = BodyEnd(r->first);
      ++r;
    }
  }
  out.push_back(buf.substr(pos));
  return out;
}

std::string ProfileStore::Model::Serialize() const {
  const std::vector<std::string_view> pieces = Pieces();
  std::size_t size = 0;
  for (const std::string_view piece : pieces) size += piece.size();
  std::string out;
  out.reserve(size);
  for (const std::string_view piece : pieces) out += piece;
  return out;
}

ProfileStore::ProfileStore(std::string path, FileSystem& fs) : path_(std::move(path)), fs_(fs) {
  std::error_code ec;
  fullPath_ = std::filesystem::absolute(path_, ec).string();
  if (ec) fullPath_ = path_;
}

ProfileStore::~ProfileStore() {
  try {
    Flush();
  } catch (...) {
    // Out of memory while writing: the file keeps what it had.
  }
  ReleaseLock();
}

void ProfileStore::Fail(int error) {
  if (failure_.empty()) failure_ = "Pelmora could not save to " + fullPath_ + ": " + std::strerror(error);
}

std::string ProfileStore::TakeFailure() { return std::exchange(failure_, {}); }

void ProfileStore::Load(const FileIdentity& id, std::int64_t lookedAtNs) {
  model_.reset();  // the old model's memory is given back before the new one is made
  readError_ = 0;
  FileIdentity seen = id;
  std::string bytes;
  if (id.exists) readError_ = id.size > kMaxFileSize ? EFBIG : fs_.ReadAll(path_, bytes);
  if (readError_ == ENOENT) {  // gone since it was looked at: no file
    readError_ = 0;
    seen = FileIdentity{};
  }
  if (readError_ == 0) {
    try {
      model_ = std::make_unique<Model>(std::move(bytes));
    } catch (const std::bad_alloc&) {
      readError_ = ENOMEM;
    } catch (const std::length_error&) {
      readError_ = EFBIG;
    }
  }
  if (readError_ != 0) {
    std::string().swap(bytes);
    model_ = std::make_unique<Model>(std::string());
    seen = FileIdentity{};  // tried again at the next look
  }
  identity_ = seen;
  racy_ = IsRacy(seen, lookedAtNs);
}

bool ProfileStore::DiskMatchesModel() {
  const std::vector<std::string_view> pieces = model_->Pieces();
  std::size_t piece = 0;
  std::size_t offset = 0;
  auto skipEmpty = [&] {
    while (piece < pieces.size() && offset == pieces[piece].size()) {
      ++piece;
      offset = 0;
    }
  };
  bool same = true;
  const int error = fs_.ReadChunks(path_, [&](std::string_view chunk) {
    while (!chunk.empty()) {
      skipEmpty();
      if (piece == pieces.size()) return same = false;
      const std::size_t n = std::min(chunk.size(), pieces[piece].size() - offset);
      if (chunk.substr(0, n) != pieces[piece].substr(offset, n)) return same = false;
      chunk.remove_prefix(n);
      offset += n;
    }
    return true;
  });
  skipEmpty();
  return error == 0 && same && piece == pieces.size();
}

bool ProfileStore::Revalidate() {
  if (lockWanted_) TakeLock(false);
  if (model_ && !checkFile_) return readError_ == 0;
  checkFile_ = false;
  if (lock_ >= 0) checkedUnderLock_ = true;
  const std::int64_t now = NowNs();
  const FileIdentity id = fs_.Identify(path_);
  if (model_ && readError_ == 0 && id == identity_ && (!racy_ || DiskMatchesModel())) {
    racy_ = IsRacy(id, now);
    return true;
  }
  Load(id, now);
  if (pending_) {
    if (readError_ != 0) {
      // Nothing may be written over a file that can't be read.
      Fail(readError_);
      changes_.clear();
      pending_ = false;
    } else {
      // Someone else changed the file while writes of ours waited: make them
      // again on what the file holds now, so both survive.
      bool changed = false;
      for (const Change& c : changes_) changed = model_->Set(c.section, c.key, c.value) || changed;
      pending_ = changed;
      if (!changed) changes_.clear();
    }
  }
  return readError_ == 0;
}

ProfileValue ProfileStore::ReadProfileValue(std::string_view section, std::string_view key,
                                            std::string_view def) {
  Revalidate();
  // An empty name (or one no line can carry) finds nothing: no head or key
  // of an empty name is indexed.
  if (const std::optional<std::string_view> line = model_->Find(NameOf(section), NameOf(key))) {
    const Parts p = Classify(*line);
    if (p.kind == Kind::kEntry) {
      ProfileValue v;
      v.text = model_->Value(*line, p, kMaxChars);
      v.length = static_cast<int>(Len(v.text));
      return v;
    }
  }
  while (!def.empty() && def.back() == ' ') def.remove_suffix(1);
  ProfileValue v;
  v.text = Left(StripQuotes(def), kMaxChars);
  v.length = static_cast<int>(Len(v.text));
  return v;
}

bool ProfileStore::WriteProfileValue(std::string_view section, std::string_view key,
                                     std::string_view value) {
  const Change change{NameOf(section), NameOf(key), ValueOf(value)};
  if (change.section.empty() || !IsWritableKey(change.key)) return false;
  // Outside a handler a write is a transaction of its own.
  const bool own = frames_.empty();
  if (own) HandlerBegins();
  bool ok = WriteInTransaction(change);
  if (own) {
    ok = Flush() && ok;
    HandlerEnds();
  }
  return ok;
}

bool ProfileStore::WriteInTransaction(const Change& change) {
  if (!Revalidate()) {
    Fail(readError_);
    return false;
  }
  // A file the player made read-only refuses the write at once rather than
  // when the handler ends, so the reads after it (the designer's list after a
  // Save) show what the file holds, not a game that never reached it.
  if (identity_.exists && !identity_.writable && !fs_.Identify(path_).writable) {
    Fail(EACCES);
    return false;
  }
  if (!model_->Set(change.section, change.key, change.value)) return true;
  pending_ = true;
  changes_.push_back(change);
  return true;
}

void ProfileStore::TakeLock(bool makeFolder) {
  lockWanted_ = false;
  if (lock_ >= 0) return;
  const int handle = fs_.Lock(path_, kLockPatience, makeFolder);
  lock_ = handle >= 0 ? handle : -1;
  // A missing folder is no reason to give up: the first write makes it and
  // locks then.
  lockGivenUp_ = handle == -EWOULDBLOCK;
  checkedUnderLock_ = false;
  checkFile_ = true;
}

void ProfileStore::ReleaseLock() {
  if (lock_ >= 0) fs_.Unlock(lock_);
  lock_ = -1;
  lockWanted_ = false;
  lockGivenUp_ = false;
  checkedUnderLock_ = false;
}

// The lock is taken when the handler first reads or writes: a handler that
// never touches the profile (a tick of the clock) costs nothing, and the
// file can't have been seen before that moment anyway.
void ProfileStore::HandlerBegins() {
  const bool lockIsFree = frames_.empty() || frames_.back().waiting;
  frames_.push_back(Frame{});
  if (lockIsFree) lockWanted_ = true;
  checkFile_ = true;
}

void ProfileStore::HandlerEnds() {
  if (!frames_.empty()) frames_.pop_back();
  Flush();
  if (frames_.empty() || frames_.back().waiting) ReleaseLock();
  // A read outside any handler looks at the file again.
  if (frames_.empty()) checkFile_ = true;
}

void ProfileStore::BeforeWait() {
  if (!frames_.empty()) frames_.back().waiting = true;
  Flush();
  ReleaseLock();
}

void ProfileStore::AfterWait() {
  if (!frames_.empty()) {
    frames_.back().waiting = false;
    lockWanted_ = true;
  }
  checkFile_ = true;
}

bool ProfileStore::Flush() {
  if (!pending_) return true;
  // No lock yet (the folder wasn't there when the handler began): take it
  // for this write, making the folder, and look at the file under it.
  const bool ownLock = lock_ < 0 && !lockGivenUp_;
  if (ownLock) TakeLock(true);
  if (lock_ < 0 || !checkedUnderLock_) {
    checkFile_ = true;
    Revalidate();
  }
  bool ok = readError_ == 0;
  if (pending_) {
    const int error = fs_.ReplaceAtomically(path_, model_->Pieces());
    pending_ = false;
    changes_.clear();
    const std::int64_t now = NowNs();
    if (error != 0) {
      // The old file is intact: memory forgets what it doesn't hold.
      Fail(error);
      Load(fs_.Identify(path_), now);
      ok = false;
    } else {
      identity_ = fs_.Identify(path_);
      racy_ = IsRacy(identity_, now);
      if (model_->EditCount() > kMaxEdits) {
        try {
          std::string bytes = model_->Serialize();
          model_.reset();
          model_ = std::make_unique<Model>(std::move(bytes));
        } catch (const std::bad_alloc&) {
          Load(identity_, now);
        }
      }
    }
  }
  if (ownLock) ReleaseLock();
  return ok;
}

int ProfileStore::RemoveLeftoverTemporaries() {
  const int handle = lock_ >= 0 ? lock_ : fs_.Lock(path_, kLockPatience, false);
  if (handle < 0) return 0;
  const int removed = fs_.RemoveTemporaries(path_);
  if (handle != lock_) fs_.Unlock(handle);
  return removed;
}

}  // namespace pelmora
