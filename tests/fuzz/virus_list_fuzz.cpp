// The whole input is a "whatsnew.txt".
#include "core/number.h"
#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "notify/virus_list.h"
#include "support/test_world.h"

namespace {

struct NoSource final : vlmr::notify::VirusListReport::WhatsNewSource {
  void DownloadWhatsNew() override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::World world;
  world.files.Put(R"(\w.txt)", vlmr::test::FuzzInput(data, size).Rest());
  NoSource source;
  vlmr::notify::VirusListReport report(world.runtime, source);
  const vlmr::notify::VirusList list = report.ReadVirusListFile(world.At(R"(\w.txt)"));
  vlmr::test::Promise(list.status == "OK", "a file that exists is parsed");
  const std::string count =
      world.runtime.ReadIniValue("VIRUS", "COUNT", world.At(R"(\ListVir_Official.ini)"));
  vlmr::test::Promise(count == list.count, "the report holds the count that is returned");
  const auto lines = vlmr::core::Lines(list.names);
  vlmr::test::Promise(
      list.count.empty()
          ? lines.empty()
          : vlmr::core::IntegerText(std::int64_t(lines.size())) == list.count || lines.size() > 32767,
      "as many names as are counted");
  return 0;
}
