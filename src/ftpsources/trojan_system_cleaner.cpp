#include "ftpsources/trojan_system_cleaner.h"

#include <compare>
#include <vector>

#include "core/number.h"
#include "core/outside_name.h"
#include "core/text.h"
#include "core/version.h"
#include "ftpsources/file_version.h"
#include "ftpsources/tableaux.h"
#include "transfer/ftp_fetch.h"
#include "transfer/ftp_opening.h"

namespace vlmr::ftpsources {

namespace {

using core::Setting;

constexpr transfer::FtpCaller kCaller{
    .name = "TrojanSystemCleaner",
    .url = Setting::kTscFtp,
    .passive = Setting::kPassive,
    .reports_active_mode = true,
    .uses_proxy = true,
    .login = std::nullopt,
    .reads = "files",
};

constexpr std::string_view kFolder = R"(\ActiveUpdate\TSC)";
constexpr std::string_view kProgram = R"(\ActiveUpdate\TSC\tsc.exe)";
constexpr std::string_view kStaging = R"(\TempDownload)";

bool IsPackage(std::string_view name) {
  constexpr std::size_t kLength = 12;
  return name.size() == kLength && core::EqualsIgnoringCase(core::LastCharacters(name, 3), "zip") &&
         !core::EqualsIgnoringCase(name, "sysclean.zip");
}

}  // namespace

std::string PickTscVersion(const std::string& listing) {
  std::vector<std::string> versions;
  for (const std::string& name : core::Split(listing, ';')) {
    if (IsPackage(name)) versions.push_back(name.substr(3, name.size() - 7));
  }
  SortTableau(versions);
  return versions.empty() ? std::string() : versions.front();
}

TscPackage::TscPackage(const core::Runtime& runtime, core::FileHelpers& helpers, transfer::FtpClient& client,
                       transfer::ZIP& zip, core::Notifier& notifier)
    : runtime_(runtime),
      helpers_(helpers),
      client_(client),
      zip_(zip),
      notifier_(notifier),
      trap_([this](const auto& error) {
        runtime_.Log("TrojanSystemCleaner: Error " + core::ErrorText(error));
      }) {}

void TscPackage::TrojanSystemCleaner() {
  runtime_.Log("TrojanSystemCleaner version 1.0 [" + core::VersionText() + "]===");
  runtime_.Log("TrojanSystemCleaner: New Feature created on 2003.02.21");
  helpers_.CreateFolderPath(runtime_.paths / kFolder);
  helpers_.CreateFolderPath(runtime_.paths / kStaging);
  if (runtime_.files.FindFile(runtime_.paths / kProgram).empty()) {
    runtime_.settings.Set(Setting::kTscPatternBuild, "0");
  }
  const transfer::FtpOpening opening = transfer::OpenFtp(runtime_, client_, kCaller, trap_);
  if (!opening.connected) return;
  if (opening.names.empty()) {
    runtime_.Log(
        "TrojanSystemCleaner: Cannot list files, try to change the PASSIVE mode or verify the FTP address");
    return;
  }

  runtime_.Log("TrojanSystemCleaner: Find " + opening.names);
  const std::string internet_version = PickTscVersion(opening.names);
  const std::string stored_version = runtime_.settings.Text(Setting::kTscPatternBuild);
  runtime_.Log("TrojanSystemCleaner: =======================");
  runtime_.Log("TrojanSystemCleaner: Stored version: [" + stored_version + "]");
  runtime_.Log("TrojanSystemCleaner: Internet version: [" + internet_version + "]");
  runtime_.Log("TrojanSystemCleaner: =======================");
  if (std::is_gteq(core::CompareAsText(stored_version, internet_version))) {
    runtime_.Log("TrojanSystemCleaner: No New version found stay in [" + stored_version + "]");
    return;
  }

  const std::string archive_name = "tsc" + internet_version + ".zip";
  runtime_.Log("TrojanSystemCleaner: New version found [" + internet_version + "]");
  runtime_.Log("TrojanSystemCleaner: Download [" + archive_name + "] to [" + runtime_.paths / kStaging + "]");
  if (Install(archive_name)) Record(internet_version);
}

bool TscPackage::Install(const std::string& archive_name) {
  // The old package stays until the new one is there or has failed, so that the network has one while it is
  // fetched, and after a run that is killed meanwhile.
  const Contents old = LookAtPublished();
  const transfer::FtpResult fetched = transfer::FetchByName(client_, archive_name, runtime_.paths / kStaging);
  if (!fetched.Ok()) {
    DeleteUnchanged(old);
    runtime_.Log(transfer::ErrorConnecting(kCaller.name, fetched));
    return false;
  }
  const std::string staged = core::FileIn(runtime_.paths / kStaging, archive_name);
  const bool is_unpacked = zip_.DezipFiles(staged, runtime_.paths / kFolder, "", "");
  DeleteUnchanged(old);
  if (!is_unpacked) {
    runtime_.Log("TrojanSystemCleaner: unable to uncompress [" + archive_name + "]");
    return false;
  }
  helpers_.DeplaceFile(staged, runtime_.paths / R"(\ActiveUpdate\TSC\TSC.zip)");
  return true;
}

void TscPackage::Record(const std::string& version) {
  const std::string program_version = FileVersionOf(runtime_.files, runtime_.paths / kProgram);
  {
    core::IniStore::Batch batch(runtime_.ini, runtime_.settings.FileOf(Setting::kTscBuild),
                                core::IniStore::BatchKind::kAtEnd);
    runtime_.settings.Set(Setting::kTscBuild, program_version);
    runtime_.settings.Set(Setting::kTscPatternBuild, version);
    trap_([&] {
      const auto length = runtime_.files.Length(runtime_.paths / R"(\ActiveUpdate\TSC\tsc.ptn)");
      runtime_.settings.Set(Setting::kTscLen, core::IntegerText(length));
    });
  }
  notifier_.PrepareMail(core::MailSwitch::kTsc, program_version + " Pattern " + version);
}

TscPackage::Contents TscPackage::LookAtPublished() const {
  const std::string below = runtime_.paths / kFolder + "\\";
  Contents contents;
  for (const std::string& name : runtime_.files.List(below + "*")) {
    contents.emplace_back(below + name, runtime_.files.Stamp(below + name));
  }
  return contents;
}

void TscPackage::DeleteUnchanged(const Contents& contents) const {
  for (const auto& [path, stamp] : contents) {
    if (runtime_.files.Stamp(path) == stamp) trap_([this, &file = path] { runtime_.files.Delete(file); });
  }
}

}  // namespace vlmr::ftpsources
