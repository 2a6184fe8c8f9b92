// Each line is a line of a server's reply.
#include "fuzz/fuzz_input.h"
#include "transfer/ftp_reply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vlmr::test::FuzzInput input(data, size);
  vlmr::transfer::FtpReply reply;
  for (std::string line = input.Line(); !line.empty(); line = input.Line()) reply.TakeLine(line);
  return 0;
}
