#include "ftpsources/tableaux.h"

#include <algorithm>
#include <compare>

#include "core/number.h"

namespace vlmr::ftpsources {

void SortTableau(std::vector<std::string>& versions) {
  std::sort(versions.begin(), versions.end(),
            [](const std::string& a, const std::string& b) { return core::CompareAsText(a, b) > 0; });
}

}  // namespace vlmr::ftpsources
