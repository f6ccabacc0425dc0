#include "profile/profile_store.h"

#include <cstdint>
#include <iterator>
#include <list>
#include <unordered_map>
#include <utility>

#include "platform/text.h"

namespace pelmora {
namespace {

constexpr std::size_t kMaxChars = ProfileStore::kBufferSize - 1;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kCr = "\r";
constexpr std::string_view kLf = "\n";

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

// The name an index is keyed by: the name as the file holds it, upper case;
// empty for a name that names nothing. The names the program asks for are
// short ASCII, which takes the short way.
std::string IndexName(std::string_view name) {
  const std::string_view t = Trim(name);
  std::string out(t);
  for (char& c : out) {
    if (c == '\r' || c == '\n' || c == '\0') return {};
    if (static_cast<unsigned char>(c) >= 0x80) return UCase(NameOf(t));
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

}  // namespace

// The file in memory: every physical line with its own bytes and its own end,
// in order, so that the file can be written back byte for byte; and indexes
// by upper-case name of the first section of each name and, within it, of the
// first key of each name.
class ProfileStore::Model {
 public:
  enum class Kind : std::uint8_t { kBlank, kHead, kEntry, kBareKey };
  struct Line {
    std::string raw;       // the bytes of the line, without its end
    std::string_view end;  // "", "\r", "\n" or "\r\n"
    Kind kind = Kind::kBlank;
    bool invalidUtf8 = false;
    std::size_t nameBegin = 0;  // a head's section name, an entry's key: trimmed
    std::size_t nameSize = 0;
    std::size_t valueBegin = 0;  // an entry's value, trimmed
    std::size_t valueSize = 0;
  };
  using LineIt = std::list<Line>::iterator;
  struct Section {
    LineIt head;
    LineIt last;  // the last line that isn't blank: where a new key goes
    std::unordered_map<std::string, LineIt> keys;
  };

  static std::unique_ptr<Model> Parse(std::string_view bytes);

  // The line of key in section (both as IndexName gives them), or null.
  const Line* Find(const std::string& sectionName, const std::string& keyName);

  // The value of an entry as a read gives it, cut to maxChars characters.
  std::string Value(const Line& line, std::size_t maxChars) const;

  // Sets the key; false when that changes nothing.
  bool Set(const std::string& section, const std::string& key, const std::string& value);

  std::string Serialize() const;

 private:
  static void Classify(Line& line);
  std::string Text(std::string_view bytes) const {
    return latin1_ ? Latin1ToUtf8(bytes) : std::string(bytes);
  }
  std::string Name(const Line& line) const {
    return Text(std::string_view(line.raw).substr(line.nameBegin, line.nameSize));
  }
  std::string Encode(std::string text);
  Line MakeLine(std::string text);
  bool Rewrite(Line& line, std::string text);
  void ToUtf8();

  bool byteOrderMark_ = false;
  bool latin1_ = false;            // the file isn't valid UTF-8: each byte is a character
  std::size_t invalidLines_ = 0;   // lines that aren't valid UTF-8 on their own
  std::list<Line> lines_;
  std::unordered_map<std::string, Section> sections_;
  // The section found last: a walk asks for the same one thousands of times.
  // The first section of a name stays so for the life of the model.
  std::string lastAsked_;
  const Section* lastFound_ = nullptr;
};

std::unique_ptr<ProfileStore::Model> ProfileStore::Model::Parse(std::string_view bytes) {
  auto model = std::make_unique<Model>();
  if (bytes.starts_with(kByteOrderMark)) {
    model->byteOrderMark_ = true;
    bytes.remove_prefix(kByteOrderMark.size());
  }
  // Each CR, LF or CR LF ends a physical line; a run of them leaves blank
  // lines behind, which read as nothing but keep their bytes.
  while (!bytes.empty()) {
    std::size_t cut = 0;
    while (cut < bytes.size() && bytes[cut] != '\r' && bytes[cut] != '\n') ++cut;
    Line line;
    line.raw.assign(bytes.substr(0, cut));
    if (cut == bytes.size()) {
      bytes = {};
    } else if (bytes[cut] == '\r' && cut + 1 < bytes.size() && bytes[cut + 1] == '\n') {
      line.end = kCrLf;
      bytes.remove_prefix(cut + 2);
    } else {
      line.end = bytes[cut] == '\r' ? kCr : kLf;
      bytes.remove_prefix(cut + 1);
    }
    // A UTF-8 sequence never holds a CR or LF, so the file is valid UTF-8
    // exactly when each of its lines is.
    line.invalidUtf8 = !IsValidUtf8(line.raw);
    model->invalidLines_ += line.invalidUtf8 ? 1 : 0;
    model->lines_.push_back(std::move(line));
  }
  model->latin1_ = model->invalidLines_ > 0;

  Section* current = nullptr;  // null before the first head and in a later section of a name
  for (auto it = model->lines_.begin(); it != model->lines_.end(); ++it) {
    Classify(*it);
    if (it->kind == Kind::kBlank) continue;
    if (it->kind == Kind::kHead) {
      auto [pos, added] = model->sections_.try_emplace(IndexName(model->Name(*it)));
      current = added ? &pos->second : nullptr;
      if (current) current->head = current->last = it;
    } else if (current) {
      current->last = it;
      current->keys.try_emplace(IndexName(model->Name(*it)), it);
    }
  }
  return model;
}

void ProfileStore::Model::Classify(Line& line) {
  const std::string_view raw = line.raw;
  const std::string_view trimmed = Trim(raw);
  line.kind = Kind::kBlank;
  line.nameBegin = line.nameSize = line.valueBegin = line.valueSize = 0;
  if (trimmed.empty()) return;
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
      line.kind = Kind::kHead;
      setRange(begin + 1, close, line.nameBegin, line.nameSize);
      return;
    }
  }
  const std::size_t equals = raw.find('=', begin);
  if (equals == std::string_view::npos) {
    line.kind = Kind::kBareKey;
    line.nameBegin = begin;
    line.nameSize = end - begin;
    return;
  }
  line.kind = Kind::kEntry;
  setRange(begin, equals, line.nameBegin, line.nameSize);
  setRange(equals + 1, end, line.valueBegin, line.valueSize);
}

const ProfileStore::Model::Line* ProfileStore::Model::Find(const std::string& sectionName,
                                                            const std::string& keyName) {
  if (!lastFound_ || sectionName != lastAsked_) {
    const auto section = sections_.find(sectionName);
    if (section == sections_.end()) return nullptr;
    lastAsked_ = sectionName;
    lastFound_ = &section->second;
  }
  const auto key = lastFound_->keys.find(keyName);
  return key == lastFound_->keys.end() ? nullptr : &*key->second;
}

std::string ProfileStore::Model::Value(const Line& line, std::size_t maxChars) const {
  const std::string_view value =
      StripQuotes(std::string_view(line.raw).substr(line.valueBegin, line.valueSize));
  if (latin1_) return Latin1ToUtf8(value.substr(0, maxChars));
  return Left(value, maxChars);
}

bool ProfileStore::Model::Set(const std::string& section, const std::string& key,
                              const std::string& value) {
  const std::string sectionUpper = IndexName(section);
  const std::string keyUpper = IndexName(key);
  const auto found = sections_.find(sectionUpper);
  if (found != sections_.end()) {
    Section& s = found->second;
    const auto k = s.keys.find(keyUpper);
    if (k != s.keys.end()) {
      Line& line = *k->second;
      if (line.kind == Kind::kEntry && Value(line, std::string::npos) == value) return false;
      // The key keeps the spelling it has in the file.
      return Rewrite(line, Name(line) + "=" + value);
    }
    Line made = MakeLine(key + "=" + value);
    if (s.last->end.empty()) s.last->end = kCrLf;
    s.last = lines_.insert(std::next(s.last), std::move(made));
    s.keys.emplace(keyUpper, s.last);
    return true;
  }
  if (!lines_.empty() && lines_.back().end.empty()) lines_.back().end = kCrLf;
  Section& s = sections_[sectionUpper];
  // The head is in the file before the entry is made, so that a change of
  // encoding the entry calls for reaches the head too.
  s.head = lines_.insert(lines_.end(), MakeLine("[" + section + "]"));
  s.last = lines_.insert(lines_.end(), MakeLine(key + "=" + value));
  s.keys.emplace(keyUpper, s.last);
  return true;
}

// The bytes of a new line of text in the file's own encoding. A Latin-1 file
// takes a line that Latin-1 can spell; for any other the whole file becomes
// UTF-8, which reads the same.
std::string ProfileStore::Model::Encode(std::string text) {
  if (!latin1_) return text;
  std::string bytes;
  if (Utf8ToLatin1(text, bytes)) return bytes;
  ToUtf8();
  return text;
}

ProfileStore::Model::Line ProfileStore::Model::MakeLine(std::string text) {
  Line line;
  line.raw = Encode(std::move(text));
  line.end = kCrLf;
  line.invalidUtf8 = latin1_ && !IsValidUtf8(line.raw);
  invalidLines_ += line.invalidUtf8 ? 1 : 0;
  Classify(line);
  return line;
}

bool ProfileStore::Model::Rewrite(Line& line, std::string text) {
  std::string raw = Encode(std::move(text));
  if (raw == line.raw) return false;
  invalidLines_ -= line.invalidUtf8 ? 1 : 0;
  line.raw = std::move(raw);
  line.invalidUtf8 = latin1_ && !IsValidUtf8(line.raw);
  invalidLines_ += line.invalidUtf8 ? 1 : 0;
  Classify(line);
  // The line that made the file a Latin-1 one may be gone; then the file would
  // be read as UTF-8 next time, and any Latin-1 letter in it would change.
  if (latin1_ && invalidLines_ == 0) ToUtf8();
  return true;
}

void ProfileStore::Model::ToUtf8() {
  for (Line& line : lines_) {
    const std::string converted = Latin1ToUtf8(line.raw);
    if (converted.size() != line.raw.size()) {
      line.raw = converted;
      Classify(line);
    }
    line.invalidUtf8 = false;
  }
  latin1_ = false;
  invalidLines_ = 0;
}

std::string ProfileStore::Model::Serialize() const {
  std::size_t size = byteOrderMark_ ? kByteOrderMark.size() : 0;
  for (const Line& line : lines_) size += line.raw.size() + line.end.size();
  std::string out;
  out.reserve(size);
  if (byteOrderMark_) out += kByteOrderMark;
  for (const Line& line : lines_) {
    out += line.raw;
    out += line.end;
  }
  return out;
}

ProfileStore::ProfileStore(std::string path, FileSystem& fs) : path_(std::move(path)), fs_(fs) {}

ProfileStore::~ProfileStore() {
  try {
    Flush();
  } catch (...) {
    // Out of memory while writing: the file keeps what it had.
  }
}

bool ProfileStore::Revalidate() {
  if (model_ && !checkFile_) return readable_;
  checkFile_ = false;
  const FileIdentity id = fs_.Identify(path_);
  if (model_ && id == identity_) return readable_;

  std::optional<std::string> bytes;
  if (id.exists) bytes = fs_.ReadAll(path_);
  readable_ = !id.exists || bytes.has_value();
  model_ = Model::Parse(bytes ? *bytes : std::string_view());
  // An unreadable file is tried again at the next look.
  identity_ = readable_ ? id : FileIdentity{};

  if (pending_) {
    // Someone else changed the file while writes of ours waited: make them
    // again on what the file holds now, so both survive.
    bool changed = false;
    if (readable_) {
      for (const Change& c : changes_) changed = model_->Set(c.section, c.key, c.value) || changed;
    }
    pending_ = changed;
    if (!changed) changes_.clear();
  }
  return readable_;
}

ProfileValue ProfileStore::ReadProfileValue(std::string_view section, std::string_view key,
                                            std::string_view def) {
  Revalidate();
  const std::string s = IndexName(section);
  const std::string k = IndexName(key);
  if (!s.empty() && !k.empty()) {
    const Model::Line* line = model_->Find(s, k);
    if (line && line->kind == Model::Kind::kEntry) {
      ProfileValue v;
      v.text = model_->Value(*line, kMaxChars);
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
  Change change{NameOf(section), NameOf(key), ValueOf(value)};
  if (change.section.empty() || !IsWritableKey(change.key)) return false;
  if (!Revalidate()) return false;
  // A file the player made read-only refuses the write at once rather than
  // when the handler ends, so the reads after it (the designer's list after a
  // Save) show what the file holds, not a game that never reached it.
  if (identity_.exists && !identity_.writable && !fs_.Identify(path_).writable) return false;
  if (!model_->Set(change.section, change.key, change.value)) return true;
  pending_ = true;
  changes_.push_back(std::move(change));
  return depth_ > 0 || Flush();
}

void ProfileStore::HandlerBegins() {
  ++depth_;
  checkFile_ = true;
}

void ProfileStore::HandlerEnds() {
  if (depth_ > 0) --depth_;
  Flush();
}

void ProfileStore::BeforeWait() { Flush(); }

void ProfileStore::AfterWait() { checkFile_ = true; }

bool ProfileStore::Flush() {
  if (!pending_) return true;
  pending_ = false;
  changes_.clear();
  if (!fs_.ReplaceAtomically(path_, model_->Serialize())) {
    // The old file is intact; forget what it doesn't hold.
    model_.reset();
    return false;
  }
  identity_ = fs_.Identify(path_);
  return true;
}

}  // namespace pelmora
