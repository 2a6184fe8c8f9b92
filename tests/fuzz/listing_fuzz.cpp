// The whole input is what a server sends as the listing of a folder.
#include "core/outside_name.h"
#include "ftpsources/trojan_system_cleaner.h"
#include "fuzz/fuzz_input.h"
#include "transfer/ftp_listing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlmr;
  const transfer::FtpListing listing(test::FuzzInput(data, size).Rest());
  for (const std::string& name : listing.Names()) {
    test::Promise(core::CheckOutsideFileName(name) == core::NameFault::kNone,
                  "every name is a bare file name");
    test::Promise(listing.SpellingOf(name) == name, "a listed name is spelled as listed");
  }
  ftpsources::PickTscVersion(listing.Joined());
  return 0;
}
