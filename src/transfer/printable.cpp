#include "transfer/printable.h"

#include <algorithm>

#include "core/text.h"

namespace vlmr::transfer {

std::string PrintableLine(std::string_view text) {
  constexpr std::size_t kLongest = 400;
  std::string line(text.substr(0, kLongest));
  std::replace_if(
      line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }, ' ');
  return std::string(core::TrimBlanks(line));
}

}  // namespace vlmr::transfer
