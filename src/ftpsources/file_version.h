#pragma once

#include <string>

#include "platform/file_system.h"

namespace vlmr::ftpsources {

/// The file version of a Windows executable as "a.b.c.d": VS_FIXEDFILEINFO of the first version resource
/// (PE/COFF format, 32 and 64 bits). Empty for a file without one, for anything that is no such executable,
/// and for a file that is absent or cannot be read. Reads only what it needs, at most some hundred kilobytes,
/// whatever the file says of its own sizes. Raises nothing.
std::string FileVersionOf(const platform::FileReader& files, const std::string& path);

/// The same for an open file.
std::string FileVersionOf(platform::InputFile& file);

}  // namespace vlmr::ftpsources
