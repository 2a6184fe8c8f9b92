#include "transfer/ftp_url.h"

#include <algorithm>
#include <charconv>

#include "core/number.h"

namespace vlmr::transfer {

namespace {

constexpr std::size_t kSchemeLength = 6;  // "ftp://"
constexpr std::string_view kProxyPrefix = "ftp=ftp://";

bool IsPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '.';
}

void AppendEncoded(std::string_view text, std::string& url) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char c : text) {
    if (IsPlain(c)) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url += '%';
      url += kDigits[byte >> 4];
      url += kDigits[byte & 15];
    }
  }
}

bool IsHost(std::string_view host) {
  if (host.starts_with('[')) {
    return host.size() > 3 && host.ends_with(']') &&
           host.substr(1, host.size() - 2).find_first_not_of("0123456789abcdefABCDEF:.") ==
               std::string_view::npos;
  }
  // Names in other scripts travel as UTF-8; whether they resolve is the library's matter.
  return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
    return IsPlain(c) || static_cast<unsigned char>(c) >= 0x80;
  });
}

}  // namespace

FtpUrl SplitFtpUrl(std::string_view url) {
  const std::string_view rest = url.substr(std::min(kSchemeLength, url.size()));
  const auto slash = rest.find('/');
  if (slash == std::string_view::npos) return {.host = std::string(rest), .folder = {}};
  return {.host = std::string(rest.substr(0, slash)), .folder = std::string(rest.substr(slash + 1))};
}

std::optional<FtpAddress> ParseFtpAddress(std::string_view text) {
  FtpAddress address;
  const auto bracket = text.starts_with('[') ? text.find(']') : 0;
  if (bracket == std::string_view::npos) return std::nullopt;
  const auto colon = text.find(':', bracket);
  address.host = text.substr(0, colon);
  if (!IsHost(address.host)) return std::nullopt;
  const std::string_view port = colon == std::string_view::npos ? "" : text.substr(colon + 1);
  if (port.empty()) return address;
  const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
  if (error != std::errc() || end != port.data() + port.size() || address.port < 1 || address.port > 65535) {
    return std::nullopt;
  }
  return address;
}

std::string_view ProxyAddress(std::string_view proxy_text) {
  return proxy_text.starts_with(kProxyPrefix) ? proxy_text.substr(kProxyPrefix.size()) : proxy_text;
}

std::string FtpUrlOf(const FtpAddress& address, std::string_view folder, std::string_view name) {
  std::string url = "ftp://" + address.host + ":" + core::IntegerText(address.port) + "/";
  // A slash at the end would become an empty component of its own; "/" alone is the root and stays.
  while (folder.size() > 1 && folder.ends_with('/')) folder.remove_suffix(1);
  for (std::size_t start = 0; !folder.empty();) {
    const auto slash = folder.find('/', start);
    AppendEncoded(folder.substr(start, slash - start), url);
    url += '/';
    if (slash == std::string_view::npos || slash + 1 == folder.size()) break;
    start = slash + 1;
  }
  AppendEncoded(name, url);
  return url;
}

}  // namespace vlmr::transfer
