// First line: section, second: key, third: value; the rest is the file.
#include "core/ini_document.h"
#include "core/text.h"
#include "fuzz/fuzz_input.h"

using vlmr::core::IniDocument;
using vlmr::test::Promise;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::FuzzInput input(data, size);
  const std::string section = input.Line();
  const std::string key = input.Line();
  const std::string value = input.Line();
  const std::string text = input.Rest();

  IniDocument document(text);
  Promise(document.Text() == text, "a file that is only read stays byte for byte");
  document.Get(section, key);
  document.Set(section, key, value);
  const std::string written = document.Text();
  Promise(document.TextSize() == written.size(), "the size is that of the text");
  const IniDocument again(written);
  Promise(again.Get(section, key) == document.Get(section, key), "what is written is read back");
  if (IniDocument::CanHold(section, key)) {
    Promise(document.HasKey(section, key), "a name that can be held is found again");
    Promise(!document.Set(section, key, value), "the same value changes nothing");
    document.AppendBlankLine();
    Promise(IniDocument(document.Text()).HasKey(section, key), "an empty line hides nothing");
  }
  return 0;
}
