#pragma once

#include <string>

#include "core/runtime.h"
#include "index/index_readers.h"
#include "index/service_fetch.h"

namespace vlmr::patterns {

/// The four auxiliary patterns: one procedure over a table of four rows.
class AuxiliaryPatterns {
 public:
  /// Both references must outlive this object.
  AuxiliaryPatterns(const core::Runtime& runtime, const index::ServiceFetch& fetch)
      : runtime_(runtime), fetch_(fetch) {}

  /// Each compares the mirror's version with the service's as numbers, fetches the file when it is missing or
  /// older (from the main source, else from the second one), publishes it and writes the mirror index. True
  /// when the index was written. Raises 5 (value without a comma, or none), 13 and 6 (version), 53 (the move
  /// failed); nothing was written then.
  bool GetMPPPattern() { return GetPattern(index::AuxiliaryPattern::kMpp); }
  bool GetOPPPattern() { return GetPattern(index::AuxiliaryPattern::kOpp); }
  bool GetSPAMPattern() { return GetPattern(index::AuxiliaryPattern::kSpam); }
  bool GetRedAlertPattern() { return GetPattern(index::AuxiliaryPattern::kRedAlert); }
  /// The same for whichever of the four.
  bool GetPattern(index::AuxiliaryPattern pattern);

 private:
  const core::Runtime& runtime_;
  const index::ServiceFetch& fetch_;
};

}  // namespace vlmr::patterns
