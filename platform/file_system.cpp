#include "platform/file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <vector>

namespace pelmora {
namespace {

constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kNewFolderMode = 0755;

bool IsFolder(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

bool FileSystem::ReplaceAtomically(const std::string& path, std::string_view bytes) {
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty()) return false;
  const std::string folder = slash == std::string::npos ? std::string(".")
                             : slash == 0              ? std::string("/")
                                                       : path.substr(0, slash);
  if (!MakeFolder(folder)) return false;

  const FileIdentity old = Identify(path);
  if (old.exists && !old.writable) return false;

  std::string tempPath = name;  // CreateTemporary names the temporary after the file
  const int handle = CreateTemporary(folder, tempPath);
  if (handle < 0) return false;
  bool ok = WriteAll(handle, bytes) && Sync(handle);
  ok = Close(handle) && ok;  // the handle is given back even after a failed write
  ok = ok && CopyMode(path, tempPath) && Rename(tempPath, path);
  if (!ok) {
    Remove(tempPath);
    return false;
  }
  // The new contents are in place; without the folder's flush a power cut
  // could still bring back the old file, so the write doesn't count as done.
  return SyncFolder(folder);
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
  // The mode bits decide even for root, who may write anything: a file the
  // player made read-only stays untouched.
  id.writable = (st.st_mode & 0222) != 0 && ::access(path.c_str(), W_OK) == 0;
  return id;
}

std::optional<std::string> PosixFileSystem::ReadAll(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string bytes;
  struct stat st {};
  if (::fstat(fd, &st) == 0 && st.st_size > 0) bytes.reserve(static_cast<std::size_t>(st.st_size));
  std::vector<char> chunk(1 << 16);
  for (;;) {
    const ssize_t n = ::read(fd, chunk.data(), chunk.size());
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      ::close(fd);
      return std::nullopt;
    }
    bytes.append(chunk.data(), static_cast<std::size_t>(n));
  }
  ::close(fd);
  return bytes;
}

bool PosixFileSystem::MakeFolder(const std::string& folder) {
  if (IsFolder(folder)) return true;
  // Every missing folder on the way, as mkdir -p makes them.
  for (std::size_t pos = folder.find('/', 1);; pos = folder.find('/', pos + 1)) {
    const std::string part = folder.substr(0, pos);
    if (!part.empty() && ::mkdir(part.c_str(), kNewFolderMode) != 0 && errno != EEXIST) return false;
    if (pos == std::string::npos) break;
  }
  return IsFolder(folder);
}

int PosixFileSystem::RemoveStaleTemporaries(const std::string& path, std::int64_t olderThanSeconds) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
  // The names CreateTemporary gives: "." + the file's name + ".tmp-" and six
  // characters of mkostemp's.
  const std::string prefix = "." + path.substr(slash == std::string::npos ? 0 : slash + 1) + ".tmp-";
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return 0;
  const std::int64_t cutOff = static_cast<std::int64_t>(std::time(nullptr)) - olderThanSeconds;
  int removed = 0;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.size() != prefix.size() + 6 || name.compare(0, prefix.size(), prefix) != 0) continue;
    const std::string temporary = folder + "/" + name;
    struct stat st {};
    if (::lstat(temporary.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    if (static_cast<std::int64_t>(st.st_mtime) >= cutOff) continue;
    if (::unlink(temporary.c_str()) == 0) ++removed;
  }
  ::closedir(dir);
  return removed;
}

int PosixFileSystem::CreateTemporary(const std::string& folder, std::string& tempPath) {
  std::string pattern = folder + "/." + tempPath + ".tmp-XXXXXX";
  const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  tempPath = pattern;
  return fd;
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

bool PosixFileSystem::CopyMode(const std::string& from, const std::string& to) {
  mode_t mode = kNewFileMode;
  struct stat st {};
  if (::stat(from.c_str(), &st) == 0) {
    mode = st.st_mode & 07777;
  } else if (errno != ENOENT) {
    return false;
  }
  return ::chmod(to.c_str(), mode) == 0;
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
  return rc == 0 || err == EINVAL || err == ENOTSUP;
}

void PosixFileSystem::Remove(const std::string& path) { ::unlink(path.c_str()); }

}  // namespace pelmora
