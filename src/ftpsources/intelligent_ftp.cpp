#include "ftpsources/intelligent_ftp.h"

#include <compare>
#include <string_view>
#include <vector>

#include "core/number.h"
#include "core/outside_name.h"
#include "core/text.h"
#include "core/version.h"
#include "transfer/ftp_fetch.h"
#include "transfer/ftp_opening.h"

namespace vlmr::ftpsources {

namespace {

using core::Setting;

constexpr transfer::FtpCaller kCaller{
    .name = "StartIntelligentFTP",
    .url = Setting::kIntelligentTarget,
    .passive = Setting::kIntelligentPassive,
    .reports_active_mode = false,
    .uses_proxy = false,
    .login = transfer::FtpCaller::Login{.user = Setting::kIntelligentUsername,
                                        .password = Setting::kIntelligentPassword},
    .reads = "Pattern files",
};

std::string PatternName(const std::string& version) { return "lpt$vpn." + version; }

}  // namespace

IntelligentFtp::IntelligentFtp(const core::Runtime& runtime, transfer::FtpClient& client, transfer::ZIP& zip,
                               core::Notifier& notifier, HeldPattern& held)
    : runtime_(runtime),
      client_(client),
      zip_(zip),
      notifier_(notifier),
      held_(held),
      trap_([this](const auto& error) {
        runtime_.Log("StartIntelligentFTP: Error " + core::ErrorText(error));
      }) {}

void IntelligentFtp::StartIntelligentFTP() {
  runtime_.Log("StartIntelligentFTP: Starting... " + core::VersionText());
  MendUnpublished();
  const transfer::FtpOpening opening = transfer::OpenFtp(runtime_, client_, kCaller, trap_);
  if (!opening.connected) return;
  if (!opening.listing.Ok()) {
    ReportFailure(opening.listing);
    return;
  }
  const std::string remote = GetLastPatternFromList(opening.names);
  const std::string local = held_.PatternStored();
  runtime_.Log("StartIntelligentFTP: Last Pattern version found on FTP folder= " + remote);
  const auto order = core::CompareAsText(remote, local);
  if (std::is_eq(order)) {
    runtime_.Log("StartIntelligentFTP: No new Pattern found..Aborting");
  } else if (std::is_lt(order)) {
    Upload(local);
  } else {
    Download(remote);
  }
}

void IntelligentFtp::Upload(const std::string& local) {
  runtime_.Log("StartIntelligentFTP: Try to put last pattern to remote folder");
  const std::string file = WorkingPattern(local);
  if (runtime_.files.FindFile(file).empty()) {
    runtime_.Log("StartIntelligentFTP: ERROR TO FIND " + file);
    return;
  }
  const transfer::FtpResult stored = client_.Put(file, PatternName(local));
  if (!stored.Ok()) ReportFailure(stored);
}

void IntelligentFtp::Download(const std::string& remote) {
  trap_([&] { runtime_.files.Replace(PendingMark(), remote); });
  if (FetchAndPublish(remote)) trap_([&] { runtime_.files.Delete(PendingMark()); });
}

void IntelligentFtp::MendUnpublished() {
  if (runtime_.files.FindFile(PendingMark()).empty()) return;
  trap_([&] {
    const std::string version = runtime_.files.ReadAll(PendingMark());
    if (core::CheckOutsideFileName(PatternName(version)) == core::NameFault::kNone) {
      if (!runtime_.files.FindFile(WorkingPattern(version)).empty()) {
        runtime_.files.Delete(WorkingPattern(version));
      }
      // Held still, so it stands in the archive that clients get.
      if (held_.PatternStored() == version && !WriteIndex(version)) return;
    }
    runtime_.files.Delete(PendingMark());
  });
}

bool IntelligentFtp::FetchAndPublish(const std::string& remote) {
  runtime_.Log("StartIntelligentFTP: Try to Get last pattern from remote folder");
  const transfer::FtpResult fetched =
      transfer::FetchByName(client_, PatternName(remote), runtime_.paths.PatternFolder());
  if (!fetched.Ok()) {
    ReportFailure(fetched);
    return true;
  }
  if (runtime_.files.FindFile(WorkingPattern(remote)).empty() || !Pack(remote)) return true;
  const bool is_written = WriteIndex(remote);
  notifier_.PrepareMail(core::MailSwitch::kPattern, "[Intelligent FTP Function]" + remote);
  return is_written;
}

bool IntelligentFtp::Pack(const std::string& remote) {
  const std::string archive = runtime_.paths.StoredArchive();
  runtime_.Log("StartIntelligentFTP: Zip " + WorkingPattern(remote) + " To " + archive);
  // The old archive goes in the step that puts the new one in its place, or when there is no new one: a run
  // that is killed here leaves the network an archive.
  if (zip_.ZipFiles(runtime_.paths / R"(\ActiveUpdate\Pattern)", "vsapi.zip", runtime_.paths.PatternFolder(),
                    PatternName(remote))) {
    return true;
  }
  runtime_.Log("StartIntelligentFTP: Error to compress");
  trap_([&] { runtime_.files.Delete(WorkingPattern(remote)); });
  return false;
}

bool IntelligentFtp::WriteIndex(const std::string& remote) {
  runtime_.Log("StartIntelligentFTP: Writing server.ini file");
  const std::string index = runtime_.paths.StoredIndex();
  const auto size = trap_.Value([&] { return runtime_.files.Length(runtime_.paths.StoredArchive()); });
  const std::string place = "Pattern/vsapi.zip," + core::IntegerText(size.value_or(0));
  // The network must never read the new version beside the size of the old archive.
  core::IniStore::Batch batch(runtime_.ini, index, core::IniStore::BatchKind::kAtEnd);
  runtime_.WriteIniValue("PATTERN", "Version", remote, index);
  runtime_.WriteIniValue("PATTERN", "Path_Combine", place, index);
  runtime_.WriteIniValue("PATTERN", "Path_VSAPI", place, index);
  runtime_.WriteIniValue("PATTERN", "MergeCount", "0", index);
  return batch.Finish();
}

std::string IntelligentFtp::PendingMark() const { return runtime_.paths / R"(\Exchange.pending)"; }

std::string IntelligentFtp::GetLastPatternFromList(const std::string& listing) {
  if (listing.empty()) {
    runtime_.Log("GetLastPatternFromList: Nothing is stored into the target server");
    return {};
  }
  constexpr std::string_view kStem = "LPT$VPN.";
  constexpr std::size_t kVersionLength = 3;
  const std::string upper = core::ToUpper(listing);
  std::vector<std::string> versions;
  for (auto at = upper.find(kStem); at != std::string::npos; at = upper.find(kStem, at + 1)) {
    const std::string version = upper.substr(at + kStem.size(), kVersionLength);
    if (version.size() == kVersionLength && version.find(';') == std::string::npos)
      versions.push_back(version);
  }
  runtime_.Log("GetLastPatternFromList: Found " +
               core::IntegerText(static_cast<std::int64_t>(versions.size())) + " Pattern Files");
  std::string last;
  for (const std::string& version : versions) {
    if (std::is_lteq(core::CompareAsText(version, last))) continue;
    last = version;
    runtime_.Log("GetLastPatternFromList: Found " + last + " Pattern version");
  }
  return last;
}

void IntelligentFtp::ReportFailure(const transfer::FtpResult& result) {
  runtime_.Log(transfer::ErrorConnecting(kCaller.name, result));
}

std::string IntelligentFtp::WorkingPattern(const std::string& version) const {
  return runtime_.paths.PatternFolder() + "\\" + PatternName(version);
}

}  // namespace vlmr::ftpsources
