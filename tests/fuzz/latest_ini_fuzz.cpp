// The whole input is a "latest.ini".
#include "ftpsources/latest_ini.h"
#include "fuzz/fuzz_input.h"
#include "support/test_world.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  world.files.Put(R"(\latest.ini)", vlmr::test::FuzzInput(data, size).Rest());
  const std::string file = world.At(R"(\latest.ini)");
  vlmr::test::Promise(!vlmr::ftpsources::ReadCprBuild(world.ini, file).empty() ||
                          !vlmr::ftpsources::ReadCprVersion(world.ini, file).empty(),
                      "version or build say something");
  return 0;
}
