#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace vlmr::platform {

/// One character in upper case by ASCII alone: the rule by which file names are the same. Other bytes stay.
constexpr char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// A whole name in upper case by ASCII.
inline std::string AsciiUpper(std::string_view name) {
  std::string upper(name);
  for (char& c : upper) c = AsciiUpper(c);
  return upper;
}

/// Whether two names differ in ASCII case at most.
inline bool SameName(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return AsciiUpper(a) == AsciiUpper(b); });
}

}  // namespace vlmr::platform
