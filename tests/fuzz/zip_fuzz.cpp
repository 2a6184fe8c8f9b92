// The whole input is an archive. It is unpacked twice: in memory, where every write is recorded, and in a
// folder on the disk.
#include <filesystem>

#include "fuzz/fuzz_input.h"
#include "platform/native.h"
#include "support/scoped_temp_dir.h"
#include "support/test_world.h"
#include "transfer/zip.h"

namespace {

using namespace vlmr;
using test::Promise;
namespace fs = std::filesystem;

/// Unpacks in memory and returns how many files came out; nothing but them and the log was written.
std::size_t UnpackInMemory(const std::string& archive) {
  test::World world;
  world.files.Put(R"(\a.zip)", archive);
  transfer::ZIP zip(world.runtime);
  const bool extracted = zip.DezipFiles(world.At(R"(\a.zip)"), world.At(R"(\out)"), "", "");
  std::size_t inside = 0;
  for (const std::string& path : world.files.Files()) {
    const bool own = path == R"(\a.zip)" || path == R"(\VlMR.log)" || path == R"(\VLMR.ini)";
    Promise(own || path.starts_with(R"(\out\)"), "nothing is written outside the folder");
    Promise(path.find(".vlmr-tmp") == std::string::npos, "nothing temporary is left");
    inside += own ? 0U : 1U;
  }
  for (const std::string& path : world.files.files_written) {
    Promise(path == world.At(R"(\VlMR.log)") || path == world.At(R"(\VLMR.ini)") ||
                path.starts_with(world.At(R"(\out\)")),
            "nothing is written anywhere else");
  }
  Promise(extracted == (inside > 0), "the result says whether a file was written");
  return inside;
}

/// The same on the disk, in an application folder of its own below `top`.
std::size_t UnpackOnDisk(const std::string& archive) {
  const test::ScopedTempDir top;
  const core::AppPaths paths{(top.Real() / "a" / "b").string(), "VlMr"};
  fs::create_directories(top.Real() / "a" / "b");
  top.Put(R"(\a\b\a.zip)", archive);
  {
    const auto files = platform::MakeFileSystem(paths.Folder());
    test::FakeClock clock;
    test::FakeEventLoop loop{clock};
    test::FakeForm form;
    test::ScriptedRandom random;
    core::IniStore ini{*files, loop, clock};
    core::SecretCipher cipher{paths, *files};
    core::Settings settings{paths, ini, cipher};
    core::RunState state;
    core::ActivityLog log{paths, *files, clock, ini, settings, state, form, random};
    const core::Runtime runtime{paths, *files, clock, ini, settings, state, log};
    transfer::ZIP(runtime).DezipFiles(paths / R"(\a.zip)", paths / R"(\out)", "", "");
  }
  std::size_t inside = 0;
  for (const auto& entry : fs::recursive_directory_iterator(top.Real())) {
    if (entry.is_directory()) continue;
    const std::string path = entry.path().lexically_relative(top.Real()).generic_string();
    const bool own = path == "a/b/a.zip" || path == "a/b/VlMR.log" || path == "a/b/VLMR.ini";
    Promise(own || path.starts_with("a/b/out/"), "nothing is written outside the folder on the disk");
    Promise(path.find(".vlmr-tmp") == std::string::npos, "nothing temporary is left on the disk");
    Promise(entry.is_regular_file() && !entry.is_symlink(), "only files are made");
    inside += own ? 0U : 1U;
  }
  return inside;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string archive = test::FuzzInput(data, size).Rest();
  const std::size_t in_memory = UnpackInMemory(archive);
  Promise(UnpackOnDisk(archive) == in_memory, "memory and disk take the same files");
  return 0;
}
