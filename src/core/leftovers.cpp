#include "core/leftovers.h"

#include <string>

#include "core/error_trap.h"

namespace vlmr::core {
namespace {

/// The trees that the program writes to.
constexpr std::string_view kOwnTrees[] = {
    R"(\ActiveUpdate)", R"(\TempDownload)", R"(\Pattern)", R"(\CPR_Temp)", R"(\mQueue)", R"(\BackupLogs)",
};

void Remove(const std::string& path, platform::FileSystem& files) {
  const ErrorTrap silent([](const platform::RuntimeError&) {});
  silent([&] { files.Delete(path); });
}

}  // namespace

void RemoveLeftovers(const AppPaths& paths, platform::FileSystem& files) {
  // Of the application folder only its own files: what else an operator keeps in it is not ours.
  const std::string pattern = paths / R"(\*)" + std::string(platform::kTemporaryMark) + "*";
  for (const std::string& name : files.List(pattern)) {
    Remove(paths.Folder() + "\\" + name, files);
  }
  for (const std::string_view tree : kOwnTrees) {
    for (const std::string& path : files.FindMarked(paths / tree, platform::kTemporaryMark)) {
      Remove(path, files);
    }
  }
}

}  // namespace vlmr::core
