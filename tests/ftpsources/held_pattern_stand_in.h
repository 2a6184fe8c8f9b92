#pragma once

#include <string>

#include "ftpsources/held_pattern.h"

namespace vlmr::ftpsources {

/// Holds the pattern that a test says.
class HeldPatternStandIn : public HeldPattern {
 public:
  explicit HeldPatternStandIn(std::string held) : version(std::move(held)) {}
  std::string PatternStored() override { return version; }

  std::string version;
};

}  // namespace vlmr::ftpsources
