#include "index/entry_numbers.h"

#include <algorithm>
#include <numeric>

namespace vlmr::index {

std::vector<int> EntryNumbers(const core::IniDocument& document, std::string_view section,
                              std::initializer_list<std::string_view> prefixes, int count) {
  constexpr int kAlways = 1000;
  std::vector<int> numbers(static_cast<std::size_t>(std::clamp(count, 0, kAlways)));
  std::iota(numbers.begin(), numbers.end(), 1);
  if (count <= kAlways) return numbers;
  std::vector<int> there;
  for (const std::string_view prefix : prefixes) {
    const std::vector<int> found = document.NumberedKeys(section, prefix);
    std::vector<int> merged;
    std::set_union(there.begin(), there.end(), found.begin(), found.end(), std::back_inserter(merged));
    there = std::move(merged);
  }
  const auto first = std::upper_bound(there.begin(), there.end(), kAlways);
  numbers.insert(numbers.end(), first, std::upper_bound(first, there.end(), count));
  return numbers;
}

}  // namespace vlmr::index
