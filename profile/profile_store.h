#pragma once
// ProfileStore: the access to wsearch.ini, the one file that outlives a run.
// Two operations, ReadProfileValue and WriteProfileValue, with the rules of
// the public INI form as the platform's profile functions apply them.
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
// Sharing the file: each event handler is one transaction. When a handler
// first reads or writes, the store takes the profile's lock (an advisory lock
// beside the real file, shared with every other copy of the program and
// pelmora-script) and looks at the file, parsing it again when someone else
// changed it. The handler's writes change memory at once, so a read always
// sees every earlier write, and reach the disk as one atomic, durable
// replacement of the file when the handler ends, after which the lock is
// given back. Before the handler waits for the player (a message box, a
// modal window) what it wrote so far goes to disk and the lock is given
// back; after the wait it is taken again (at the next read or write) and the
// file looked at again. Handlers nest. A lock that isn't had within two
// seconds (a hung process) is given up on, and the handler runs unlocked. A
// write outside any handler is a transaction of its own.
//
// A profile that is a symbolic link is written through: the file at the end
// of the link keeps its owner, group and mode, and the link stays a link.
//
// Failures: a write that can't reach the disk (a read-only file or folder, a
// full disk, a folder that can't be made) leaves the old file intact; the
// store forgets the writes that didn't land and takes the file as it is on
// disk again, and TakeFailure hands out one sentence for the player. A file
// that exists but can't be read (an I/O error, too little memory) is never
// written over: the store reads defaults and refuses every write, told the
// same way. No file of any size or content can crash the store; its memory
// stays within three times the file's size and a constant.

#include <cstddef>
#include <cstdint>
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

  // fs must outlive the store. The file need not exist, nor its folder.
  ProfileStore(std::string path, FileSystem& fs);
  ~ProfileStore() override;
  ProfileStore(const ProfileStore&) = delete;
  ProfileStore& operator=(const ProfileStore&) = delete;

  const std::string& Path() const { return path_; }

  // The value of key in section, or def when the file, the section or the key
  // is missing. A key with nothing behind `=` gives the empty text, length 0.
  // A longer value is cut to its first 31 characters.
  ProfileValue ReadProfileValue(std::string_view section, std::string_view key,
                                std::string_view def);

  // Sets key in section to value, creating the file, the section and the key
  // as needed. An empty value blanks the key; nothing is ever removed. A
  // value holding a line break is cut there, so a write can never add a line
  // of its own. Returns false when the write was refused or, outside a
  // handler, could not reach the disk (never looked at by the program).
  bool WriteProfileValue(std::string_view section, std::string_view key, std::string_view value);

  // WriteGroup: the event door makes each handler a transaction.
  void HandlerBegins() override;
  void HandlerEnds() override;
  void BeforeWait() override;
  void AfterWait() override;
  // "Pelmora could not save to PATH: REASON" for the first write that failed
  // since the last call, or empty.
  std::string TakeFailure() override;

  // Writes out the grouped writes now; false when they could not be written.
  bool Flush();

  // With the lock held, removes every temporary file a killed run left beside
  // the profile; returns how many went. Nothing is removed when the lock
  // can't be had: the temporary may be another writer's.
  int RemoveLeftoverTemporaries();

 private:
  class Model;
  // A write the disk hasn't seen yet, kept to be made again on a fresh parse
  // when someone else changed the file meanwhile.
  struct Change {
    std::string section, key, value;
  };
  struct Frame {
    bool waiting = false;  // the handler waits for the player: the lock isn't held for it
  };

  bool WriteInTransaction(const Change& change);
  // Brings the model up to date with the file; false when the file exists but
  // can't be read (then nothing may be written over it).
  bool Revalidate();
  // Parses the file as it is now, dropping the model first.
  void Load(const FileIdentity& id, std::int64_t lookedAtNs);
  // Whether the file holds exactly what the model would write.
  bool DiskMatchesModel();
  void TakeLock(bool makeFolder);
  void ReleaseLock();
  void Fail(int error);

  std::string path_;
  std::string fullPath_;  // path_ made absolute, for the player
  FileSystem& fs_;
  std::unique_ptr<Model> model_;
  FileIdentity identity_;        // the file as the model last saw it
  bool racy_ = false;            // the file changed so lately that the identity may not show a next change
  int readError_ = 0;            // the errno of the last read when the file couldn't be read
  std::vector<Change> changes_;  // the pending writes, in order
  bool pending_ = false;         // memory holds writes the disk hasn't seen
  bool checkFile_ = true;        // look at the file before the next read or write
  std::vector<Frame> frames_;    // the handlers under way, innermost last
  int lock_ = -1;                // the lock's handle while held
  bool lockWanted_ = false;      // a handler under way is to take the lock at its first read or write
  bool lockGivenUp_ = false;     // this transaction runs unlocked: the lock wasn't had in time
  bool checkedUnderLock_ = false;  // the model was checked against the file since the lock was taken
  std::string failure_;
};

}  // namespace pelmora
