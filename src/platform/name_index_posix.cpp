#include "platform/name_index_posix.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <memory>
#include <vector>

#include "platform/ascii_case.h"
#include "platform/descriptor_posix.h"

namespace vlmr::platform {
namespace {

bool Same(const timespec& left, const timespec& right) {
  return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

bool Before(const timespec& left, const timespec& right) {
  return left.tv_sec != right.tv_sec ? left.tv_sec < right.tv_sec : left.tv_nsec < right.tv_nsec;
}

/// The clock from which the system takes modification times: it moves in ticks of a few milliseconds.
timespec Tick() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return now;
}

}  // namespace

std::size_t NameIndex::FoldedHash::operator()(std::string_view name) const {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(AsciiUpper(c))) * 1099511628211U;
  }
  return static_cast<std::size_t>(hash);
}

bool NameIndex::FoldedEqual::operator()(std::string_view left, std::string_view right) const {
  return SameName(left, right);
}

bool NameIndex::Folder::Matches(const struct stat& now) const {
  return device == now.st_dev && inode == now.st_ino && Same(modified, now.st_mtim);
}

std::optional<std::string_view> NameIndex::Find(std::string_view folder, const struct stat& now,
                                                std::string_view name) {
  Folder& contents = Remember(folder);
  if (!contents.settled || !contents.Matches(now)) {
    // Our own change does not make a folder young: files made one after the other would have it read each
    // time.
    const bool ours = contents.ours && contents.Matches(now);
    if (!Read(std::string(folder), contents)) {
      folders_.erase(folders_.find(folder));
      return std::nullopt;
    }
    contents.settled = contents.settled || ours;
    contents.ours = false;
  }
  std::optional<std::string_view> found;
  const auto [first, last] = contents.names.equal_range(name);
  for (auto at = first; at != last; ++at) {
    if (*at == name) return *at;
    if (!found || *at < *found) found = *at;
  }
  return found;
}

NameIndex::Folder& NameIndex::Remember(std::string_view folder) {
  auto known = folders_.find(folder);
  if (known == folders_.end()) {
    if (folders_.size() >= kMostFolders) ForgetLongUnused();
    known = folders_.emplace(folder, Folder()).first;
  }
  known->second.used = ++uses_;
  return known->second;
}

void NameIndex::ForgetLongUnused() {
  std::vector<std::uint64_t> uses;
  for (const auto& [path, folder] : folders_) uses.push_back(folder.used);
  const auto middle = uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2);
  std::nth_element(uses.begin(), middle, uses.end());
  std::erase_if(folders_, [&](const auto& entry) { return entry.second.used < *middle; });
}

void NameIndex::AddEmpty(std::string_view folder) {
  struct stat now = {};
  if (!StatFolder(folder, now)) return;
  Folder& contents = Remember(folder);
  contents.names.clear();
  contents.device = now.st_dev;
  contents.inode = now.st_ino;
  contents.modified = now.st_mtim;
  contents.settled = true;
  contents.ours = true;
}

bool NameIndex::Read(const std::string& path, Folder& folder) {
  ++scans_;
  folder.names.clear();
  const timespec tick = Tick();
  Descriptor opened(::openat(root_, path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat now = {};
  // The time is taken before the names: what comes in between is then read again.
  if (!opened || ::fstat(opened.Get(), &now) != 0) return false;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(opened.Get()), &::closedir);
  if (entries == nullptr) return false;
  opened.Release();
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else has this folder stream.
  while (const dirent* entry = ::readdir(entries.get())) folder.names.emplace(entry->d_name);
  folder.device = now.st_dev;
  folder.inode = now.st_ino;
  folder.modified = now.st_mtim;
  folder.settled = Before(now.st_mtim, tick);
  return true;
}

bool NameIndex::StatFolder(std::string_view folder, struct stat& now) const {
  const std::string path(folder.empty() ? "." : folder);
  return ::fstatat(root_, path.c_str(), &now, 0) == 0;
}

NameIndex::Folder* NameIndex::Known(std::string_view folder) {
  const auto known = folders_.find(folder);
  return known == folders_.end() ? nullptr : &known->second;
}

NameIndex::Folder* NameIndex::Believed(std::string_view folder) {
  const auto known = folders_.find(folder);
  if (known == folders_.end()) return nullptr;
  struct stat now = {};
  if (StatFolder(folder, now) && known->second.Matches(now)) return &known->second;
  folders_.erase(known);
  return nullptr;
}

NameIndex::Change::Change(NameIndex& index, std::string_view folder, bool compared)
    : index_(index), path_(folder), folder_(compared ? index.Known(folder) : index.Believed(folder)) {}

NameIndex::Change::~Change() {
  if (folder_ == nullptr || !changed_) return;
  struct stat now = {};
  if (index_.StatFolder(path_, now)) {
    folder_->modified = now.st_mtim;
    folder_->ours = true;
  } else {
    index_.folders_.erase(path_);
  }
}

void NameIndex::Change::Made(std::string_view name) {
  changed_ = true;
  if (folder_ == nullptr) return;
  const auto [first, last] = folder_->names.equal_range(name);
  for (auto at = first; at != last; ++at) {
    if (*at == name) return;
  }
  folder_->names.emplace(name);
}

void NameIndex::Change::Gone(std::string_view name) {
  changed_ = true;
  if (folder_ == nullptr) return;
  const auto [first, last] = folder_->names.equal_range(name);
  for (auto at = first; at != last; ++at) {
    if (*at != name) continue;
    folder_->names.erase(at);
    return;
  }
}

}  // namespace vlmr::platform
