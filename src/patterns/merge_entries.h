#pragma once

#include <string>
#include <vector>

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

  /// The numbers of a loop over `count` entries, as `index::EntryNumbers` gives them: a count without its
  /// entries must not keep a run busy. Raises 7 over a million, as filling the increment table does.
  std::vector<int> Numbers(double count) const;

 private:
  const core::Runtime& runtime_;
};

}  // namespace vlmr::patterns
