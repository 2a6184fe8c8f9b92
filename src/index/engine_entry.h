#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vlmr::index {

/// The section of both indexes that lists scan engines: `path, version, size` under the engine's key.
inline constexpr std::string_view kEngineSection = "ENGINE";

/// What an engine's entry says.
struct EngineEntry {
  std::string path;     ///< relative, with slashes; empty when the entry is missing
  std::string version;  ///< compared as text; "0" when the entry is missing
};

/// Splits an entry; a non-empty one without a comma raises 5.
EngineEntry ParseEngineEntry(std::string_view value);

/// The form in which the mirror records an engine.
std::string EngineEntryText(const EngineEntry& entry, std::int64_t length);

}  // namespace vlmr::index
