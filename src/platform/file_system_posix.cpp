#include "platform/file_system_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/folder_walk_posix.h"
#include "platform/native.h"
#include "platform/runtime_error.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::size_t ReadSome(int descriptor, std::int64_t offset, std::span<char> buffer) {
  ssize_t count = 0;
  do {
    count = ::pread(descriptor, buffer.data(), buffer.size(), offset);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw RuntimeError(error_number::kDeviceIoError);
  return static_cast<std::size_t>(count);
}

class PosixInputFile : public InputFile {
 public:
  PosixInputFile(Descriptor file, std::int64_t length) : file_(std::move(file)), length_(length) {}
  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    return ReadSome(file_.Get(), offset, buffer);
  }
  std::int64_t Length() const override { return length_; }

 private:
  Descriptor file_;
  std::int64_t length_;
};

/// Whether a folder entry is a folder; links count as what they lead to.
bool IsFolderEntry(DIR* folder, const dirent& entry) {
  if (entry.d_type == DT_DIR) return true;
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return false;
  struct stat found = {};
  return ::fstatat(::dirfd(folder), entry.d_name, &found, 0) == 0 && S_ISDIR(found.st_mode);
}

}  // namespace

std::string PosixFileSystem::FindFile(const std::string& path) const {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  if (real.NamesNoFile() || resolver_.Stat(real, found) != 0 || S_ISDIR(found.st_mode)) return {};
  return std::string(real.Name());
}

std::string PosixFileSystem::FindFolder(const std::string& path) const {
  if (path.empty() || path.ends_with('\\')) return {};
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  if (resolver_.Stat(real, found) != 0 || !S_ISDIR(found.st_mode)) return {};
  if (!real.Name().empty()) return std::string(real.Name());
  // The application folder itself.
  return path.substr(path.find_last_of('/') + 1);
}

std::string PosixFileSystem::Refusal(const std::string& path) const {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  const bool leads_out = resolver_.Stat(real, found) == static_cast<int>(kLinkLeadsOut);
  return leads_out ? kLinkLeadsOutText : "";
}

std::vector<std::string> PosixFileSystem::ListEntries(std::string_view folder, bool folders,
                                                      std::string_view wildcard) const {
  RealPath real = resolver_.Parse(folder);
  int error = 0;
  Descriptor opened = OpenExisting(real, O_RDONLY | O_DIRECTORY, error);
  if (!opened) return {};
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(opened.Get()), &::closedir);
  if (entries == nullptr) return {};
  opened.Release();
  std::vector<std::string> names;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else has this folder stream.
  while (const dirent* entry = ::readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    // A backslash inside a name cannot be written in a path text.
    if (name.front() == '.' || name.find('\\') != std::string_view::npos) continue;
    if (!MatchesWildcard(name, wildcard)) continue;
    if (IsFolderEntry(entries.get(), *entry) == folders) names.emplace_back(name);
  }
  std::sort(names.begin(), names.end(), ListsBefore);
  return names;
}

std::vector<std::string> PosixFileSystem::List(const std::string& pattern) const {
  return ListEntries(FolderOf(pattern), /*folders=*/false, NameOf(pattern));
}

std::vector<std::string> PosixFileSystem::ListFolders(const std::string& path) const {
  return ListEntries(path, /*folders=*/true, "*");
}

std::vector<std::string> PosixFileSystem::FindMarked(const std::string& folder, std::string_view mark) const {
  RealPath real = resolver_.Parse(folder);
  struct stat found = {};
  if (folder.empty() || resolver_.Stat(real, found) != 0) return {};
  std::vector<std::string> paths = WalkForMarked(real.Base(), real.Text(), mark);
  for (std::string& path : paths) path.insert(0, folder);
  return paths;
}

std::int64_t PosixFileSystem::Length(const std::string& path) const {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  int error = real.NamesNoFile() ? ENOENT : resolver_.Stat(real, found);
  if (error == 0 && S_ISDIR(found.st_mode)) error = EISDIR;
  if (error != 0) RaiseSystemError(Attempt::kLength, error);
  return found.st_size;
}

std::optional<std::int64_t> PosixFileSystem::FreeSpace(const std::string& folder) const {
  for (std::string_view there = folder; !there.empty(); there = FolderOf(there)) {
    RealPath real = resolver_.Parse(there);
    int error = 0;
    const Descriptor opened = OpenExisting(real, O_PATH | O_DIRECTORY, error);
    struct statvfs found = {};
    if (!opened) continue;
    if (::fstatvfs(opened.Get(), &found) != 0) return std::nullopt;
    const std::uint64_t bytes = std::uint64_t{found.f_bavail} * found.f_frsize;
    return static_cast<std::int64_t>(std::min<std::uint64_t>(bytes, INT64_MAX));
  }
  return std::nullopt;
}

std::optional<FileStamp> PosixFileSystem::Stamp(const std::string& path) const {
  RealPath real = resolver_.Parse(path);
  struct stat found = {};
  if (real.NamesNoFile() || resolver_.Stat(real, found) != 0 || S_ISDIR(found.st_mode)) return std::nullopt;
  return FileStamp{.identity = found.st_ino,
                   .size = found.st_size,
                   .modified = Nanoseconds(found.st_mtim),
                   .changed = Nanoseconds(found.st_ctim)};
}

Descriptor PosixFileSystem::OpenExisting(RealPath& path, int flags, int& error) const {
  Descriptor opened;
  error = resolver_.OnExisting(
      path, [&](const RealPath& spelled) { return resolver_.Open(spelled, flags, opened); });
  return opened;
}

Descriptor PosixFileSystem::OpenForReading(const std::string& path, struct stat& found) const {
  RealPath real = resolver_.Parse(path);
  int error = ENOENT;
  Descriptor opened;
  // Not to block, should somebody have put a pipe there.
  if (!real.NamesNoFile()) opened = OpenExisting(real, O_RDONLY | O_NONBLOCK, error);
  if (opened) error = ::fstat(opened.Get(), &found) != 0 ? errno : S_ISDIR(found.st_mode) ? EISDIR : 0;
  if (error != 0) RaiseSystemError(Attempt::kRead, error);
  return opened;
}

std::string PosixFileSystem::ReadAll(const std::string& path) const {
  struct stat found = {};
  const Descriptor file = OpenForReading(path, found);
  std::string contents;
  std::size_t length = 0;
  // One byte more than expected shows the end in the same call; the file may have grown.
  std::size_t expected = static_cast<std::size_t>(found.st_size) + 1;
  while (true) {
    contents.resize(expected);
    const std::size_t asked = expected - length;
    const std::size_t count =
        ReadSome(file.Get(), static_cast<std::int64_t>(length), {contents.data() + length, asked});
    length += count;
    if (count < asked) break;
    expected = length * 2;
  }
  contents.resize(length);
  return contents;
}

std::unique_ptr<InputFile> PosixFileSystem::OpenRead(const std::string& path) const {
  struct stat found = {};
  Descriptor file = OpenForReading(path, found);
  return std::make_unique<PosixInputFile>(std::move(file), found.st_size);
}

std::unique_ptr<FileSystem> MakeFileSystem(const std::string& folder) {
  return std::make_unique<PosixFileSystem>(folder);
}

}  // namespace vlmr::platform
