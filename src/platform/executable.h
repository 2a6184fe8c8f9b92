#pragma once

#include <string>

namespace vlmr::platform {

/// Where the running program stands.
struct Executable {
  std::string folder;     ///< the application folder: absolute, no separator at its end
  std::string file_name;  ///< the file's own name, for example "VlMr.exe"
};

/// Asks the system for the running executable (not `argv[0]`, which a caller can set). Raises 53 when it
/// cannot tell.
Executable FindExecutable();

/// The file name without its last extension: the name that stands in brackets in every log line.
std::string ProgramName(const std::string& file_name);

}  // namespace vlmr::platform
