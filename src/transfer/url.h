#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vlmr::transfer {

/// Joins a base address and a path of the index with exactly one "/" between them, whether or not the base
/// ends in one and the path begins with one. The result is what the log shows.
std::string JoinUrl(std::string_view base, std::string_view path);

/// The form sent on the wire: blanks, control and non-ASCII bytes percent-encoded (RFC 3986), all else as it
/// stands.
std::string EncodeUrl(std::string_view url);

/// An http or https URL, ready for a request.
struct HttpAddress {
  std::string url;     ///< what to connect to, with its port unless that is the scheme's own
  std::string target;  ///< path, query and fragment, exactly as they are sent in the request line
  /// The request line's target when a proxy is asked: the absolute URL without a user, with its port unless
  /// that is 80. Empty for https, where a proxy only makes a tunnel.
  std::string proxy_target;
  bool secure = false;  ///< https
  int fault = 0;        ///< 0, or libcurl's number for a URL that cannot be requested; the rest is then empty
};

/// Takes a URL apart. An explicit port wins, else `default_port` counts (0 and, for https, 80 mean the
/// scheme's own). Only http and https are accepted, with a host directly behind "://". Raises nothing.
HttpAddress ParseHttpUrl(std::string_view url, std::int16_t default_port);

/// The address that a redirect leads to: a URL without a port means its scheme's own, a fragment is for the
/// reader of a page and is not sent.
HttpAddress ParseRedirect(std::string_view location);

}  // namespace vlmr::transfer
