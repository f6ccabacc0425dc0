#include "profile/ini_document.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

#include "platform/text.h"

namespace pelmora {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCrLf = "\r\n";
// A section with more keys than this is searched by halves; a smaller one
// (a game's 16 words) line by line, which needs no sorting at all.
constexpr std::size_t kLinearKeys = 32;

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

// The value of an entry as a read gives it, cut to maxChars characters.
std::string ValueIn(std::string_view raw, const Parts& p, bool latin1, std::size_t maxChars) {
  const std::string_view value = StripQuotes(raw.substr(p.valueBegin, p.valueSize));
  if (latin1) return Latin1ToUtf8(value.substr(0, maxChars));
  return Left(value, maxChars);
}

ProfileValue Counted(std::string text) {
  const int length = static_cast<int>(Len(text));
  return ProfileValue{std::move(text), length};
}

}  // namespace

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
IniDocument::IniDocument(std::string bytes) : buf_(std::move(bytes)) {
  if (buf_.size() > kMaxBytes) throw std::length_error("text too large for 32-bit offsets");
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
void IniDocument::ForEachLine(std::size_t from, Visit&& visit) const {
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

std::size_t IniDocument::BodyEnd(std::size_t at) const {
  while (at < buf_.size() && !IsLineEnd(buf_[at])) ++at;
  return at;
}

std::string_view IniDocument::LineAt(std::size_t at) const {
  return std::string_view(buf_).substr(at, BodyEnd(at) - at);
}

std::string_view IniDocument::HeadNameAt(std::size_t at) const {
  const std::string_view line = LineAt(at);
  return NameIn(line, Classify(line));
}

// Up to the first `=` or the end of the line, trimmed: the line is known to
// be a key's.
std::string_view IniDocument::KeyNameAt(std::size_t at) const {
  std::size_t end = at;
  while (end < buf_.size() && buf_[end] != '=' && !IsLineEnd(buf_[end])) ++end;
  return Trim(std::string_view(buf_).substr(at, end - at));
}

std::size_t IniDocument::FindSection(std::string_view name) const {
  const auto it = std::lower_bound(heads_.begin(), heads_.end(), name, [this](std::uint32_t head, std::string_view n) {
    return CompareNames(HeadNameAt(head), latin1_, n, false) < 0;
  });
  if (it == heads_.end() || CompareNames(HeadNameAt(*it), latin1_, name, false) != 0) return kNone;
  return *it;
}

// A section's keys lie between its head and the next first head; the lines
// of a sorted section are out of file order, but all of them still lie
// there, which is all the search by offset needs.
std::pair<std::size_t, std::size_t> IniDocument::KeysOf(std::size_t head) const {
  const auto next = std::upper_bound(firstHeads_.begin(), firstHeads_.end(), head);
  const auto first = std::lower_bound(keys_.begin(), keys_.end(), head);
  const auto last = next == firstHeads_.end() ? keys_.end() : std::lower_bound(first, keys_.end(), *next);
  return {static_cast<std::size_t>(first - keys_.begin()), static_cast<std::size_t>(last - keys_.begin())};
}

std::size_t IniDocument::FindKey(std::pair<std::size_t, std::size_t> keys, std::string_view name) const {
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

std::optional<std::string_view> IniDocument::Find(const std::string& section, const std::string& key) const {
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

ProfileValue IniDocument::Read(std::string_view section, std::string_view key, std::string_view def) const {
  // An empty name (or one no line can carry) finds nothing: no head or key
  // of an empty name is indexed.
  if (const std::optional<std::string_view> line = Find(NameOf(section), NameOf(key))) {
    const Parts p = Classify(*line);
    if (p.kind == Kind::kEntry) return Counted(ValueIn(*line, p, latin1_, kMaxChars));
  }
  while (!def.empty() && def.back() == ' ') def.remove_suffix(1);
  return Counted(Left(StripQuotes(def), kMaxChars));
}

bool IniDocument::CanWrite(std::string_view section, std::string_view key) {
  return !NameOf(section).empty() && IsWritableKey(NameOf(key));
}

bool IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  return CanWrite(section, key) && SetNamed(NameOf(section), NameOf(key), ValueOf(value));
}

bool IniDocument::Encode(const std::string& text, Edit& line) const {
  if (!latin1_) {
    line.raw = text;
    return true;
  }
  if (!Utf8ToLatin1(text, line.raw)) return false;
  line.invalidUtf8 = !IsValidUtf8(line.raw);
  return true;
}

bool IniDocument::SetNamed(const std::string& section, const std::string& key, const std::string& value) {
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
    return SetNamed(section, key, value);
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

bool IniDocument::Rewrite(const std::string& section, const std::string& key,
                          std::optional<std::uint32_t> original, Edit* edit, std::string_view raw,
                          const std::string& fold, const std::string& value) {
  const Parts p = Classify(raw);
  if (p.kind == Kind::kEntry && ValueIn(raw, p, latin1_, std::string::npos) == value) return false;
  // The key keeps the spelling it has in the file.
  const std::string_view name = NameIn(raw, p);
  Edit line;
  if (!Encode((latin1_ ? Latin1ToUtf8(name) : std::string(name)) + "=" + value, line)) {
    ToUtf8();
    return SetNamed(section, key, value);
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

void IniDocument::ToUtf8() {
  const std::string bytes = Bytes();
  std::string converted(bytes.substr(0, start_));
  converted += Latin1ToUtf8(std::string_view(bytes).substr(start_));
  *this = IniDocument(std::move(converted));
}

std::vector<std::string_view> IniDocument::Pieces() const {
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

std::string IniDocument::Bytes() const {
  const std::vector<std::string_view> pieces = Pieces();
  std::size_t size = 0;
  for (const std::string_view piece : pieces) size += piece.size();
  std::string out;
  out.reserve(size);
  for (const std::string_view piece : pieces) out += piece;
  return out;
}

}  // namespace pelmora
