// Each line is a line of a response's header.
#include <algorithm>

#include "fuzz/fuzz_input.h"
#include "transfer/http_head.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vlmr::test::Promise;
  vlmr::test::FuzzInput input(data, size);
  vlmr::transfer::HttpHead head;
  std::size_t bytes = 0;
  while (bytes < size) {
    const std::string line = input.Line() + "\n";
    bytes += line.size();
    const bool taken = head.TakeLine(line);
    Promise(taken == (bytes <= vlmr::transfer::HttpHead::kMostBytes),
            "a header that is too large is refused");
    Promise(head.Bytes() == bytes, "every byte is counted");
    if (!taken) break;
    Promise(head.Status() == 0 || (head.Status() >= 100 && head.Status() <= 999),
            "a status has three digits");
    Promise(!head.IsSuccess() || !head.IsRedirect(), "a redirect is no success");
    for (const std::string& text : {head.Text(), head.Refusal()}) {
      Promise(
          std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }),
          "what is told fits one log line");
    }
  }
  return 0;
}
