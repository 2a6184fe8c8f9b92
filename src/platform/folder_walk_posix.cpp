#include "platform/folder_walk_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

#include "platform/descriptor_posix.h"

namespace vlmr::platform {
namespace {

/// The walk itself. It reads folders by the system call below `readdir`, which spares two more for each
/// folder.
class Walk {
 public:
  Walk(int base, const char* folder, std::string_view mark)
      : top_(::openat(base, folder, O_PATH | O_DIRECTORY | O_CLOEXEC)), mark_(mark) {}

  std::vector<std::string> Run() {
    if (top_) Visit("");
    while (!waiting_.empty()) {
      const std::string folder = std::move(waiting_.back());
      waiting_.pop_back();
      Visit(folder);
    }
    return std::move(found_);
  }

 private:
  /// `folder` as in the result: empty for the top.
  void Visit(const std::string& folder) {
    std::string real = folder.empty() ? "." : folder.substr(1);
    std::replace(real.begin(), real.end(), '\\', '/');
    const Descriptor opened(
        ::openat(top_.Get(), real.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) return;
    while (true) {
      const ssize_t size = ::getdents64(opened.Get(), buffer_, sizeof buffer_);
      if (size <= 0) return;
      for (ssize_t at = 0; at < size;) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the kernel's own layout.
        const auto& entry = *reinterpret_cast<const dirent64*>(buffer_ + at);
        at += entry.d_reclen;
        Take(opened.Get(), folder, entry);
      }
    }
  }

  void Take(int opened, const std::string& folder, const dirent64& entry) {
    const std::string_view name = entry.d_name;
    // A backslash inside a name cannot be written in a path text.
    if (name == "." || name == ".." || name.find('\\') != std::string_view::npos) return;
    if (IsFolder(opened, entry)) {
      waiting_.push_back(std::string(folder).append("\\").append(name));
    } else if (name.find(mark_) != std::string_view::npos) {
      found_.push_back(std::string(folder).append("\\").append(name));
    }
  }

  static bool IsFolder(int opened, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat found = {};
    return ::fstatat(opened, entry.d_name, &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(found.st_mode);
  }

  Descriptor top_;
  std::string_view mark_;
  std::vector<std::string> waiting_;
  std::vector<std::string> found_;
  alignas(dirent64) char buffer_[std::size_t{32} << 10];
};

}  // namespace

std::vector<std::string> WalkForMarked(int base, const char* folder, std::string_view mark) {
  return Walk(base, folder, mark).Run();
}

}  // namespace vlmr::platform
