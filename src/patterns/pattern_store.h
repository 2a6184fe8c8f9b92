#pragma once

#include <string>
#include <vector>

#include "core/runtime.h"
#include "transfer/zip.h"

namespace vlmr::patterns {

/// Which pattern the mirror holds. The short version is the three characters behind "lpt$vpn."; "0" means
/// none. No procedure here raises.
class PatternStore {
 public:
  /// Both references must outlive the store.
  PatternStore(const core::Runtime& runtime, transfer::ZIP& zip) : runtime_(runtime), zip_(zip) {}

  /// The short version in the working folder (the numerically highest), which is filled from the published
  /// archive when it is empty and cleaned of older patterns. "0" when none is held; empty after an error.
  /// Each call also removes one uncompressed pattern from the published folder.
  std::string PatternStored();
  /// Unpacks the published archive into the working folder. True when that succeeded.
  bool UnzipLatestPattern();
  /// The greatest extension in the working folder by text comparison, "0" when none; unpacks the archive when
  /// the folder is empty.
  std::string GetLastStoredPatternExtension();
  /// Empties the working folder of patterns after a new archive was put in place that opens and holds an
  /// entry, so that the next `PatternStored` unpacks it. Without this the folder would keep an older pattern
  /// for ever once a full archive was fetched, and no later increment would apply to it.
  void RefreshPatternFolder();

 private:
  std::string FindStored();
  std::vector<std::string> ListExtensions();
  std::string HighestOf(const std::vector<std::string>& extensions);
  void CleanPatternFolder(const std::string& keep);

  const core::Runtime& runtime_;
  transfer::ZIP& zip_;
};

}  // namespace vlmr::patterns
