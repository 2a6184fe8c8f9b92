// Each line is a line of a server's reply.
#include <algorithm>

#include "fuzz/fuzz_input.h"
#include "transfer/ftp_reply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vlmr::test::Promise;
  vlmr::test::FuzzInput input(data, size);
  vlmr::transfer::FtpReply reply;
  bool started = false;
  for (std::string line = input.Line(); !line.empty(); line = input.Line()) {
    reply.TakeLine(line);
    const std::string& words = reply.Words();
    Promise(words.size() <= vlmr::transfer::FtpReply::kLongestWords, "a reply is kept within its bound");
    Promise(
        std::none_of(words.begin(), words.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }),
        "the words fit one log line");
    Promise(reply.TransferStarted() || !started, "a transfer that was announced stays so");
    started = reply.TransferStarted();
  }
  return 0;
}
