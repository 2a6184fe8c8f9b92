#pragma once

#include <string>

#include "core/runtime.h"
#include "ftpsources/held_pattern.h"

namespace vlmr::ftpsources {

/// Keeps the pattern folders of the mirror small.
class PatternCleanup {
 public:
  /// Both references must outlive this object.
  PatternCleanup(const core::Runtime& runtime, HeldPattern& held) : runtime_(runtime), held_(held) {}

  /// Deletes every lpt$vpn.* of a folder whose last three characters differ from the held version; all of
  /// them when none is held. Raises nothing.
  void KillPatternServer(const std::string& folder);

 private:
  const core::Runtime& runtime_;
  HeldPattern& held_;
};

}  // namespace vlmr::ftpsources
