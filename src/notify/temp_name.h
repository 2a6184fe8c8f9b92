#pragma once

#include <string>

#include "core/random.h"
#include "core/runtime.h"

namespace vlmr::notify {

/// Draws the base names of the files in the queue.
class TempName {
 public:
  /// Both references must outlive this object.
  TempName(const core::Runtime& runtime, core::Random& random) : runtime_(runtime), random_(random) {}

  /// A name of digits only: a pseudo-random number from 1 to 500, year, day of the month, month, and hour,
  /// minute and second with two digits each. Not unique by itself. Raises nothing.
  std::string GetFileTemp() const;

 private:
  const core::Runtime& runtime_;
  core::Random& random_;
};

}  // namespace vlmr::notify
