#pragma once

#include <string>
#include <vector>

#include "core/runtime.h"

namespace vlmr::index {

/// One row of the increment table.
struct Increment {
  std::string path;  ///< relative path on the service
  std::string size;  ///< bytes, as text
  std::string from;  ///< version from which it applies
};

/// The auxiliary patterns, by the key that describes them in [PATTERN].
enum class AuxiliaryPattern { kMpp, kOpp, kSpam, kRedAlert };
/// "P.10", "P.20", "P.40", "P.80".
const std::string& AuxiliaryKey(AuxiliaryPattern pattern);

/// The readers of the service's index as fetched, and of the mirror's own. They never fail for what is
/// missing; a non-empty path-and-size value without a comma raises 5, a count that is no number 13.
class IndexReaders {
 public:
  explicit IndexReaders(const core::Runtime& runtime) : runtime_(runtime) {}

  /// [PATTERN] "Version" of an index file as a number, 0 when the file is absent. Raises 13 or 6.
  float VerifLocalPatternVersion(const std::string& file) const;
  /// [PATTERN] "Version" of the fresh index, "0" when empty.
  std::string GetDownloadedPatternVersion() const;
  /// Path of the increment that applies to exactly this version (first match), empty when there is none.
  std::string GetIncrementPathForVersion(const std::string& version) const;
  /// Fills the table with every listed increment, in the order of `EntryNumbers`; rows before a failing one
  /// stay filled. A count of zero leaves it as it is. Raises 5, 13, 9 (negative count), 7 (over a million).
  void GetIncrementUrl(std::vector<Increment>& table) const;
  /// Path of the full archive, empty when the key is missing.
  std::string GetCombinedPatternPath() const;
  /// The version of an auxiliary pattern in the mirror's index.
  std::string GetMirrorPatternVersion(AuxiliaryPattern pattern) const;

 private:
  const core::Runtime& runtime_;
};

}  // namespace vlmr::index
