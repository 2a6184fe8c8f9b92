#pragma once

#include <string>

namespace vlmr::core {

/// The program's version as three decimal numbers joined by dots, "major.minor.revision". The build sets them
/// in one place.
const std::string& VersionText();

}  // namespace vlmr::core
