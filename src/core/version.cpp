#include "core/version.h"

namespace vlmr::core {

const std::string& VersionText() {
  static const std::string kText = std::to_string(VLMR_VERSION_MAJOR) + "." +
                                   std::to_string(VLMR_VERSION_MINOR) + "." +
                                   std::to_string(VLMR_VERSION_REVISION);
  return kText;
}

}  // namespace vlmr::core
