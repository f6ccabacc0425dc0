#pragma once
// ProfileStore: the access to wsearch.ini, the one file that outlives a run.
// Two operations, ReadProfileValue and WriteProfileValue, on an IniDocument
// of the file's bytes, which holds every rule of reading and writing it; the
// store brings those bytes from the disk and takes them back, in turns with
// every other process that writes the file.
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

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "profile/ini_document.h"

namespace pelmora {

class ProfileStore final : public WriteGroup {
 public:
  // fs must outlive the store. The file need not exist, nor its folder.
  ProfileStore(std::string path, FileSystem& fs);
  ~ProfileStore() override;
  ProfileStore(const ProfileStore&) = delete;
  ProfileStore& operator=(const ProfileStore&) = delete;

  const std::string& Path() const { return path_; }

  // The value of key in section, or def when the file, the section or the key
  // is missing (IniDocument::Read).
  ProfileValue ReadProfileValue(std::string_view section, std::string_view key,
                                std::string_view def);

  // Sets key in section to value (IniDocument::Set), creating the file and its
  // folder as needed. Returns false when the write was refused or, outside a
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
  // A write the disk hasn't seen yet, kept to be made again on a fresh parse
  // when someone else changed the file meanwhile.
  struct Change {
    std::string section, key, value;
  };
  struct Frame {
    bool waiting = false;  // the handler waits for the player: the lock isn't held for it
  };

  bool WriteInTransaction(const Change& change);
  // Brings the document up to date with the file; false when the file exists but
  // can't be read (then nothing may be written over it).
  bool Revalidate();
  // Parses the file as it is now, dropping the document first.
  void Load(const FileIdentity& id, std::int64_t lookedAtNs);
  // Whether the file holds exactly what the document would write.
  bool DiskMatchesDocument();
  void TakeLock(bool makeFolder);
  void ReleaseLock();
  void Fail(int error);

  std::string path_;
  std::string fullPath_;  // path_ made absolute, for the player
  FileSystem& fs_;
  std::optional<IniDocument> doc_;  // none until the file is first looked at
  FileIdentity identity_;        // the file as the document last saw it
  bool racy_ = false;            // the file changed so lately that the identity may not show a next change
  int readError_ = 0;            // the errno of the last read when the file couldn't be read
  std::vector<Change> changes_;  // the pending writes, in order
  bool pending_ = false;         // memory holds writes the disk hasn't seen
  bool checkFile_ = true;        // look at the file before the next read or write
  std::vector<Frame> frames_;    // the handlers under way, innermost last
  int lock_ = -1;                // the lock's handle while held
  bool lockWanted_ = false;      // a handler under way is to take the lock at its first read or write
  bool lockGivenUp_ = false;     // this transaction runs unlocked: the lock wasn't had in time
  bool checkedUnderLock_ = false;  // the document was checked against the file since the lock was taken
  std::string failure_;
};

}  // namespace pelmora
