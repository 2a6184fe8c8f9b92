#pragma once

#include <string>
#include <vector>

#include "core/runtime.h"
#include "transfer/zip.h"

namespace vlmr::patterns {

/// Which pattern the mirror holds. The short version is the three characters behind "lpt$vpn."; "0" means
/// none.
class PatternStore {
 public:
  PatternStore(const core::Runtime& runtime, transfer::ZIP& zip) : runtime_(runtime), zip_(zip) {}

  /// The short version in the working folder, which is filled from the published archive when it is empty and
  /// cleaned of older patterns. "0" when none is held; empty after an error.
  std::string PatternStored();
  /// Unpacks the published archive into the working folder. True when that succeeded.
  bool UnzipLatestPattern();
  /// The greatest extension in the working folder by text comparison, "0" when none; unpacks the archive when
  /// it is empty.
  std::string GetLastStoredPatternExtension();
  /// Empties the working folder of patterns after a new archive was put in place that opens and holds an
  /// entry, so that the next `PatternStored` unpacks it.
  void RefreshPatternFolder();

 private:
  void CleanPatternFolder(const std::vector<std::string>& list, const std::string& keep);

  const core::Runtime& runtime_;
  transfer::ZIP& zip_;
};

}  // namespace vlmr::patterns
