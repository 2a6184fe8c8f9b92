#pragma once

#include <memory>
#include <string>

#include "platform/file_system.h"

namespace vlmr::transfer {

/// Makes a temporary file beside `path`, and the missing folders on the way to it. Raises as
/// `FileSystem::Stage` and `FileSystem::MakeFolders`.
std::unique_ptr<platform::StagedFile> StageMakingFolders(platform::FileSystem& files,
                                                         const std::string& path);

}  // namespace vlmr::transfer
