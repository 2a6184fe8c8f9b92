// First line: version held, second: version offered; the rest is the job file that an earlier run left.
#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "patterns/pattern_paths.h"
#include "patterns/pattern_world.h"

namespace {

using namespace vlmr;
using test::Promise;

/// Whether the callers would start a job for this version: it came out of an INI file and can be a file name.
bool IsUsable(const patterns::PatternWorld& world, const std::string& version) {
  return version.size() <= 100 && version == core::TrimBlanksAndTabs(version) && !version.starts_with('\'') &&
         patterns::IsUsableVersion(world.runtime, "fuzz", version);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzInput input(data, size);
  patterns::PatternWorld world;
  const std::string from = input.Line();
  const std::string to = input.Line();
  if (!IsUsable(world, from) || !IsUsable(world, to) || core::EqualsIgnoringCase(from, to)) return 0;
  const std::string staged = R"(\TempDownload\ActiveUpdate\Pattern\)";
  world.files.Put(R"(\Patch.ini)", input.Rest());
  world.files.Put(R"(\Pattern\)" + patterns::PatternName(from), "old");
  world.files.Put(staged + patterns::IncrementName(from, to), "new");
  world.ScriptPatchProgram();

  Promise(world.job.PatchIni(from, to), "a program that finds its job makes the pattern");
  Promise(world.files.Text(R"(\ActiveUpdate\Pattern\)" + patterns::PatternName(to)) == "old+new",
          "and it is published");
  const auto read = [&](const char* section, const char* key) {
    return world.GetIni(R"(\Patch.ini)", section, key);
  };
  Promise(read("MAIN", "Pattern") == patterns::IncrementName(from, to), "the increment is read back");
  Promise(read("MAIN", "PatternFrom") == from && read("MAIN", "PatternTo") == to,
          "both versions are read back");
  for (const char* key : {"Finished", "Result", "Rollback", "ErrorFile", "ErrorID"}) {
    Promise(read("Log", key).empty(), "what an earlier run told is gone");
  }
  for (const std::string& path : world.files.Files()) {
    Promise(path.find(".vlmr-tmp") == std::string::npos, "nothing temporary is left");
  }
  return 0;
}
