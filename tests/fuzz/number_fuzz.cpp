#include "core/number.h"
#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "platform/runtime_error.h"

namespace {

using vlmr::test::Promise;

template <class Conversion>
void Try(const Conversion& conversion) {
  try {
    conversion();
  } catch (const vlmr::platform::RuntimeError& error) {
    Promise(error.Number() == 13 || error.Number() == 6 || error.Number() == 5,
            "a conversion raises 5, 6 or 13");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlmr::core;
  const std::string text = vlmr::test::FuzzInput(data, size).Rest();
  Try([&] { ToInt16(text); });
  Try([&] { ToDouble(text); });
  Try([&] { ToBoolean(text); });
  Try([&] {
    const float value = ToSingle(text);
    const std::string once = SingleText(value);
    Promise(SingleText(ToSingle(once)) == once, "the text of a number is stable");
  });
  Try([&] { GetVersionField(text); });
  Try([&] { SplitPathAndSize(text); });
  Try([&] { BeforeComma(text); });
  std::size_t bytes = 0;
  for (const std::string_view line : Lines(text)) bytes += line.size();
  Promise(bytes <= text.size(), "lines are parts of the text");
  return 0;
}
