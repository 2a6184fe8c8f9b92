#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/error_trap.h"
#include "core/runtime.h"
#include "core/settings_table.h"
#include "transfer/ftp_session.h"

namespace vlmr::transfer {

/// One user of the FTP client: its settings, and where its log differs from the others'.
struct FtpCaller {
  /// The settings of a log-in whose user and password the log shows in clear.
  struct Login {
    core::Setting user;
    core::Setting password;
  };

  std::string_view name;       ///< begins each line, before the colon
  core::Setting url;           ///< an address "ftp://host/folder"
  core::Setting passive;       ///< switch: the client opens the data connections
  bool reports_active_mode;    ///< whether the active mode has a line of its own
  bool uses_proxy;             ///< whether the gateway of "CprProxy" counts
  std::optional<Login> login;  ///< none: anonymous, and the log shows neither user nor password
  std::string_view reads;      ///< what the log says it reads: "files"
};

/// What an opening came to.
struct FtpOpening {
  bool connected = false;  ///< false: the log says why, and the caller ends
  FtpResult listing;       ///< how the listing of the folder ended; not logged
  std::string names;       ///< the names of the folder joined by ";"
};

/// The password of anonymous log-ins: an address, as servers ask for one (RFC 1635).
inline constexpr std::string_view kAnonymousPassword = "mirror@velmora.example";

/// Opens FTP for a caller, in the order and the words that all callers share: mode, gateway, user and
/// password, server, connection, folder, listing. A switch that is no number goes to the caller's trap and is
/// off.
FtpOpening OpenFtp(const core::Runtime& runtime, FtpClient& client, const FtpCaller& caller,
                   const core::ErrorTrap& trap);

/// The line with which every caller reports a failed connection, get or put.
std::string ErrorConnecting(std::string_view caller, const FtpResult& result);

}  // namespace vlmr::transfer
