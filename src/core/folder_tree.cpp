#include "core/folder_tree.h"

#include <span>
#include <string>

namespace vlmr::core {
namespace {

/// One folder of a tree, below the application folder; a parent stands before its children.
struct TreeFolder {
  std::string_view path;
  std::string_view created_tail = "= ";  ///< what ends the line that tells of its making
};

constexpr TreeFolder kPublished[] = {
    {R"(\ActiveUpdate)"},                //
    {R"(\ActiveUpdate\Engine)"},         //
    {R"(\ActiveUpdate\Pattern)"},        //
    {R"(\ActiveUpdate\ServerProtect)"},  //
    {R"(\ActiveUpdate\Product)"},        //
    {R"(\ActiveUpdate\Source)"},
};

constexpr TreeFolder kStaging[] = {
    {R"(\TempDownload)", "="},
    {R"(\TempDownload\ActiveUpdate)"},
    {R"(\TempDownload\ActiveUpdate\Engine)"},
    {R"(\TempDownload\ActiveUpdate\ServerProtect)"},
    {R"(\TempDownload\ActiveUpdate\Pattern)"},
    {R"(\TempDownload\ActiveUpdate\Product)"},
};

std::span<const TreeFolder> FoldersOf(FolderTree tree) {
  return tree == FolderTree::kPublished ? std::span<const TreeFolder>(kPublished)
                                        : std::span<const TreeFolder>(kStaging);
}

}  // namespace

void TestingFolder(const Runtime& runtime, FolderTree tree) {
  runtime.Log("TestingFolder: Verify folders Start");
  for (const TreeFolder& folder : FoldersOf(tree)) {
    const std::string path = runtime.paths / folder.path;
    const std::string found = runtime.files.FindFolder(path);
    runtime.Log(std::string(path).append("= ").append(found), LogLevel::kDetailed);
    if (found.empty()) {
      runtime.Log(std::string("Create ").append(path).append(folder.created_tail), LogLevel::kDetailed);
      runtime.files.MakeFolder(path);
    }
  }
  runtime.Log("TestingFolder: Verify folders End");
}

}  // namespace vlmr::core
