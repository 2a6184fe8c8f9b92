// The whole input is what a server sends as the listing of a folder.
#include <algorithm>

#include "core/outside_name.h"
#include "core/text.h"
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
  const std::string version = ftpsources::PickTscVersion(listing.Joined());
  const auto is_package = [&](const std::string& name) {
    return name.size() == 12 && name.substr(3, 5) == version &&
           core::EqualsIgnoringCase(name.substr(9), "zip");
  };
  test::Promise(version.empty() || std::any_of(listing.Names().begin(), listing.Names().end(), is_package),
                "a version is that of a listed package");
  return 0;
}
