#pragma once
// The file access of the profile store, behind a small interface so that a
// test can fail any step of a write (LevelDB's Env is the model).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pelmora {

// What tells one version of a file from another without reading it.
struct FileIdentity {
  bool exists = false;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t modifiedNs = 0;
  bool writable = true;  // false for a file whose mode grants no write

  bool operator==(const FileIdentity&) const = default;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual FileIdentity Identify(const std::string& path) = 0;
  // The whole file, or nullopt when it can't be read (absent included).
  virtual std::optional<std::string> ReadAll(const std::string& path) = 0;

  // Replaces path with bytes atomically and durably: a temporary file in the
  // same folder, written, flushed, renamed over path, and the folder flushed.
  // Creates the folder when it is missing. On failure the old file is intact
  // and no temporary file is left. A read-only file is not replaced.
  bool ReplaceAtomically(const std::string& path, std::string_view bytes);

 protected:
  // The steps of ReplaceAtomically, each of which a test double may fail.
  // A handle is whatever the implementation needs; -1 means failure.
  virtual bool MakeFolder(const std::string& folder) = 0;
  // tempPath comes in as the name of the file being replaced and goes out as
  // the path of the new temporary (in folder, named after that file).
  virtual int CreateTemporary(const std::string& folder, std::string& tempPath) = 0;
  virtual bool WriteAll(int handle, std::string_view bytes) = 0;
  virtual bool Sync(int handle) = 0;
  virtual bool Close(int handle) = 0;
  virtual bool CopyMode(const std::string& from, const std::string& to) = 0;
  virtual bool Rename(const std::string& from, const std::string& to) = 0;
  virtual bool SyncFolder(const std::string& folder) = 0;
  virtual void Remove(const std::string& path) = 0;
};

// The real file system (POSIX).
class PosixFileSystem : public FileSystem {
 public:
  FileIdentity Identify(const std::string& path) override;
  std::optional<std::string> ReadAll(const std::string& path) override;

  // A run killed in the middle of a write leaves its temporary beside the
  // file. Removes those of path's temporaries last changed more than
  // olderThanSeconds ago, which no write still under way can own; returns
  // how many went.
  int RemoveStaleTemporaries(const std::string& path, std::int64_t olderThanSeconds);

 protected:
  bool MakeFolder(const std::string& folder) override;
  int CreateTemporary(const std::string& folder, std::string& tempPath) override;
  bool WriteAll(int handle, std::string_view bytes) override;
  bool Sync(int handle) override;
  bool Close(int handle) override;
  bool CopyMode(const std::string& from, const std::string& to) override;
  bool Rename(const std::string& from, const std::string& to) override;
  bool SyncFolder(const std::string& folder) override;
  void Remove(const std::string& path) override;
};

}  // namespace pelmora
