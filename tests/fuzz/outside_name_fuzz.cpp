#include <algorithm>

#include "core/outside_name.h"
#include "core/text.h"
#include "fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlmr::core;
  using vlmr::test::Promise;
  const std::string name = vlmr::test::FuzzInput(data, size).Rest();
  const NameFault fault = CheckOutsidePath(name);
  Promise(!DescribeNameFault(fault).empty(), "every fault has words");
  if (fault == NameFault::kNone) {
    const std::string local = PathBelow("", name).substr(1);
    Promise(!local.empty() && local.front() != '\\' && local.back() != '\\',
            "a path is relative and names something");
    Promise(local.find(':') == std::string::npos, "no drive and no stream");
    Promise(
        std::none_of(local.begin(), local.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }),
        "no control character");
    for (const std::string& part : Split(local, '\\')) {
      Promise(!part.empty() && part != "." && part != "..", "every part goes downwards");
      Promise(part.back() != '.' && part.back() != ' ', "every part is spelled as Windows keeps it");
    }
  }
  if (CheckOutsideFileName(name) == NameFault::kNone) {
    Promise(fault == NameFault::kNone, "a bare name is a path");
    Promise(name.find_first_of("/\\") == std::string::npos, "a bare name has no folder");
  }
  return 0;
}
