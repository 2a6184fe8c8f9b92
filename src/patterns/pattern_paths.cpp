#include "patterns/pattern_paths.h"

#include "core/outside_name.h"

namespace vlmr::patterns {

bool IsUsableVersion(const core::Runtime& runtime, std::string_view procedure, const std::string& version) {
  const auto fault = core::CheckOutsideFileName(PatternName(version));
  if (fault == core::NameFault::kNone) {
    return true;
  }
  runtime.Log(std::string(procedure) + ": Refused pattern version [" + version +
              "]: " + core::DescribeNameFault(fault));
  return false;
}

}  // namespace vlmr::patterns
