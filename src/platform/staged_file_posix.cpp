#include "platform/staged_file_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

/// The place of a file that is to be written. Raises 75 for a folder or a refused path, 76 for a missing
/// folder. Returns whether the file exists; `found` tells about it then.
bool LocateForWriting(PathResolver& resolver, RealPath& path, struct stat& found) {
  const int error = path.NamesNoFile() ? EISDIR : resolver.Stat(path, found);
  if (error == ENOENT) return false;
  if (error != 0) RaiseSystemError(Attempt::kWrite, error);
  if (S_ISDIR(found.st_mode)) RaiseSystemError(Attempt::kWrite, EISDIR);
  return true;
}

/// A temporary file that carries the target's name and the mark. It is renamed without a flush to the disk:
/// other programs see the old file or the new one all the same, and only a loss of power can empty it.
class PosixStagedFile : public StagedFile {
 public:
  PosixStagedFile(PathResolver& resolver, std::string path, std::string temporary, Descriptor file)
      : resolver_(resolver),
        path_(std::move(path)),
        temporary_(std::move(temporary)),
        file_(std::move(file)) {}
  PosixStagedFile(const PosixStagedFile&) = delete;
  PosixStagedFile& operator=(const PosixStagedFile&) = delete;
  ~PosixStagedFile() override {
    if (committed_) return;
    const RealPath temporary = resolver_.Parse(temporary_);
    NameIndex::Change change = resolver_.Changing(temporary);
    ::unlinkat(temporary.Base(), temporary.Text(), 0);
    change.Touched();
  }

  void Write(std::string_view bytes) override { WriteAt(length_, bytes); }

  void WriteAt(std::int64_t offset, std::string_view bytes) override {
    WriteFully(file_.Get(), bytes, offset);
    length_ = std::max(length_, offset + static_cast<std::int64_t>(bytes.size()));
  }

  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    const ssize_t count = ::pread(file_.Get(), buffer.data(), buffer.size(), offset);
    if (count < 0) RaiseSystemError(Attempt::kRead, errno);
    return static_cast<std::size_t>(count);
  }

  std::int64_t Length() const override { return length_; }

  void Commit() override {
    // Some systems report a full disk no sooner than here.
    if (!file_.Close()) RaiseSystemError(Attempt::kWrite, errno);
    const RealPath temporary = resolver_.Parse(temporary_);
    RealPath target = resolver_.Parse(path_);
    struct stat ignored = {};
    // Looked up again: the name may have come into being since, in any case.
    LocateForWriting(resolver_, target, ignored);
    NameIndex::Change change = resolver_.Changing(target);
    if (::renameat(temporary.Base(), temporary.Text(), target.Base(), target.Text()) != 0) {
      RaiseSystemError(Attempt::kWrite, errno);
    }
    change.Made(target.Name());
    committed_ = true;
  }

 private:
  PathResolver& resolver_;
  std::string path_;
  std::string temporary_;
  Descriptor file_;
  std::int64_t length_ = 0;
  bool committed_ = false;
};

Descriptor MakeTemporary(const RealPath& path, mode_t mode) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
  int opened = ::openat(path.Base(), path.Text(), kFlags, mode);
  if (opened < 0 && errno == EEXIST) {
    // Left by a run that was killed. It goes with its rights.
    ::unlinkat(path.Base(), path.Text(), 0);
    opened = ::openat(path.Base(), path.Text(), kFlags, mode);
  }
  if (opened < 0) RaiseSystemError(Attempt::kWrite, errno);
  return Descriptor(opened);
}

/// Volumes that know no rights, or not these, answer so.
bool IsUnknownHere(int error) {
  return error == EPERM || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

/// Gives a new file the rights of the one that it will replace, the owner only as far as we may. Raises when
/// it would be left with others: they may be wider.
void KeepRights(int file, const struct stat& replaced) {
  if (replaced.st_uid != ::geteuid() || replaced.st_gid != ::getegid()) {
    [[maybe_unused]] const int refused = ::fchown(file, replaced.st_uid, replaced.st_gid);
  }
  if (::fchmod(file, replaced.st_mode & 07777) != 0 && !IsUnknownHere(errno)) {
    RaiseSystemError(Attempt::kWrite, errno);
  }
}

}  // namespace

mode_t ModeOf(Access access) {
  switch (access) {
    case Access::kEverybody:
      return 0666;
    case Access::kOwnerAndGroup:
      return 0640;
    case Access::kOwner:
      return 0600;
  }
  return 0600;
}

void WriteFully(int descriptor, std::string_view bytes, std::int64_t offset) {
  while (!bytes.empty()) {
    const ssize_t count = offset < 0 ? ::write(descriptor, bytes.data(), bytes.size())
                                     : ::pwrite(descriptor, bytes.data(), bytes.size(), offset);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) RaiseSystemError(Attempt::kWrite, errno);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    if (offset >= 0) offset += count;
  }
}

std::unique_ptr<StagedFile> StageBeside(PathResolver& resolver, const std::string& named, Access access) {
  const std::string path = resolver.BehindLink(named);
  RealPath target = resolver.Parse(path);
  struct stat replaced = {};
  const bool replaces = LocateForWriting(resolver, target, replaced);
  // Spelled as on disk, so that no later look-up is needed in order to find it again.
  std::string temporary = target.IsBelow() ? resolver.Folder() + "/" : std::string();
  temporary.append(target.Text()).append(kTemporaryMark);
  const RealPath beside = resolver.Parse(temporary);
  if (beside.Refusal() != 0) RaiseSystemError(Attempt::kWrite, beside.Refusal());
  Descriptor file;
  {
    NameIndex::Change change = resolver.Changing(target);
    file = MakeTemporary(beside, ModeOf(access));
    change.Touched();
  }
  const int descriptor = file.Get();
  auto staged = std::make_unique<PosixStagedFile>(resolver, path, std::move(temporary), std::move(file));
  if (replaces) KeepRights(descriptor, replaced);
  return staged;
}

}  // namespace vlmr::platform
