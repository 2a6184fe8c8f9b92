#pragma once

#include <string>
#include <string_view>

namespace vlmr::transfer {

/// Joins a base address and a path of the index with exactly one "/" between them, whether or not the base
/// ends in one and the path begins with one. The result is what the log shows.
std::string JoinUrl(std::string_view base, std::string_view path);

/// The form sent on the wire: blanks, control and non-ASCII bytes percent-encoded (RFC 3986), all else as it
/// stands.
std::string EncodeUrl(std::string_view url);

}  // namespace vlmr::transfer
