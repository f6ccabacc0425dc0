#include "profile/profile_store.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <utility>

namespace pelmora {
namespace {

// After a flush, a document carrying more edits than this is parsed afresh
// from what it wrote, so that its edits don't outgrow the file.
constexpr std::size_t kMaxEdits = 4096;
constexpr std::chrono::milliseconds kLockPatience{2000};
// A file changed this close to the moment it was looked at may change again
// without a change of identity (the clock of a file system moves in ticks,
// some of two seconds): its bytes are compared at the next look.
constexpr std::int64_t kRacyNs = 2'000'000'000;

bool IsRacy(const FileIdentity& id, std::int64_t lookedAtNs) {
  return id.exists && id.changedNs + kRacyNs >= lookedAtNs;
}

}  // namespace

ProfileStore::ProfileStore(std::string path, FileSystem& fs) : path_(std::move(path)), fs_(fs) {
  std::error_code ec;
  fullPath_ = std::filesystem::absolute(path_, ec).string();
  if (ec) fullPath_ = path_;
}

ProfileStore::~ProfileStore() {
  try {
    Flush();
  } catch (...) {
    // Out of memory while writing: the file keeps what it had.
  }
  ReleaseLock();
}

void ProfileStore::Fail(int error) {
  if (failure_.empty()) failure_ = "Pelmora could not save to " + fullPath_ + ": " + std::strerror(error);
}

std::string ProfileStore::TakeFailure() { return std::exchange(failure_, {}); }

void ProfileStore::Load(const FileIdentity& id, std::int64_t lookedAtNs) {
  doc_.reset();  // the old document's memory is given back before the new one is made
  readError_ = 0;
  FileIdentity seen = id;
  std::string bytes;
  if (id.exists) readError_ = id.size > IniDocument::kMaxBytes ? EFBIG : fs_.ReadAll(path_, bytes);
  if (readError_ == ENOENT) {  // gone since it was looked at: no file
    readError_ = 0;
    seen = FileIdentity{};
  }
  if (readError_ == 0) {
    try {
      doc_.emplace(std::move(bytes));
    } catch (const std::bad_alloc&) {
      readError_ = ENOMEM;
    } catch (const std::length_error&) {
      readError_ = EFBIG;
    }
  }
  if (readError_ != 0) {
    std::string().swap(bytes);
    doc_.emplace();
    seen = FileIdentity{};  // tried again at the next look
  }
  identity_ = seen;
  racy_ = IsRacy(seen, lookedAtNs);
}

bool ProfileStore::DiskMatchesDocument() {
  const std::vector<std::string_view> pieces = doc_->Pieces();
  std::size_t piece = 0;
  std::size_t offset = 0;
  auto skipEmpty = [&] {
    while (piece < pieces.size() && offset == pieces[piece].size()) {
      ++piece;
      offset = 0;
    }
  };
  bool same = true;
  const int error = fs_.ReadChunks(path_, [&](std::string_view chunk) {
    while (!chunk.empty()) {
      skipEmpty();
      if (piece == pieces.size()) return same = false;
      const std::size_t n = std::min(chunk.size(), pieces[piece].size() - offset);
      if (chunk.substr(0, n) != pieces[piece].substr(offset, n)) return same = false;
      chunk.remove_prefix(n);
      offset += n;
    }
    return true;
  });
  skipEmpty();
  return error == 0 && same && piece == pieces.size();
}

bool ProfileStore::Revalidate() {
  if (lockWanted_) TakeLock(false);
  if (doc_ && !checkFile_) return readError_ == 0;
  checkFile_ = false;
  if (lock_ >= 0) checkedUnderLock_ = true;
  const std::int64_t now = fs_.NowNs();
  const FileIdentity id = fs_.Identify(path_);
  if (doc_ && readError_ == 0 && id == identity_ && (!racy_ || DiskMatchesDocument())) {
    racy_ = IsRacy(id, now);
    return true;
  }
  Load(id, now);
  if (pending_) {
    if (readError_ != 0) {
      // Nothing may be written over a file that can't be read.
      Fail(readError_);
      changes_.clear();
      pending_ = false;
    } else {
      // Someone else changed the file while writes of ours waited: make them
      // again on what the file holds now, so both survive.
      bool changed = false;
      for (const Change& c : changes_) changed = doc_->Set(c.section, c.key, c.value) || changed;
      pending_ = changed;
      if (!changed) changes_.clear();
    }
  }
  return readError_ == 0;
}

ProfileValue ProfileStore::ReadProfileValue(std::string_view section, std::string_view key,
                                            std::string_view def) {
  Revalidate();
  return doc_->Read(section, key, def);
}

bool ProfileStore::WriteProfileValue(std::string_view section, std::string_view key,
                                     std::string_view value) {
  if (!IniDocument::CanWrite(section, key)) return false;
  const Change change{std::string(section), std::string(key), std::string(value)};
  // Outside a handler a write is a transaction of its own.
  const bool own = frames_.empty();
  if (own) HandlerBegins();
  bool ok = WriteInTransaction(change);
  if (own) {
    ok = Flush() && ok;
    HandlerEnds();
  }
  return ok;
}

bool ProfileStore::WriteInTransaction(const Change& change) {
  if (!Revalidate()) {
    Fail(readError_);
    return false;
  }
  // A file the player made read-only refuses the write at once rather than
  // when the handler ends, so the reads after it (the designer's list after a
  // Save) show what the file holds, not a game that never reached it.
  if (identity_.exists && !identity_.writable && !fs_.Identify(path_).writable) {
    Fail(EACCES);
    return false;
  }
  if (!doc_->Set(change.section, change.key, change.value)) return true;
  pending_ = true;
  changes_.push_back(change);
  return true;
}

void ProfileStore::TakeLock(bool makeFolder) {
  lockWanted_ = false;
  if (lock_ >= 0) return;
  const int handle = fs_.Lock(path_, kLockPatience, makeFolder);
  lock_ = handle >= 0 ? handle : -1;
  // A missing folder is no reason to give up: the first write makes it and
  // locks then.
  lockGivenUp_ = handle == -EWOULDBLOCK;
  checkedUnderLock_ = false;
  checkFile_ = true;
}

void ProfileStore::ReleaseLock() {
  if (lock_ >= 0) fs_.Unlock(lock_);
  lock_ = -1;
  lockWanted_ = false;
  lockGivenUp_ = false;
  checkedUnderLock_ = false;
}

// The lock is taken when the handler first reads or writes: a handler that
// never touches the profile (a tick of the clock) costs nothing, and the
// file can't have been seen before that moment anyway.
void ProfileStore::HandlerBegins() {
  const bool lockIsFree = frames_.empty() || frames_.back().waiting;
  frames_.push_back(Frame{});
  if (lockIsFree) lockWanted_ = true;
  checkFile_ = true;
}

void ProfileStore::HandlerEnds() {
  if (!frames_.empty()) frames_.pop_back();
  Flush();
  if (frames_.empty() || frames_.back().waiting) ReleaseLock();
  // A read outside any handler looks at the file again.
  if (frames_.empty()) checkFile_ = true;
}

void ProfileStore::BeforeWait() {
  if (!frames_.empty()) frames_.back().waiting = true;
  Flush();
  ReleaseLock();
}

void ProfileStore::AfterWait() {
  if (!frames_.empty()) {
    frames_.back().waiting = false;
    lockWanted_ = true;
  }
  checkFile_ = true;
}

bool ProfileStore::Flush() {
  if (!pending_) return true;
  // No lock yet (the folder wasn't there when the handler began): take it
  // for this write, making the folder, and look at the file under it.
  const bool ownLock = lock_ < 0 && !lockGivenUp_;
  if (ownLock) TakeLock(true);
  if (lock_ < 0 || !checkedUnderLock_) {
    checkFile_ = true;
    Revalidate();
  }
  bool ok = readError_ == 0;
  if (pending_) {
    const int error = fs_.ReplaceAtomically(path_, doc_->Pieces());
    pending_ = false;
    changes_.clear();
    const std::int64_t now = fs_.NowNs();
    if (error != 0) {
      // The old file is intact: memory forgets what it doesn't hold.
      Fail(error);
      Load(fs_.Identify(path_), now);
      ok = false;
    } else {
      identity_ = fs_.Identify(path_);
      racy_ = IsRacy(identity_, now);
      if (doc_->EditCount() > kMaxEdits) {
        try {
          std::string bytes = doc_->Bytes();
          doc_.reset();
          doc_.emplace(std::move(bytes));
        } catch (const std::bad_alloc&) {
          Load(identity_, now);
        }
      }
    }
  }
  if (ownLock) ReleaseLock();
  return ok;
}

int ProfileStore::RemoveLeftoverTemporaries() {
  const int handle = lock_ >= 0 ? lock_ : fs_.Lock(path_, kLockPatience, false);
  if (handle < 0) return 0;
  const int removed = fs_.RemoveTemporaries(path_);
  if (handle != lock_) fs_.Unlock(handle);
  return removed;
}

}  // namespace pelmora
