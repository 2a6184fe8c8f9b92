#pragma once

#include <memory>
#include <string>

#include "platform/file_system.h"
#include "platform/path_resolver_posix.h"

namespace vlmr::platform {

/// Makes the temporary file beside `path` and returns it open. `resolver` outlives the result. Raises as
/// `FileSystem::Stage`.
std::unique_ptr<StagedFile> StageBeside(PathResolver& resolver, const std::string& path, Access access);

/// The mode with which a new file is made, before the process's umask.
mode_t ModeOf(Access access);

/// Writes all bytes at `offset`; at the end of the file when `offset` is negative. Raises 61 or 57.
void WriteFully(int descriptor, std::string_view bytes, std::int64_t offset);

}  // namespace vlmr::platform
