#include "ftpsources/tableaux.h"

#include <algorithm>
#include <compare>

#include "core/number.h"

namespace vlmr::ftpsources {

void SortTableau(std::vector<std::string>& versions) {
  std::sort(versions.begin(), versions.end(),
            [](const std::string& a, const std::string& b) { return std::is_gt(core::CompareAsText(a, b)); });
}

}  // namespace vlmr::ftpsources
