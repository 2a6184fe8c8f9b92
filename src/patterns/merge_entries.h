#pragma once

#include <string>

#include "core/runtime.h"

namespace vlmr::patterns {

/// The numbered increment entries in [PATTERN] of the service's index as fetched, read one key at a time.
class MergeEntries {
 public:
  explicit MergeEntries(const core::Runtime& runtime) : runtime_(runtime) {}

  /// "MergeCount" as it stands; empty when it is missing.
  std::string Count() const;
  /// "Merge." N: the version from which increment N applies.
  std::string Version(int n) const;
  /// "MergePath_VSAPI." N: path and size of increment N.
  std::string PathAndSize(int n) const;

  /// The last number of a loop over `count` entries. Raises 7 over a million, as filling the increment table
  /// does: no index holds so many, and a count without its entries must not keep a run busy for hours.
  static int LastOf(double count);

 private:
  const core::Runtime& runtime_;
};

}  // namespace vlmr::patterns
