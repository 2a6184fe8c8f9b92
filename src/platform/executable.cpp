#include "platform/executable.h"

namespace vlmr::platform {

std::string ProgramName(const std::string& file_name) {
  const std::size_t dot = file_name.rfind('.');
  // A name that begins with its only dot has no extension.
  return dot == std::string::npos || dot == 0 ? file_name : file_name.substr(0, dot);
}

}  // namespace vlmr::platform
