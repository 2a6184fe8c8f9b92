#pragma once

#include <cstdint>
#include <string>

#include "platform/file_system.h"

namespace vlmr::transfer {

/// The bytes that the directory of an archive takes, as the archive declares (PKWARE APPNOTE, 4.3.14 to
/// 4.3.16): what a reader of it takes into memory before the first entry is known. The largest where several
/// places could be read as the end record; 0 when the file is missing or has none. Raises nothing.
std::int64_t ZipDirectoryBytes(const platform::FileReader& files, const std::string& path);

}  // namespace vlmr::transfer
