#include "platform/file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace pelmora {
namespace {

constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kNewFolderMode = 0755;
// A chain of links longer than the kernel's own limit is a loop.
constexpr int kMaxLinks = 40;
// Pieces smaller than this are gathered into one write.
constexpr std::size_t kWriteChunk = 1 << 16;

bool IsFolder(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The folder and the name of a path, as the rest of this file joins them.
std::pair<std::string, std::string> SplitPath(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  return {slash == 0 ? std::string("/") : path.substr(0, slash), path.substr(slash + 1)};
}

// Runs one step of a replacement: 0, or the errno it failed with (EIO for a
// step that failed without saying why).
template <typename Step>
int Attempt(Step&& step) {
  errno = 0;
  if (step()) return 0;
  return errno != 0 ? errno : EIO;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

int FileSystem::ReadAll(const std::string& path, std::string& bytes) {
  try {
    bytes.clear();
    const FileIdentity id = Identify(path);
    if (id.exists) bytes.reserve(static_cast<std::size_t>(id.size));
    return ReadChunks(path, [&bytes](std::string_view chunk) {
      bytes.append(chunk);
      return true;
    });
  } catch (const std::bad_alloc&) {
    std::string().swap(bytes);
    return ENOMEM;
  }
}

int FileSystem::ReplaceAtomically(const std::string& path, std::span<const std::string_view> pieces) {
  errno = 0;
  const std::string real = RealFile(path);
  if (real.empty()) return errno != 0 ? errno : ELOOP;
  const auto split = SplitPath(real);
  const std::string& folder = split.first;
  const std::string& name = split.second;
  if (name.empty()) return EISDIR;
  if (const int err = Attempt([&] { return MakeFolder(folder); })) return err;

  const FileIdentity old = Identify(real);
  if (old.exists && !old.writable) return EACCES;

  std::string tempPath = name;  // CreateTemporary names the temporary after the file
  int handle = -1;
  if (const int err = Attempt([&] { return (handle = CreateTemporary(folder, tempPath)) >= 0; })) return err;

  int err = Attempt([&] { return CopyOwnerAndMode(real, handle); });
  // Small pieces are gathered so that a file of many edits takes few writes.
  std::string gathered;
  auto writeGathered = [&] {
    if (err == 0 && !gathered.empty()) err = Attempt([&] { return WriteAll(handle, gathered); });
    gathered.clear();
  };
  for (const std::string_view piece : pieces) {
    if (gathered.size() + piece.size() > kWriteChunk) writeGathered();
    if (piece.size() >= kWriteChunk) {
      if (err == 0) err = Attempt([&] { return WriteAll(handle, piece); });
    } else {
      gathered.append(piece);
    }
  }
  writeGathered();
  if (err == 0) err = Attempt([&] { return Sync(handle); });
  // The handle is given back even after a failed write.
  const int closeErr = Attempt([&] { return Close(handle); });
  if (err == 0) err = closeErr;
  if (err == 0) err = Attempt([&] { return Rename(tempPath, real); });
  if (err != 0) {
    Remove(tempPath);
    return err;
  }
  // The new contents are in place; without the folder's flush a power cut
  // could still bring back the old file, so the write doesn't count as done.
  return Attempt([&] { return SyncFolder(folder); });
}

FileIdentity PosixFileSystem::Identify(const std::string& path) {
  FileIdentity id;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return id;
  id.exists = true;
  id.device = static_cast<std::uint64_t>(st.st_dev);
  id.inode = static_cast<std::uint64_t>(st.st_ino);
  id.size = static_cast<std::uint64_t>(st.st_size);
  id.modifiedNs = static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec;
  id.changedNs = static_cast<std::int64_t>(st.st_ctim.tv_sec) * 1'000'000'000 + st.st_ctim.tv_nsec;
  // The mode bits decide even for root, who may write anything: a file the
  // player made read-only stays untouched.
  id.writable = (st.st_mode & 0222) != 0 && ::access(path.c_str(), W_OK) == 0;
  return id;
}

std::int64_t PosixFileSystem::NowNs() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

int PosixFileSystem::ReadChunks(const std::string& path, const std::function<bool(std::string_view)>& take) {
  const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) return errno;
  std::vector<char> chunk(kWriteChunk);
  for (;;) {
    const ssize_t n = ::read(fd.get(), chunk.data(), chunk.size());
    if (n == 0) return 0;
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (!take(std::string_view(chunk.data(), static_cast<std::size_t>(n)))) return 0;
  }
}

std::string PosixFileSystem::RealFile(const std::string& path) {
  std::string current = path;
  for (int links = 0; links <= kMaxLinks; ++links) {
    struct stat st {};
    // A file that isn't there (or can't be looked at) is the one a write
    // makes, or the one whose step will say what is wrong.
    if (::lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return current;
    std::string target(std::max<std::size_t>(static_cast<std::size_t>(st.st_size), 64) + 1, '\0');
    for (;;) {
      const ssize_t n = ::readlink(current.c_str(), target.data(), target.size());
      if (n < 0) return {};
      if (static_cast<std::size_t>(n) < target.size()) {
        target.resize(static_cast<std::size_t>(n));
        break;
      }
      target.resize(target.size() * 2);  // the link changed meanwhile and grew
    }
    if (target.empty()) {
      errno = ENOENT;
      return {};
    }
    const std::size_t slash = current.rfind('/');
    if (target.front() != '/' && slash != std::string::npos) target = current.substr(0, slash + 1) + target;
    current = std::move(target);
  }
  errno = ELOOP;
  return {};
}

int PosixFileSystem::Lock(const std::string& path, std::chrono::milliseconds patience, bool makeFolder) {
  errno = 0;
  const std::string real = RealFile(path);
  if (real.empty()) return -(errno != 0 ? errno : ELOOP);
  const auto [folder, name] = SplitPath(real);
  if (makeFolder && !MakeFolder(folder)) return -(errno != 0 ? errno : EIO);
  // The lock file is never removed: a process may be waiting on it.
  const std::string lockPath = folder + "/." + name + ".lock";
  int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kNewFileMode);
  // Another user's lock file (a run under sudo made it) locks as well read-only.
  if (fd < 0 && errno != ENOENT) fd = ::open(lockPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return -errno;

  const auto deadline = std::chrono::steady_clock::now() + patience;
  auto pause = std::chrono::microseconds(100);
  for (;;) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return fd;
    const int err = errno;
    if (err == EINTR) continue;
    if (err != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
      ::close(fd);
      return -err;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min<std::chrono::microseconds>(pause * 2, std::chrono::milliseconds(10));
  }
}

void PosixFileSystem::Unlock(int handle) {
  if (handle >= 0) ::close(handle);  // closing the last descriptor gives the lock back
}

int PosixFileSystem::RemoveTemporaries(const std::string& path) {
  const std::string real = RealFile(path);
  if (real.empty()) return 0;
  const auto [folder, name] = SplitPath(real);
  // The names CreateTemporary gives: "." + the file's name + ".tmp-" and six
  // characters of mkostemp's.
  const std::string prefix = "." + name + ".tmp-";
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return 0;
  int removed = 0;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view found = entry->d_name;
    if (found.size() != prefix.size() + 6 || !found.starts_with(prefix)) continue;
    const std::string temporary = folder + "/" + std::string(found);
    struct stat st {};
    if (::lstat(temporary.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    if (::unlink(temporary.c_str()) == 0) ++removed;
  }
  ::closedir(dir);
  return removed;
}

bool PosixFileSystem::MakeFolder(const std::string& folder) {
  if (IsFolder(folder)) return true;
  // Every missing folder on the way, as mkdir -p makes them.
  for (std::size_t pos = folder.find('/', 1);; pos = folder.find('/', pos + 1)) {
    const std::string part = folder.substr(0, pos);
    if (!part.empty() && ::mkdir(part.c_str(), kNewFolderMode) != 0 && errno != EEXIST) return false;
    if (pos == std::string::npos) break;
  }
  if (IsFolder(folder)) return true;
  errno = ENOTDIR;
  return false;
}

int PosixFileSystem::CreateTemporary(const std::string& folder, std::string& tempPath) {
  std::string pattern = folder + "/." + tempPath + ".tmp-XXXXXX";
  const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  tempPath = pattern;
  return fd;
}

bool PosixFileSystem::CopyOwnerAndMode(const std::string& path, int handle) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) {
    return errno == ENOENT && ::fchmod(handle, kNewFileMode) == 0;
  }
  // An ordinary user may not give a file away: the owner then stays the
  // writer's, and the group is kept where the writer belongs to it.
  if (::fchown(handle, st.st_uid, st.st_gid) != 0) {
    if (errno != EPERM) return false;
    if (::fchown(handle, static_cast<uid_t>(-1), st.st_gid) != 0 && errno != EPERM) return false;
  }
  // After the owner: a change of owner clears the set-id bits.
  return ::fchmod(handle, st.st_mode & 07777) == 0;
}

bool PosixFileSystem::WriteAll(int handle, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(handle, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool PosixFileSystem::Sync(int handle) { return ::fsync(handle) == 0; }

bool PosixFileSystem::Close(int handle) {
  // On Linux the descriptor is gone even when close reports EINTR.
  return ::close(handle) == 0 || errno == EINTR;
}

bool PosixFileSystem::Rename(const std::string& from, const std::string& to) {
  return ::rename(from.c_str(), to.c_str()) == 0;
}

bool PosixFileSystem::SyncFolder(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  const int rc = ::fsync(fd);
  const int err = errno;
  ::close(fd);
  // Some file systems can't flush a folder at all; there is nothing more to do.
  if (rc == 0 || err == EINVAL || err == ENOTSUP) return true;
  errno = err;
  return false;
}

void PosixFileSystem::Remove(const std::string& path) {
  const int err = errno;
  ::unlink(path.c_str());
  errno = err;
}

int FaultInjectingFileSystem::ReadChunks(const std::string& path,
                                         const std::function<bool(std::string_view)>& take) {
  return readError != 0 ? readError : PosixFileSystem::ReadChunks(path, take);
}

bool FaultInjectingFileSystem::WriteAll(int handle, std::string_view bytes) {
  if (writeError == 0) return PosixFileSystem::WriteAll(handle, bytes);
  errno = writeError;
  return false;
}

}  // namespace pelmora
