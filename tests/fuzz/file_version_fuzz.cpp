// The whole input is a Windows executable.
#include <algorithm>

#include "ftpsources/file_version.h"
#include "fuzz/fuzz_input.h"
#include "support/test_world.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  world.files.Put(R"(\tsc.exe)", vlmr::test::FuzzInput(data, size).Rest());
  const std::string version = vlmr::ftpsources::FileVersionOf(world.files, world.At(R"(\tsc.exe)"));
  vlmr::test::Promise(version.empty() || (version.find_first_not_of("0123456789.") == std::string::npos &&
                                          std::count(version.begin(), version.end(), '.') == 3),
                      "a version is four numbers");
  return 0;
}
