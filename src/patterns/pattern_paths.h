#pragma once

#include <string>
#include <string_view>

#include "core/app_paths.h"
#include "core/runtime.h"

namespace vlmr::patterns {

/// Every uncompressed pattern, whatever its version.
inline constexpr std::string_view kAnyPattern = "lpt$vpn.*";
/// The full archive's own name.
inline constexpr const char* kArchiveName = "vsapi.zip";

/// Name of the uncompressed pattern of a version.
inline std::string PatternName(const std::string& version) { return "lpt$vpn." + version; }
/// Name of the increment that leads from one version to another.
inline std::string IncrementName(const std::string& from, const std::string& to) {
  return "v_" + from + "." + to;
}

/// The published pattern folder, without a backslash at its end.
inline std::string PublishedPatterns(const core::AppPaths& paths) {
  return paths / R"(\ActiveUpdate\Pattern)";
}
/// The staging folder of patterns and increments, without a backslash at its end.
inline std::string StagedPatterns(const core::AppPaths& paths) {
  return paths / R"(\TempDownload\ActiveUpdate\Pattern)";
}

/// Whether a version text of the index may become part of a file name. Logs the refusal of one that may not
/// under the name of `procedure`.
bool IsUsableVersion(const core::Runtime& runtime, std::string_view procedure, const std::string& version);

}  // namespace vlmr::patterns
