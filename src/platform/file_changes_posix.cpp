#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/file_system_posix.h"
#include "platform/runtime_error.h"
#include "platform/staged_file_posix.h"
#include "platform/system_error.h"

/// What changes files: appending, staging, deleting, moving, making folders.
namespace vlmr::platform {
namespace {

/// Renames without replacing. Returns 0 or an `errno` value.
int RenameToNewName(const RealPath& from, const RealPath& to) {
  if (::renameat2(from.Base(), from.Text(), to.Base(), to.Text(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system that cannot refuse by itself; the target was found missing a moment ago.
  return ::renameat(from.Base(), from.Text(), to.Base(), to.Text()) == 0 ? 0 : errno;
}

}  // namespace

Descriptor PosixFileSystem::OpenForAppending(RealPath& path, Access access) {
  // Not to block, should somebody have put a pipe there.
  constexpr int kFlags = O_WRONLY | O_APPEND | O_NOCTTY | O_NONBLOCK;
  if (path.Refusal() != 0) RaiseSystemError(Attempt::kWrite, path.Refusal());
  int error = EISDIR;
  Descriptor opened;
  if (!path.NamesNoFile()) opened = OpenExisting(path, kFlags, error);
  if (error == ENOENT) {
    NameIndex::Change change = resolver_.Changing(path);
    opened = Descriptor(::openat(path.Base(), path.Text(), kFlags | O_CREAT | O_CLOEXEC, ModeOf(access)));
    error = opened ? 0 : errno;
    if (opened) change.Made(path.Name());
  }
  if (error != 0) RaiseSystemError(Attempt::kWrite, error);
  return opened;
}

void PosixFileSystem::Append(const std::string& path, std::string_view bytes, Access access) {
  RealPath real = resolver_.Parse(path);
  const Descriptor file = OpenForAppending(real, access);
  WriteFully(file.Get(), bytes, -1);
}

void PosixFileSystem::AppendLimited(const std::string& path, std::string_view bytes, double limit,
                                    Access access) {
  RealPath real = resolver_.Parse(path);
  Descriptor file = OpenForAppending(real, access);
  // Asking for the end is cheaper than for everything about the file.
  if (static_cast<double>(::lseek(file.Get(), 0, SEEK_END)) > limit) {
    file = Descriptor();
    if (const int error = DeleteEntry(real)) RaiseSystemError(Attempt::kWrite, error);
    file = OpenForAppending(real, access);
  }
  WriteFully(file.Get(), bytes, -1);
}

std::unique_ptr<StagedFile> PosixFileSystem::Stage(const std::string& path, Access access) {
  return StageBeside(resolver_, path, access);
}

int PosixFileSystem::DeleteEntry(RealPath& path) {
  return resolver_.OnExisting(path, [&](const RealPath& spelled) {
    NameIndex::Change change = resolver_.Changing(spelled);
    if (::unlinkat(spelled.Base(), spelled.Text(), 0) != 0) return errno;
    change.Gone(spelled.Name());
    return 0;
  });
}

void PosixFileSystem::Delete(const std::string& path) {
  RealPath real = resolver_.Parse(path);
  const int error = real.NamesNoFile() ? ENOENT : DeleteEntry(real);
  if (error != 0) RaiseSystemError(Attempt::kDelete, error);
}

void PosixFileSystem::RequireDeletable(const std::string& path) {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  int error = real.NamesNoFile() ? ENOENT : resolver_.Stat(real, found);
  if (error == 0 && S_ISDIR(found.st_mode)) error = EISDIR;
  // A name belongs to its folder.
  const std::string folder = real.Folder().empty() ? "." : std::string(real.Folder());
  if (error == 0 && ::faccessat(real.Base(), folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) error = errno;
  if (error != 0) RaiseSystemError(Attempt::kDelete, error);
}

bool PosixFileSystem::Move(const std::string& source, const std::string& target) {
  return MoveTo(source, target, /*target_state=*/ENOENT, &RenameToNewName);
}

bool PosixFileSystem::MoveOver(const std::string& source, const std::string& target) {
  return MoveTo(source, target, /*target_state=*/0, [](const RealPath& from, const RealPath& to) {
    return ::renameat(from.Base(), from.Text(), to.Base(), to.Text()) == 0 ? 0 : errno;
  });
}

bool PosixFileSystem::MoveTo(const std::string& source, const std::string& target, int target_state,
                             int (*rename)(const RealPath&, const RealPath&)) {
  RealPath from = resolver_.Parse(source);
  RealPath to = resolver_.Parse(target);
  struct stat found = {};
  if (from.NamesNoFile() || to.NamesNoFile()) return false;
  if (resolver_.Stat(from, found) != 0 || S_ISDIR(found.st_mode)) return false;
  if (resolver_.Stat(to, found) != target_state || (target_state == 0 && S_ISDIR(found.st_mode)))
    return false;
  int error = 0;
  {
    NameIndex::Change leaves = resolver_.Changing(from);
    NameIndex::Change arrives = resolver_.Changing(to);
    error = rename(from, to);
    if (error == 0) {
      leaves.Gone(from.Name());
      arrives.Made(to.Name());
    }
  }
  if (error != EXDEV) return error == 0;
  try {
    Copy(source, target);
  } catch (const RuntimeError&) {
    return false;
  }
  // A source that cannot be deleted stays, and the move has succeeded all the same.
  DeleteEntry(from);
  return true;
}

void PosixFileSystem::MakeFolder(const std::string& path) {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  int error = resolver_.Stat(real, found);
  if (error == 0) error = EEXIST;
  // Its own folder is there in this case.
  if (error == ENOENT && !real.Name().empty()) error = resolver_.MakeMissingFolders(real);
  if (error != 0) RaiseSystemError(Attempt::kMakeFolder, error);
}

void PosixFileSystem::MakeFolders(const std::string& path) {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  if (path.empty()) return;
  int error = resolver_.Stat(real, found);
  if (error == 0 && !S_ISDIR(found.st_mode)) error = EEXIST;
  if (error == ENOENT || error == ENOTDIR) error = resolver_.MakeMissingFolders(real);
  if (error != 0) RaiseSystemError(Attempt::kMakeFolder, error);
}

}  // namespace vlmr::platform
