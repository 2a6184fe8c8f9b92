// Up to the first "|": what is looked for in the rest.
#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "platform/runtime_error.h"

using namespace vlmr::core;
using vlmr::test::Promise;

namespace {

std::string JoinedBy(const std::vector<std::string>& pieces, char separator) {
  std::string joined = pieces.front();
  for (std::size_t i = 1; i < pieces.size(); ++i) joined.append(1, separator).append(pieces[i]);
  return joined;
}

void CheckTrimming(const std::string& text) {
  for (const auto& [trimmed, dropped] :
       {std::pair{TrimBlanks(text), " "}, std::pair{TrimBlanksAndTabs(text), " \t"}}) {
    Promise(text.find(trimmed) != std::string::npos, "what is trimmed is a part of the text");
    Promise(trimmed.empty() ||
                (trimmed.find_first_of(dropped) != 0 && trimmed.find_last_of(dropped) != trimmed.size() - 1),
            "nothing to drop is left at the ends");
    const bool had_more = text.find_first_not_of(dropped) != std::string::npos;
    Promise(had_more != trimmed.empty(), "only blanks are dropped");
  }
}

void CheckCase(const std::string& text, const std::string& other) {
  const std::string upper = ToUpper(text);
  Promise(upper.size() == text.size() && ToUpper(upper) == upper, "upper case stays upper case");
  Promise(EqualsIgnoringCase(text, upper), "a text is its upper case, case ignored");
  Promise(EqualsIgnoringCase(text, other) == (upper == ToUpper(other)), "both comparisons agree");
}

void CheckLines(const std::string& text) {
  std::size_t bytes = 0;
  for (const std::string_view line : Lines(text)) {
    Promise(line.find_first_of("\r\n") == std::string_view::npos, "no line end is in a line");
    bytes += line.size();
  }
  std::size_t ends = 0;
  for (const char c : text) ends += c == '\r' || c == '\n' ? 1 : 0;
  Promise(bytes + ends == text.size(), "lines are all of the text but their ends");
}

void CheckReplacing(const std::string& text, const std::string& wanted) {
  if (wanted.empty()) return;
  Promise(ReplaceAll(text, wanted, wanted) == text, "a text put in its own place changes nothing");
  const std::string without = ReplaceAll(text, wanted, "");
  Promise((without.size() == text.size()) == (text.find(wanted) == std::string::npos),
          "all that is found is replaced");
}

void CheckIndexValue(const std::string& text) {
  const bool has_comma = text.find(',') != std::string::npos;
  try {
    const PathAndSize parts = SplitPathAndSize(text);
    Promise(text.empty() || (has_comma && parts.path + "," + parts.size == text), "a value is its two parts");
    Promise(text.find(GetVersionField(text)) != std::string::npos, "a version is a part of the value");
    Promise(BeforeComma(text) == parts.path, "the path is what stands before the comma");
  } catch (const vlmr::platform::RuntimeError& error) {
    Promise(error.Number() == 5 && !has_comma, "only a value without a comma raises, and 5");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::FuzzInput input(data, size);
  const std::string wanted = input.Until('|');
  const std::string text = input.Rest();
  const char separator = wanted.empty() ? ';' : wanted.front();
  Promise(JoinedBy(Split(text, separator), separator) == text, "the pieces make the text again");
  Promise(text.ends_with(LastCharacters(text, wanted.size())), "the last characters are its end");
  CheckTrimming(text);
  CheckCase(text, wanted);
  CheckLines(text);
  CheckReplacing(text, wanted);
  CheckIndexValue(text);
  return 0;
}
