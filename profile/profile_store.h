#pragma once
// ProfileStore: the access to wsearch.ini, the one file that outlives a run.
// Two operations, ReadProfileValue and WriteProfileValue, with the rules of
// the public INI form as the platform's profile functions apply them.
//
// The store keeps the parsed file in memory and serves reads from it; before
// the first read of each handler (and after each wait for the player) it
// looks at the file's identity and parses the file again when someone else
// changed it. Writes change the memory at once, so a read always sees every
// earlier write; on disk they are grouped per handler into one atomic,
// durable replacement of the file, made when the handler ends and before any
// message box or modal window. Outside a handler each write goes to disk at
// once.
//
// Reading a hand-edited file: a line ends at CR, LF or any run of them; a
// UTF-8 byte-order mark is skipped; lines are trimmed of blanks (tab, LF, VT,
// FF, CR, 0x1A, space) and empty ones ignored; `[name]` (to the last `]`) is a
// section head, a `[` line with no `]` an ordinary line; other lines are
// entries split at the first `=`, name and value trimmed, and a line with no
// `=` reads as absent. Names compare without regard to case; only the first
// section of a name is searched, and in it the first key of a name wins. A
// value (and a default) that starts and ends with the same quote character,
// with at least two characters, loses both quotes; the default also loses
// its trailing spaces. A file that isn't valid UTF-8 is read as Latin-1.
//
// Writing: a write replaces the value of an existing key in place (keeping
// the spelling of its name), or adds the key after the last entry of the
// first section of that name, or adds the section at the end of the file.
// Every other byte stays as it was; writing the value already stored changes
// nothing on disk. New files are UTF-8 without a byte-order mark, CR LF.
//
// Failures are not reported to the player: a write that can't reach the disk
// (read-only file, full disk, folder that can't be made) leaves the old file
// intact, is dropped from memory, and the next read shows what the file
// holds. No file of any size or content can crash the store.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/event_door.h"
#include "platform/file_system.h"

namespace pelmora {

// What a read gives: the value, at most 31 characters, and its length in
// characters.
struct ProfileValue {
  std::string text;
  int length = 0;
};

class ProfileStore final : public WriteGroup {
 public:
  // The size of the read buffer: a value read holds at most 31 characters.
  static constexpr std::size_t kBufferSize = 32;

  // fs must outlive the store. The file need not exist.
  ProfileStore(std::string path, FileSystem& fs);
  ~ProfileStore() override;

  const std::string& Path() const { return path_; }

  // The value of key in section, or def when the file, the section or the key
  // is missing. A key with nothing behind `=` gives the empty text, length 0.
  // A longer value is cut to its first 31 characters.
  ProfileValue ReadProfileValue(std::string_view section, std::string_view key,
                                std::string_view def);

  // Sets key in section to value, creating the file, the section and the key
  // as needed. An empty value blanks the key; nothing is ever removed. A
  // value holding a line break is cut there, so a write can never add a line
  // of its own. Returns false when the write could not reach the disk (never
  // looked at by the program, kept for tests).
  bool WriteProfileValue(std::string_view section, std::string_view key, std::string_view value);

  // WriteGroup: the event door groups the writes of a handler.
  void HandlerBegins() override;
  void HandlerEnds() override;
  void BeforeWait() override;
  void AfterWait() override;

  // Writes out any grouped writes now; false when they could not be written.
  bool Flush();

 private:
  class Model;
  // A write the disk hasn't seen yet, kept to be made again on a fresh parse
  // when someone else changes the file meanwhile.
  struct Change {
    std::string section, key, value;
  };
  // Brings the model up to date with the file; false when the file exists but
  // can't be read (then nothing may be written over it).
  bool Revalidate();

  std::string path_;
  FileSystem& fs_;
  std::unique_ptr<Model> model_;
  FileIdentity identity_;        // the file as the model last saw it
  std::vector<Change> changes_;  // the pending writes, in order
  int depth_ = 0;                // nesting of handlers
  bool checkFile_ = true;        // look at the file's identity before the next read
  bool pending_ = false;         // memory holds writes the disk hasn't seen
  bool readable_ = true;         // false while the file exists but can't be read
};

}  // namespace pelmora
