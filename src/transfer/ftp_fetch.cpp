#include "transfer/ftp_fetch.h"

#include "core/outside_name.h"
#include "platform/runtime_error.h"
#include "transfer/printable.h"

namespace vlmr::transfer {

std::string RefusalOfName(std::string_view name) {
  const core::NameFault fault = core::CheckOutsideFileName(name);
  if (fault == core::NameFault::kNone) return {};
  constexpr std::size_t kLongestShown = 100;
  return "[" + PrintableLine(name.substr(0, kLongestShown)) + "] " + core::DescribeNameFault(fault);
}

FtpResult FetchByName(FtpClient& client, const std::string& name, const std::string& local_folder) {
  const std::string refusal = RefusalOfName(name);
  if (!refusal.empty()) return {platform::error_number::kInvalidCall, "Refused " + refusal};
  return client.Get(name, core::FileIn(local_folder, name));
}

}  // namespace vlmr::transfer
