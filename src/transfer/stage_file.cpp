#include "transfer/stage_file.h"

#include "platform/runtime_error.h"

namespace vlmr::transfer {

std::unique_ptr<platform::StagedFile> StageMakingFolders(platform::FileSystem& files,
                                                         const std::string& path) {
  // Tried first, because the folder is nearly always there.
  try {
    return files.Stage(path);
  } catch (const platform::RuntimeError& error) {
    if (error.Number() != platform::error_number::kPathNotFound) throw;
  }
  files.MakeFolders(std::string(platform::FolderOf(path)));
  return files.Stage(path);
}

}  // namespace vlmr::transfer
