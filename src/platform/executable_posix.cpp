#include <unistd.h>

#include <array>
#include <climits>
#include <string_view>

#include "platform/executable.h"
#include "platform/runtime_error.h"

namespace vlmr::platform {

Executable FindExecutable() {
  std::array<char, PATH_MAX> buffer = {};
  const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (length <= 0) throw RuntimeError(error_number::kFileNotFound);
  std::string path(buffer.data(), static_cast<std::size_t>(length));
  // The kernel's remark on a program that was replaced while it runs.
  constexpr std::string_view kDeleted = " (deleted)";
  if (path.ends_with(kDeleted) && ::access(path.c_str(), F_OK) != 0) {
    path.resize(path.size() - kDeleted.size());
  }
  const std::size_t slash = path.rfind('/');
  return {.folder = path.substr(0, slash), .file_name = path.substr(slash + 1)};
}

}  // namespace vlmr::platform
