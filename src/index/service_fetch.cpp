#include "index/service_fetch.h"

#include "core/outside_name.h"
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

bool ServiceFetch::Fetch(const std::string& index_path) const {
  return Fetch(index_path, Staged(index_path));
}

bool ServiceFetch::FetchFrom(const std::string& base, const std::string& index_path,
                             std::string local_file) const {
  if (!IsUsable(index_path)) return false;
  return downloader_.DownloadFiles(transfer::kProtocolHttp, transfer::JoinUrl(base, index_path), local_file);
}

void ServiceFetch::Publish(const std::string& index_path) const {
  if (!IsUsable(index_path)) return;
  const std::string mirrored = Mirrored(index_path);
  try {
    runtime_.files.MakeFolders(std::string(platform::FolderOf(mirrored)));
  } catch (const platform::RuntimeError&) {
    // The move below fails then, and says so.
  }
  helpers_.DeplaceFile(Staged(index_path), mirrored);
}

std::string ServiceFetch::Staged(const std::string& index_path) const {
  return core::ShownBelow(runtime_.paths.StagingRoot(), index_path);
}

std::string ServiceFetch::Mirrored(const std::string& index_path) const {
  return core::ShownBelow(runtime_.paths.MirrorRoot(), index_path);
}

std::string ServiceFetch::AddressOf(const std::string& index_path) const {
  return transfer::JoinUrl(runtime_.settings.Text(core::Setting::kActiveUpdateMaster), index_path);
}

std::string ServiceFetch::FindMirrored(const std::string& index_path) const {
  if (core::CheckOutsidePath(index_path) != core::NameFault::kNone) return {};
  return runtime_.files.FindFile(Mirrored(index_path));
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
