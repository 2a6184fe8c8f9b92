#pragma once

#include <string>

namespace vlmr::ftpsources {

/// What the procedures of this floor need to know of the pattern store.
class HeldPattern {
 public:
  virtual ~HeldPattern() = default;
  /// The short version of the held pattern (the three characters behind "lpt$vpn."), "0" when none is held,
  /// empty after an error. Raises nothing.
  virtual std::string PatternStored() = 0;
};

}  // namespace vlmr::ftpsources
