#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlmr::platform {

/// The paths, relative to `folder` and with a backslash before each component, of the files inside it as
/// `FileReader::FindMarked` wants them. `base` and `folder` name the folder as `openat` takes them. An open,
/// the reads and a close for each folder.
std::vector<std::string> WalkForMarked(int base, const char* folder, std::string_view mark);

}  // namespace vlmr::platform
