#include "transfer/url.h"

#include <curl/curl.h>

#include <memory>

#include "core/number.h"
#include "core/text.h"

namespace vlmr::transfer {

namespace {

constexpr std::string_view kSchemeEnd = "://";
constexpr std::int16_t kHttpPort = 80;

struct UrlHandleCloser {
  void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlHandleCloser>;

/// One part of a URL; empty when it is absent.
std::string PartOf(CURLU* handle, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(handle, part, &text, 0) != CURLUE_OK) return {};
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
  return text;
}

HttpAddress Unusable(int fault) {
  HttpAddress address;
  address.fault = fault;
  return address;
}

/// Where the host and its port end.
std::size_t EndOfAuthority(std::string_view url) {
  return std::min(url.find_first_of("/?#", url.find(kSchemeEnd) + kSchemeEnd.size()), url.size());
}

}  // namespace

std::string JoinUrl(std::string_view base, std::string_view path) {
  while (base.ends_with('/') && !base.ends_with(kSchemeEnd)) base.remove_suffix(1);
  while (path.starts_with('/')) path.remove_prefix(1);
  return std::string(base).append("/").append(path);
}

std::string EncodeUrl(std::string_view url) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(url.size());
  for (const char c : url) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte < 0x7F) {
      encoded += c;
    } else {
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return encoded;
}

HttpAddress ParseHttpUrl(std::string_view url, std::int16_t default_port) {
  const std::string encoded = EncodeUrl(url);
  const std::size_t scheme_end = encoded.find(kSchemeEnd);
  // libcurl would look for a host behind more than two slashes, and so ask a server that nobody named.
  const std::size_t host = scheme_end + kSchemeEnd.size();
  if (scheme_end == std::string::npos || host >= encoded.size() || encoded[host] == '/') {
    return Unusable(CURLE_URL_MALFORMAT);
  }
  HttpAddress address;
  const std::string scheme = core::ToUpper(std::string_view(encoded).substr(0, scheme_end));
  address.secure = scheme == "HTTPS";
  if (!address.secure && scheme != "HTTP") return Unusable(CURLE_UNSUPPORTED_PROTOCOL);

  // libcurl judges the authority alone; the rest is sent as it stands, which its own parser would change.
  const std::size_t authority_end = EndOfAuthority(encoded);
  const UrlHandle handle(curl_url());
  if (handle == nullptr) return Unusable(CURLE_OUT_OF_MEMORY);
  if (curl_url_set(handle.get(), CURLUPART_URL, encoded.substr(0, authority_end).c_str(), 0) != CURLUE_OK) {
    return Unusable(CURLE_URL_MALFORMAT);
  }
  std::string port = PartOf(handle.get(), CURLUPART_PORT);
  const bool own_port = default_port == 0 || default_port == kHttpPort;
  if (port.empty() && !own_port) {
    port = core::IntegerText(default_port);
    if (curl_url_set(handle.get(), CURLUPART_PORT, port.c_str(), 0) != CURLUE_OK) {
      return Unusable(CURLE_URL_MALFORMAT);
    }
  }
  address.target = encoded.substr(authority_end);
  if (!address.target.starts_with('/')) address.target.insert(0, "/");
  std::string base = PartOf(handle.get(), CURLUPART_URL);
  if (base.ends_with('/')) base.pop_back();
  address.url = base + address.target;
  if (!address.secure) {
    const bool shows_port = !port.empty() && port != core::IntegerText(kHttpPort);
    address.proxy_target = "http://" + PartOf(handle.get(), CURLUPART_HOST) +
                           (shows_port ? ":" + port : std::string()) + address.target;
  }
  return address;
}

HttpAddress ParseRedirect(std::string_view location) {
  return ParseHttpUrl(location.substr(0, location.find('#')), 0);
}

}  // namespace vlmr::transfer
