// The whole input is an archive.
#include "fuzz/fuzz_input.h"
#include "support/test_world.h"
#include "transfer/zip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  world.files.Put(R"(\a.zip)", vlmr::test::FuzzInput(data, size).Rest());
  vlmr::transfer::ZIP zip(world.runtime);
  const bool extracted = zip.DezipFiles(world.At(R"(\a.zip)"), world.At(R"(\out)"), "", "");
  bool inside = false;
  for (const std::string& path : world.files.Files()) {
    const bool own = path == R"(\a.zip)" || path == R"(\VlMR.log)" || path == R"(\VLMR.ini)";
    vlmr::test::Promise(own || path.starts_with(R"(\out\)"), "nothing is written outside the folder");
    vlmr::test::Promise(path.find(".vlmr-tmp") == std::string::npos, "nothing temporary is left");
    inside = inside || path.starts_with(R"(\out\)");
  }
  vlmr::test::Promise(extracted == inside, "the result says whether a file was written");
  return 0;
}
