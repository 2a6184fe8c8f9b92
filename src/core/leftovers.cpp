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

/// What a run fetches or makes on the way and takes away itself once it is done.
constexpr std::string_view kOnTheWay[] = {
    R"(\TempDownload\ActiveUpdate\Pattern\Backup\lpt$vpn.*)",  // put aside by the patch program
    R"(\TempDownload\tsc*.zip)",                               // a package that was not installed
};

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
  for (const std::string_view place : kOnTheWay) {
    const std::string path = paths / place;
    for (const std::string& name : files.List(path)) {
      Remove(std::string(platform::FolderOf(path)) + "\\" + name, files);
    }
  }
}

}  // namespace vlmr::core
