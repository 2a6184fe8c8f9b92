#pragma once

#include <string>
#include <string_view>

#include "transfer/ftp_session.h"

namespace vlmr::transfer {

/// Why a name is no bare file name, with the name in brackets, in words for the log; empty when it is one.
std::string RefusalOfName(std::string_view name);

/// Fetches a file into a local folder under the name that it has on the server. The name comes from outside:
/// what is no bare file name is refused with number 5, before it becomes a request or a path.
FtpResult FetchByName(FtpClient& client, const std::string& name, const std::string& local_folder);

}  // namespace vlmr::transfer
