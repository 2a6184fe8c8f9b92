#pragma once

#include <string>
#include <vector>

namespace vlmr::ftpsources {

/// Sorts a list of versions as texts, by unsigned bytes, the greatest first. In proportion to n log n
/// whatever the order of the list, because a server's listing can hold a million names.
void SortTableau(std::vector<std::string>& versions);

}  // namespace vlmr::ftpsources
