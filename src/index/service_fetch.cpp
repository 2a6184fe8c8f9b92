#include "index/service_fetch.h"

#include "core/outside_name.h"
#include "core/text.h"
#include "platform/runtime_error.h"
#include "transfer/url.h"

namespace vlmr::index {

ServiceFetch::ServiceFetch(const core::Runtime& runtime, transfer::Downloader& downloader,
                           core::FileHelpers& helpers)
    : runtime_(runtime), downloader_(downloader), helpers_(helpers) {}

bool ServiceFetch::Fetch(const std::string& index_path, std::string local_file) const {
  return FetchFrom(runtime_.settings.Text(core::Setting::kActiveUpdateMaster), index_path,
                   std::move(local_file));
}

bool ServiceFetch::FetchFrom(const std::string& base, const std::string& index_path,
                             std::string local_file) const {
  if (!IsUsable(index_path)) return false;
  return downloader_.DownloadFiles(transfer::kProtocolHttp, transfer::JoinUrl(base, index_path), local_file);
}

void ServiceFetch::Publish(const std::string& staged_file, const std::string& mirror_file) const {
  try {
    runtime_.files.MakeFolders(std::string(platform::FolderOf(mirror_file)));
  } catch (const platform::RuntimeError&) {
    // The move below fails then, and says so.
  }
  helpers_.DeplaceFile(staged_file, mirror_file);
}

std::string ServiceFetch::AddressOf(const std::string& index_path) const {
  return transfer::JoinUrl(runtime_.settings.Text(core::Setting::kActiveUpdateMaster), index_path);
}

std::string ServiceFetch::FindMirrored(const std::string& index_path) const {
  if (core::CheckOutsidePath(index_path) != core::NameFault::kNone) return {};
  return runtime_.files.FindFile(runtime_.paths.MirrorRoot() + core::ToLocalPath(index_path));
}

bool ServiceFetch::IsUsable(const std::string& index_path) const {
  const core::NameFault fault = core::CheckOutsidePath(index_path);
  if (fault == core::NameFault::kNone) return true;
  if (fault != core::NameFault::kEmpty) {
    runtime_.Log("ServiceFetch: Refused path [" + index_path + "]: " + core::DescribeNameFault(fault));
  }
  return false;
}

}  // namespace vlmr::index
