#include "platform/path_resolver_posix.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

Descriptor OpenRoot(const std::string& folder) {
  Descriptor root(::open(folder.empty() ? "/" : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!root) RaiseSystemError(Attempt::kWrite, errno);
  return root;
}

/// `fstatat` on the first `end` characters of a path.
int StatPrefix(int base, char* text, std::size_t end, struct stat& found, int flags) {
  const char behind = text[end];
  text[end] = '\0';
  const int result = ::fstatat(base, end == 0 ? "." : text, &found, flags);
  const int error = result == 0 ? 0 : errno;
  text[end] = behind;
  return error;
}

constexpr int kLeadsOut = static_cast<int>(kLinkLeadsOut);

/// So many folders are remembered at most; then all are forgotten.
constexpr std::size_t kMostRemembered = 512;

/// Where a path leads once all links are followed; empty when nothing is there.
std::string Followed(const std::string& path) {
  const std::unique_ptr<char, decltype(&::free)> real(::realpath(path.c_str(), nullptr), &::free);
  return real == nullptr ? std::string() : std::string(real.get());
}

bool IsLink(const RealPath& path) {
  struct stat found = {};
  return ::fstatat(path.Base(), path.Text(), &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(found.st_mode);
}

}  // namespace

RealPath::RealPath(int base, std::string_view text) : base_(base) {
  text_[0] = '\0';
  if (text.find('\0') != std::string_view::npos) refusal_ = EINVAL;
  if (text.size() >= sizeof text_) refusal_ = ENAMETOOLONG;
  if (refusal_ != 0) return;
  ends_in_separator_ = !text.empty() && IsSeparator(text.back());
  if (!IsBelow() && !text.empty() && IsSeparator(text.front())) text_[length_++] = '/';
  name_start_ = length_;
  while (!text.empty()) {
    const auto end = std::find_if(text.begin(), text.end(), IsSeparator);
    const std::string_view component = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(std::min(component.size() + 1, text.size()));
    if (component.empty()) continue;
    if (component == ".." && IsBelow()) refusal_ = EXDEV;
    if (length_ > name_start_) {
      if (IsBelow() && fence_ == 0) fence_ = length_;
      text_[length_++] = '/';
      name_start_ = length_;
    }
    std::memcpy(text_ + length_, component.data(), component.size());
    length_ += component.size();
  }
  text_[length_] = '\0';
}

PathResolver::PathResolver(std::string folder)
    : folder_(std::move(folder)), root_(OpenRoot(folder_)), names_(root_.Get()) {}

RealPath PathResolver::Parse(std::string_view path) const {
  const bool below = !path.empty() && path.starts_with(folder_) &&
                     (path.size() == folder_.size() || IsSeparator(path[folder_.size()]));
  return below ? RealPath(root_.Get(), path.substr(folder_.size())) : RealPath(AT_FDCWD, path);
}

int PathResolver::Stat(RealPath& path, struct stat& found) {
  if (path.refusal_ != 0) return path.refusal_;
  if (path.length_ == 0 && !path.IsBelow()) return ENOENT;
  if (const int error = CheckFolder(path)) return error;
  path.respelled_ = false;
  const int result = Locate(path, path.length_, found);
  // Under its right spelling a folder may turn out to be a link.
  if (path.respelled_) {
    if (const int error = CheckFolder(path)) return error;
  }
  if (result != 0 || !path.IsFenced() || !S_ISLNK(found.st_mode)) return result;
  if (!StaysInside(path, path.Text())) return kLeadsOut;
  return StatPrefix(path.base_, path.text_, path.length_, found, 0);
}

int PathResolver::CheckFolder(const RealPath& path) {
  if (!path.IsFenced()) return 0;
  const std::string_view folder = path.Folder();
  if (folder.size() == path.fence_ || inside_.contains(folder)) return 0;
  for (std::size_t end = path.fence_; end < folder.size();) {
    end = std::min(folder.find('/', end + 1), folder.size());
    const std::string place(folder.substr(0, end));
    if (inside_.contains(place)) continue;
    struct stat found = {};
    // What is not there leads nowhere; whoever makes it looks for its right spelling before.
    if (::fstatat(path.base_, place.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return 0;
    if (S_ISLNK(found.st_mode) && !StaysInside(path, place)) return kLeadsOut;
    if (inside_.size() >= kMostRemembered) inside_.clear();
    inside_.insert(place);
  }
  return 0;
}

bool PathResolver::StaysInside(const RealPath& path, std::string_view place) const {
  const std::string top = Followed(folder_ + "/" + std::string(place.substr(0, path.fence_)));
  const std::string real = Followed(folder_ + "/" + std::string(place));
  return !top.empty() && real.starts_with(top) && (real.size() == top.size() || real[top.size()] == '/');
}

int PathResolver::Open(const RealPath& path, int flags, Descriptor& opened) const {
  const int unfollowed = path.IsFenced() ? O_NOFOLLOW : 0;
  opened = Descriptor(::openat(path.Base(), path.Text(), flags | O_CLOEXEC | unfollowed));
  if (opened) return 0;
  const int error = errno;
  // The system's answers to a link that is not to be followed.
  if (unfollowed == 0 || (error != ELOOP && error != ENOTDIR) || !IsLink(path)) return error;
  if (!StaysInside(path, path.Text())) return kLeadsOut;
  opened = Descriptor(::openat(path.Base(), path.Text(), flags | O_CLOEXEC));
  return opened ? 0 : errno;
}

std::string PathResolver::BehindLink(const std::string& path) {
  RealPath real = Parse(path);
  struct stat found = {};
  if (real.IsFenced() || real.NamesNoFile()) return path;
  const int error = Stat(real, found);
  if ((error != 0 && error != ENOENT) || !IsLink(real)) return path;
  const std::string link = real.IsBelow() ? folder_ + "/" + real.Text() : std::string(real.Text());
  if (std::string target = Followed(link); !target.empty()) return target;
  // It leads to a file that is still to be made.
  char text[PATH_MAX];
  const ssize_t length = ::readlinkat(real.Base(), real.Text(), text, sizeof text);
  if (length <= 0) return path;
  const std::string target(text, static_cast<std::size_t>(length));
  return target.front() == '/' ? target : link.substr(0, link.rfind('/') + 1) + target;
}

int PathResolver::Locate(RealPath& path, std::size_t end, struct stat& found) {
  const int flags = end == path.length_ && path.IsFenced() ? AT_SYMLINK_NOFOLLOW : 0;
  const int exact = StatPrefix(path.base_, path.text_, end, found, flags);
  if (exact != ENOENT && exact != ENOTDIR) return exact;
  const std::string_view walked(path.text_, end);
  const std::size_t slash = walked.rfind('/');
  const bool has_folder = slash != std::string_view::npos;
  // "/" itself, or the application folder: nothing above it is searched.
  if (end == 0 || slash + 1 == end) return ENOTDIR;
  std::size_t folder_end = has_folder ? slash : 0;
  if (!path.IsBelow() && folder_end == 0) folder_end = has_folder ? 1 : 0;
  const std::size_t name_start = has_folder ? slash + 1 : 0;

  struct stat folder = {};
  if (const int error = Locate(path, folder_end, folder)) return error == ENOENT ? ENOTDIR : error;
  if (!S_ISDIR(folder.st_mode)) return ENOTDIR;
  path.there_ = folder_end;
  if (!path.IsBelow()) return ENOENT;
  const std::optional<std::string_view> name =
      names_.Find(walked.substr(0, folder_end), folder, walked.substr(name_start));
  if (!name) return ENOENT;
  // Names that differ in ASCII case alone are equally long.
  std::memcpy(path.text_ + name_start, name->data(), name->size());
  path.respelled_ = true;
  return StatPrefix(path.base_, path.text_, end, found, flags);
}

int PathResolver::MakeMissingFolders(RealPath& path) {
  const std::string_view text(path.text_, path.length_);
  // Nothing is there when a file stands where a folder should be; making that one says so.
  std::size_t parent_end = path.there_ == RealPath::kUnknown ? 0 : path.there_;
  while (parent_end < path.length_) {
    const std::size_t name_start = text[parent_end] == '/' ? parent_end + 1 : parent_end;
    const std::size_t end = std::min(text.find('/', name_start), path.length_);
    const char behind = path.text_[end];
    path.text_[end] = '\0';
    {
      const std::string_view parent = path.IsBelow() ? text.substr(0, parent_end) : NameIndex::kOutside;
      NameIndex::Change change(names_, parent, path.there_ == parent_end);
      const int error = ::mkdirat(path.base_, path.text_, 0777) == 0 ? 0 : errno;
      path.text_[end] = behind;
      if (error != 0) return error;
      change.Made(text.substr(name_start, end - name_start));
    }
    if (path.IsBelow()) names_.AddEmpty(text.substr(0, end));
    path.there_ = parent_end = end;
  }
  return 0;
}

}  // namespace vlmr::platform
