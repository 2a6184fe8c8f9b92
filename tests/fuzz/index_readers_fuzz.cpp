// The whole input is the service's index.
#include "core/number.h"
#include "fuzz/fuzz_input.h"
#include "index/index_readers.h"
#include "platform/runtime_error.h"
#include "support/test_world.h"

namespace {

template <class Reader>
void Try(const Reader& reader) {
  try {
    reader();
  } catch (const vlmr::platform::RuntimeError&) {
    // A value that is malformed; the callers' traps report it.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  const std::string index = vlmr::test::FuzzInput(data, size).Rest();
  world.files.Put(R"(\TempDownload\ActiveUpdate\server.ini)", index);
  world.files.Put(R"(\ActiveUpdate\server.ini)", index);
  const vlmr::index::IndexReaders readers(world.runtime);
  // A count that the file cannot hold only costs time.
  bool small = true;
  Try([&] {
    const std::string count = world.runtime.ReadIniValue("PATTERN", "MergeCount", world.paths.FreshIndex());
    small = vlmr::core::ToDouble(count) < 1000;
  });
  if (!small) return 0;
  Try([&] { readers.VerifLocalPatternVersion(world.paths.FreshIndex()); });
  Try([&] { readers.GetDownloadedPatternVersion(); });
  Try([&] { readers.GetIncrementPathForVersion("100"); });
  Try([&] { readers.GetCombinedPatternPath(); });
  Try([&] { readers.GetMirrorPatternVersion(vlmr::index::AuxiliaryPattern::kMpp); });
  std::vector<vlmr::index::Increment> table;
  Try([&] { readers.GetIncrementUrl(table); });
  return 0;
}
