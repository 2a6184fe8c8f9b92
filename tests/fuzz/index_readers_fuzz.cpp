// The whole input is the service's index.
#include <algorithm>

#include "fuzz/fuzz_input.h"
#include "index/index_readers.h"
#include "platform/runtime_error.h"
#include "support/test_world.h"

namespace {

using vlmr::test::Promise;

/// True when nothing was raised. A value that is malformed raises; the callers' traps report it.
template <class Reader>
bool Try(const Reader& reader) {
  try {
    reader();
    return true;
  } catch (const vlmr::platform::RuntimeError& error) {
    const int number = error.Number();
    Promise(number == 5 || number == 6 || number == 7 || number == 9 || number == 13,
            "a reader raises what it says");
    return false;
  }
}

/// The reader of one increment tells the same as the table of all.
void CheckIncrement(const vlmr::index::IndexReaders& readers,
                    const std::vector<vlmr::index::Increment>& table, const std::string& version) {
  const auto row = std::find_if(table.begin(), table.end(), [&](const vlmr::index::Increment& increment) {
    return increment.from == version;
  });
  std::string path;
  Promise(Try([&] { path = readers.GetIncrementPathForVersion(version); }),
          "a table that was read is well formed");
  Promise(path == (version.empty() || row == table.end() ? "" : row->path),
          "the first increment that fits is found");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  const std::string index = vlmr::test::FuzzInput(data, size).Rest();
  world.files.Put(R"(\TempDownload\ActiveUpdate\server.ini)", index);
  world.files.Put(R"(\ActiveUpdate\server.ini)", index);
  const vlmr::index::IndexReaders readers(world.runtime);
  Try([&] { readers.VerifLocalPatternVersion(world.paths.FreshIndex()); });
  Promise(!readers.GetDownloadedPatternVersion().empty(), "a version that is missing is 0");
  Try([&] { readers.GetCombinedPatternPath(); });
  Try([&] { readers.GetMirrorPatternVersion(vlmr::index::AuxiliaryPattern::kMpp); });
  std::vector<vlmr::index::Increment> table;
  if (Try([&] { readers.GetIncrementUrl(table); })) {
    CheckIncrement(readers, table, "100");
    if (!table.empty()) CheckIncrement(readers, table, table.back().from);
  }
  Promise(world.files.Text(R"(\ActiveUpdate\server.ini)") == index,
          "an index that is only read stays as it is");
  return 0;
}
