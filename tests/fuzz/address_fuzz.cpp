// The whole input is an address: that of a redirect, of a setting, of an FTP server.
#include <algorithm>

#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "transfer/ftp_url.h"
#include "transfer/url.h"

namespace {

using namespace vlmr::transfer;
using vlmr::test::Promise;

/// Whether nothing in a text could end a line of a request, or a word in it.
bool IsOneWord(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) > ' '; });
}

/// The same, and fit for any reader: a host may be written in another script, nothing else may.
bool IsPlainWord(const std::string& text) {
  return IsOneWord(text) && std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

void CheckHttp(const HttpAddress& address) {
  if (address.fault != 0) {
    Promise(address.url.empty() && address.target.empty() && address.proxy_target.empty(),
            "what cannot be requested is empty");
    return;
  }
  Promise(address.url.starts_with(address.secure ? "https://" : "http://"), "only web schemes are requested");
  Promise(address.target.starts_with('/') && address.url.ends_with(address.target), "a target is a path");
  Promise(IsOneWord(address.url) && IsPlainWord(address.target) && IsOneWord(address.proxy_target),
          "an address is one word of a request");
  Promise(address.secure == address.proxy_target.empty(), "a proxy only makes a tunnel for https");
}

void CheckFtp(const std::string& text) {
  const auto address = ParseFtpAddress(text);
  if (!address) return;
  Promise(address->port >= 1 && address->port <= 65535, "a port is one");
  Promise(IsOneWord(address->host) && address->host.find_first_of("/@?#\\") == std::string::npos,
          "a host is nothing else");
  const std::string url = FtpUrlOf(*address, text, text);
  Promise(IsOneWord(url) && url.find_first_of("?#;@", 6) == std::string::npos, "names are encoded");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = vlmr::test::FuzzInput(data, size).Rest();
  const std::string encoded = EncodeUrl(text);
  Promise(IsPlainWord(encoded) && EncodeUrl(encoded) == encoded, "what is encoded stays as it is");
  CheckHttp(ParseHttpUrl(text, 0));
  CheckHttp(ParseHttpUrl(text, 8080));
  const HttpAddress redirect = ParseRedirect(text);
  CheckHttp(redirect);
  Promise(redirect.url.find('#') == std::string::npos, "a fragment is not sent");
  const std::string joined = JoinUrl("http://host/folder/", text);
  Promise(joined.starts_with("http://host/folder/") && !joined.starts_with("http://host/folder//"),
          "a path stands below its base");
  CheckFtp(text);
  const FtpUrl parts = SplitFtpUrl(text);
  Promise(text.ends_with(parts.folder) && text.find(parts.host) != std::string::npos,
          "both parts are of the text");
  return 0;
}
