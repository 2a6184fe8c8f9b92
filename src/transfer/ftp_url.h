#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vlmr::transfer {

/// The two parts that a procedure takes out of an FTP address of the settings.
struct FtpUrl {
  std::string host;    ///< as it stands, a port included
  std::string folder;  ///< as it stands; empty = the folder of the log-in
};

/// Splits "ftp://host/folder": the host is what follows the first six characters up to the next "/", the
/// folder what follows that "/". Nothing else is taken apart; a shorter text gives two empty parts.
FtpUrl SplitFtpUrl(std::string_view url);

/// Where a control connection goes.
struct FtpAddress {
  std::string host;  ///< a name, an IPv4 address, or an IPv6 address in brackets
  int port = 21;     ///< 1..65535
};

/// Reads "host", "host:port" or "[ipv6]:port"; nothing for a text that is neither or holds a character that
/// no host has (so that an operator's slip never becomes another part of an address). A port that is empty
/// after ":" is 21.
std::optional<FtpAddress> ParseFtpAddress(std::string_view text);

/// The host and port part of a proxy text "ftp=ftp://name:port".
std::string_view ProxyAddress(std::string_view proxy_text);

/// The address of an entry in a folder as libcurl takes it (RFC 1738): every byte but letters, digits, "-",
/// "_", "." and the "/" of the folder is percent-encoded; libcurl decodes it again before it goes on the
/// wire.
std::string FtpUrlOf(const FtpAddress& address, std::string_view folder, std::string_view name);

}  // namespace vlmr::transfer
