#include "core/leftovers.h"

#include <string>
#include <utility>
#include <vector>

#include "core/error_trap.h"

namespace vlmr::core {
namespace {

/// The trees that the program writes to. What else an operator keeps in the application folder is not ours.
constexpr std::string_view kOwnTrees[] = {
    R"(\ActiveUpdate)", R"(\TempDownload)", R"(\Pattern)", R"(\CPR_Temp)", R"(\mQueue)", R"(\BackupLogs)",
};

/// No path of an index is longer than 1024 bytes, so no tree of ours is deeper; a folder that holds a link to
/// itself would be.
constexpr int kDeepest = 520;

std::string Below(const std::string& folder, std::string_view name) {
  return std::string(folder).append("\\").append(name);
}

void CleanFolder(const std::string& folder, platform::FileSystem& files) {
  const ErrorTrap silent([](const platform::RuntimeError&) {});
  for (const std::string& name :
       files.List(Below(folder, "*").append(platform::kTemporaryMark).append("*"))) {
    silent([&] { files.Delete(Below(folder, name)); });
  }
}

void CleanTree(const std::string& top, platform::FileSystem& files) {
  std::vector<std::pair<std::string, int>> waiting{{top, 0}};
  while (!waiting.empty()) {
    const auto [folder, depth] = std::move(waiting.back());
    waiting.pop_back();
    CleanFolder(folder, files);
    if (depth < kDeepest) {
      for (const std::string& name : files.ListFolders(folder)) {
        waiting.emplace_back(Below(folder, name), depth + 1);
      }
    }
  }
}

}  // namespace

void RemoveLeftovers(const AppPaths& paths, platform::FileSystem& files) {
  CleanFolder(paths.Folder(), files);
  for (const std::string_view tree : kOwnTrees) {
    CleanTree(paths / tree, files);
  }
}

}  // namespace vlmr::core
