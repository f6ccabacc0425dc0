#pragma once
// The file access of the profile store, behind a small interface so that a
// test can fail a step of a write or a read.
//
// Failures come back as the errno of the step that failed (0 for success),
// so that the player can be told why a save didn't happen.

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace pelmora {

// What tells one version of a file from another without reading it. The
// change time can't be set by anyone: any write moves it on.
struct FileIdentity {
  bool exists = false;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t modifiedNs = 0;
  std::int64_t changedNs = 0;
  bool writable = true;  // false for a file whose mode grants no write

  bool operator==(const FileIdentity&) const = default;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // Of the file path names in the end (symbolic links followed).
  virtual FileIdentity Identify(const std::string& path) = 0;
  // The time now on the clock that stamps the files' change times
  // (FileIdentity::changedNs): what tells whether a file changed so lately
  // that its identity may not yet show the next change.
  virtual std::int64_t NowNs() = 0;

  // Hands the file's bytes to take, a piece at a time, until take returns
  // false or the file ends. 0, or the errno of the failure (ENOENT for a
  // file that isn't there).
  virtual int ReadChunks(const std::string& path, const std::function<bool(std::string_view)>& take) = 0;
  // The whole file into bytes; ENOMEM when memory runs out while reading.
  int ReadAll(const std::string& path, std::string& bytes);

  // The file a write of path replaces: path itself, or, when path is a
  // symbolic link, the file at the end of its chain of links (a relative
  // target counts from the link's folder), which need not exist yet. Empty,
  // with errno set, when the chain can't be followed (ELOOP, EIO...).
  virtual std::string RealFile(const std::string& path) = 0;

  // Replaces the real file of path with the pieces, one after another,
  // atomically and durably: a temporary file in the real file's folder, with
  // the owner, group and mode of the file it replaces, written, flushed,
  // renamed over it, and the folder flushed. Creates the folder when it is
  // missing. On failure the old file is intact and no temporary is left. A
  // file whose mode grants no write is not replaced (EACCES). Returns 0 or
  // the errno of the step that failed.
  int ReplaceAtomically(const std::string& path, std::span<const std::string_view> pieces);
  int ReplaceAtomically(const std::string& path, std::string_view bytes) {
    return ReplaceAtomically(path, std::span<const std::string_view>(&bytes, 1));
  }

  // Takes the exclusive lock that guards path against the other processes
  // that write it: an advisory lock on a lock file beside the real file,
  // waited for at most patience. makeFolder: make the real file's folder
  // first when it is missing. Returns a handle for Unlock, or minus the
  // errno (-ENOENT when there is no folder, -EWOULDBLOCK when the lock was
  // not had in time).
  virtual int Lock(const std::string& path, std::chrono::milliseconds patience, bool makeFolder) = 0;
  virtual void Unlock(int handle) = 0;

  // Removes every temporary a write of path may have left beside its real
  // file (a run killed in the middle of a write), whatever its age; returns
  // how many went. Only safe while the lock is held.
  virtual int RemoveTemporaries(const std::string& path) = 0;

 protected:
  // The steps of ReplaceAtomically, each of which a test double may fail. A
  // step that fails returns false (or -1) with errno set. A handle is
  // whatever the implementation needs.
  virtual bool MakeFolder(const std::string& folder) = 0;
  // tempPath comes in as the name of the file being replaced and goes out as
  // the path of the new temporary (in folder, named after that file).
  virtual int CreateTemporary(const std::string& folder, std::string& tempPath) = 0;
  // Gives the temporary the owner, group and mode of the file at path, or
  // the mode of a new file when there is none.
  virtual bool CopyOwnerAndMode(const std::string& path, int handle) = 0;
  virtual bool WriteAll(int handle, std::string_view bytes) = 0;
  virtual bool Sync(int handle) = 0;
  virtual bool Close(int handle) = 0;
  virtual bool Rename(const std::string& from, const std::string& to) = 0;
  virtual bool SyncFolder(const std::string& folder) = 0;
  virtual void Remove(const std::string& path) = 0;
};

// The real file system (POSIX).
class PosixFileSystem : public FileSystem {
 public:
  FileIdentity Identify(const std::string& path) override;
  std::int64_t NowNs() override;
  int ReadChunks(const std::string& path, const std::function<bool(std::string_view)>& take) override;
  std::string RealFile(const std::string& path) override;
  int Lock(const std::string& path, std::chrono::milliseconds patience, bool makeFolder) override;
  void Unlock(int handle) override;
  int RemoveTemporaries(const std::string& path) override;

 protected:
  bool MakeFolder(const std::string& folder) override;
  int CreateTemporary(const std::string& folder, std::string& tempPath) override;
  bool CopyOwnerAndMode(const std::string& path, int handle) override;
  bool WriteAll(int handle, std::string_view bytes) override;
  bool Sync(int handle) override;
  bool Close(int handle) override;
  bool Rename(const std::string& from, const std::string& to) override;
  bool SyncFolder(const std::string& folder) override;
  void Remove(const std::string& path) override;
};

// The real file system with a disk that can be made to fail: while
// writeError is set, writing the temporary fails with that errno (ENOSPC
// plays a full disk); while readError is set, every read fails with it (EIO
// plays a bad sector).
class FaultInjectingFileSystem : public PosixFileSystem {
 public:
  int writeError = 0;
  int readError = 0;

  int ReadChunks(const std::string& path, const std::function<bool(std::string_view)>& take) override;

 protected:
  bool WriteAll(int handle, std::string_view bytes) override;
};

}  // namespace pelmora
