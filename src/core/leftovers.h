#pragma once

#include "core/app_paths.h"
#include "platform/file_system.h"

namespace vlmr::core {

/// Removes the temporary files that a killed run left behind: every file whose name carries
/// `platform::kTemporaryMark`, in the application folder itself and in the whole of the program's own trees
/// below it, and what that run had on the way: the old pattern that the patch program put aside, a package
/// that was not installed. To be called only when no other instance can be at work. Silent; its cost grows
/// with the number of folders and files.
void RemoveLeftovers(const AppPaths& paths, platform::FileSystem& files);

}  // namespace vlmr::core
