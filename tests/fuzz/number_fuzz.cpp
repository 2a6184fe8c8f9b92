// The whole input is a number of the index or of a setting.
#include <cmath>
#include <optional>

#include "core/number.h"
#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "platform/runtime_error.h"

namespace {

using vlmr::test::Promise;

/// What a conversion gives; nothing when it raises one of the two errors that it may.
template <class Conversion>
auto Try(const Conversion& conversion) -> std::optional<decltype(conversion())> {
  try {
    return conversion();
  } catch (const vlmr::platform::RuntimeError& error) {
    Promise(error.Number() == 13 || error.Number() == 6, "a conversion raises 6 or 13");
    return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlmr::core;
  const std::string text = vlmr::test::FuzzInput(data, size).Rest();
  const auto whole = Try([&] { return ToInt16(text); });
  const auto wide = Try([&] { return ToDouble(text); });
  const auto single = Try([&] { return ToSingle(text); });
  const auto flag = Try([&] { return ToBoolean(text); });
  Promise(!whole || (wide && std::fabs(*wide - *whole) <= 0.5), "a rounded number is the nearest one");
  Promise(!wide || std::fabs(*wide) > 32767.5 || whole || *wide >= 32767.5, "what fits is converted");
  Promise(!single || wide, "what single precision holds, double precision holds");
  Promise(!wide || (flag && *flag == (*wide != 0)), "a number is true unless it is 0");
  Promise(!single || std::isfinite(*single), "no text is infinite");
  if (whole) {
    Promise(ToInt16(IntegerText(*whole)) == *whole, "a whole number is read back from its text");
    Promise(ToInt16(PaddedText(*whole, 8)) == *whole, "and with zeros in front");
  }
  if (single) {
    const std::string once = SingleText(*single);
    Promise(*single == 0 || std::fabs(ToDouble(once) / *single - 1) < 1e-6, "seven digits are kept");
    // The nearest number to a text of seven digits may have another text, whose nearest number it is then;
    // and the greatest one may be rounded beyond what single precision holds.
    if (const auto again = Try([&] { return ToSingle(once); })) {
      const std::string twice = SingleText(*again);
      Promise(SingleText(ToSingle(twice)) == twice, "the text of a number settles");
    }
    Promise(CompareAsSingles(text, text) == 0, "a number equals itself");
  }
  return 0;
}
