#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include "core/ini_document.h"

namespace vlmr::index {

/// The numbers that a loop over the `count` numbered entries of a section visits: 1 to `count`, but from 1001
/// on only those for which one of the keys (`prefixes` and the number) is there. An entry that is not there
/// changes nothing but the log, where it leaves an empty line of its kind; so the result is that of the whole
/// loop, and a count that the file does not bear out ends soon, with a thousand such lines at most.
std::vector<int> EntryNumbers(const core::IniDocument& document, std::string_view section,
                              std::initializer_list<std::string_view> prefixes, int count);

}  // namespace vlmr::index
