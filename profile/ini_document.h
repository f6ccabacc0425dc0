#pragma once
// IniDocument: the text of an INI file as a value. Bytes in; the value of a
// key found, a key set, and the bytes out. It knows no file, clock or lock:
// ProfileStore brings the bytes from the disk and takes them back.
//
// Reading, as the platform's profile functions read a hand-edited file: a
// line ends at CR, LF or any run of them; a UTF-8 byte-order mark is skipped;
// lines are trimmed of blanks (tab, LF, VT, FF, CR, 0x1A, space) and empty
// ones ignored; `[name]` (to the last `]`) is a section head, a `[` line with
// no `]` an ordinary line; other lines are entries split at the first `=`,
// name and value trimmed, and a line with no `=` reads as absent. Names
// compare without regard to case (Latin-1 and UTF-8 letters alike); only the
// first section of a name is searched, and in it the first key of a name
// wins. A value (and a default) that starts and ends with the same quote
// character, with at least two characters, loses both quotes; the default
// also loses its trailing spaces. A value read holds at most 31 characters,
// never a character cut in two. Bytes that aren't valid UTF-8 are read as
// Latin-1, one character a byte.
//
// Writing: a write replaces the value of an existing key in place (keeping
// the spelling of its name), or adds the key after the last entry of the
// first section of that name, or adds the section at the end. Every other
// byte stays as it was; writing the value already there changes nothing. New
// lines are UTF-8 and end in CR LF; a Latin-1 text gets its new lines in
// Latin-1, and becomes UTF-8 as a whole when a write can't be spelt in
// Latin-1 or when the last line that made it Latin-1 is gone.
//
// Cost: the bytes as given, an index of 32-bit offsets within twice their
// size, and the lines written since, laid over the bytes without moving them.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace pelmora {

// What a read gives: the value, at most 31 characters, and its length in
// characters.
struct ProfileValue {
  std::string text;
  int length = 0;
};

class IniDocument {
 public:
  // A value read holds at most this many characters.
  static constexpr std::size_t kMaxChars = 31;
  // The most bytes a document holds: its offsets are 32-bit.
  static constexpr std::uint64_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();

  // bytes: the whole file, or none for a file that isn't there. Throws
  // std::bad_alloc when memory runs out and std::length_error for more than
  // kMaxBytes.
  explicit IniDocument(std::string bytes = {});
  // Moves keep the lines written; a copy would have to rebuild them.
  IniDocument(IniDocument&&) = default;
  IniDocument& operator=(IniDocument&&) = default;
  IniDocument(const IniDocument&) = delete;
  IniDocument& operator=(const IniDocument&) = delete;

  // The value of key in section, or def when the section or the key is
  // missing. A key with nothing behind `=` gives the empty text.
  ProfileValue Read(std::string_view section, std::string_view key, std::string_view def) const;

  // Whether a write to key in section can be read back as written: false for
  // a blank section, a blank key, a key holding `=` or starting with `[`, and
  // names holding a line break or a NUL.
  static bool CanWrite(std::string_view section, std::string_view key);

  // Sets key in section to value (names trimmed, value cut at its first line
  // break or NUL, a byte that isn't UTF-8 taken as Latin-1). An empty value
  // blanks the key; nothing is ever removed. False when the bytes stay the
  // same, or when CanWrite refuses.
  bool Set(std::string_view section, std::string_view key, std::string_view value);

  // The bytes as they stand, in order. The pieces point into the document and
  // last until the next Set.
  std::vector<std::string_view> Pieces() const;
  std::string Bytes() const;

  // How many lines are laid over the bytes given: a holder that keeps a
  // document through many writes starts afresh from Bytes() now and then.
  std::size_t EditCount() const { return edits_; }

 private:
  struct Edit {
    std::string raw;  // the line's bytes, in the text's encoding, without its end
    bool invalidUtf8 = false;
  };
  // New lines at one position of the bytes given, each ending in CR LF.
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

  // The line that holds key in section now (names trimmed, as the file holds
  // them).
  std::optional<std::string_view> Find(const std::string& section, const std::string& key) const;
  bool SetNamed(const std::string& section, const std::string& key, const std::string& value);

  template <typename Visit>
  void ForEachLine(std::size_t from, Visit&& visit) const;
  std::size_t BodyEnd(std::size_t at) const;
  std::string_view LineAt(std::size_t at) const;
  std::string_view HeadNameAt(std::size_t at) const;
  std::string_view KeyNameAt(std::size_t at) const;
  // The head of the first section of a name, or kNone.
  std::size_t FindSection(std::string_view name) const;
  // The keys_ of the section whose head is at `head`: begin and end.
  std::pair<std::size_t, std::size_t> KeysOf(std::size_t head) const;
  std::size_t FindKey(std::pair<std::size_t, std::size_t> keys, std::string_view name) const;

  // The bytes of a line of text in the document's encoding; false when a
  // Latin-1 text can't spell it.
  bool Encode(const std::string& text, Edit& line) const;
  void Count(const Edit& line, bool added) {
    if (line.invalidUtf8) added ? ++invalidLines_ : --invalidLines_;
  }
  // Gives an existing key (a line given at `original`, or an edit) its new
  // value in place.
  bool Rewrite(const std::string& section, const std::string& key, std::optional<std::uint32_t> original,
               Edit* edit, std::string_view raw, const std::string& fold, const std::string& value);
  // Makes the whole text UTF-8, which reads the same; the edits are folded
  // into a fresh parse.
  void ToUtf8();

  std::string buf_;
  std::size_t start_ = 0;         // past the byte-order mark
  bool latin1_ = false;           // the bytes aren't valid UTF-8: each byte is a character
  std::size_t invalidLines_ = 0;  // lines (given or edited) that aren't valid UTF-8 on their own
  std::vector<std::uint32_t> heads_;       // the first head of each name, by name
  std::vector<std::uint32_t> firstHeads_;  // the same, in order
  std::vector<std::uint32_t> keys_;        // their key lines

  std::map<std::uint32_t, Edit> replaced_;             // lines given that were replaced, by offset
  std::map<std::uint32_t, Insertion> inserted_;        // new lines, by position
  std::unordered_map<std::string, Edit*> editedKeys_;  // "SECTION\nKEY" -> its line, for edited keys
  std::unordered_map<std::string, Tail> tails_;        // "SECTION" -> where its next new key goes
  std::size_t edits_ = 0;
  // The section found last: a walk asks for the same one thousands of times.
  mutable std::string lastAsked_;
  mutable std::pair<std::size_t, std::size_t> lastFound_{kNone, kNone};
};

}  // namespace pelmora
