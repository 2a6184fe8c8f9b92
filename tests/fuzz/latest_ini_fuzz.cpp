// The whole input is a "latest.ini".
#include "core/text.h"
#include "ftpsources/latest_ini.h"
#include "fuzz/fuzz_input.h"
#include "support/test_world.h"

namespace {

/// Whether a text can stand for itself behind the "v" of a version in an INI file.
bool IsPlain(const std::string& text) {
  return text.find_first_of("\r\n\"'") == std::string::npos && text == vlmr::core::TrimBlanksAndTabs(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vlmr::test::Promise;
  vlmr::test::World world;
  world.files.Put(R"(\latest.ini)", vlmr::test::FuzzInput(data, size).Rest());
  const std::string file = world.At(R"(\latest.ini)");
  const vlmr::ftpsources::LatestIni latest{.version = vlmr::ftpsources::ReadCprVersion(world.ini, file),
                                           .build = vlmr::ftpsources::ReadCprBuild(world.ini, file),
                                           .pattern_created = "",
                                           .pattern_size = "",
                                           .zip_file = "",
                                           .zip_created = "",
                                           .zip_size = ""};
  Promise(latest.version.find(' ') == std::string::npos, "a version ends at its first blank");
  // What is too long for a value, or holds the mark of the build, is not read back whole.
  const bool fits = latest.version.size() + latest.build.size() <= 250;
  if (!fits || latest.version.find('v') != std::string::npos || !IsPlain(latest.version) ||
      !IsPlain(latest.build)) {
    return 0;
  }
  Promise(WriteLatestIni(world.ini, latest, file), "the file is written");
  Promise(vlmr::ftpsources::ReadCprVersion(world.ini, file) == latest.version, "the version is read back");
  Promise(vlmr::ftpsources::ReadCprBuild(world.ini, file) == latest.build, "the build is read back");
  return 0;
}
