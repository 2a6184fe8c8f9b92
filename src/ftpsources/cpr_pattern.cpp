#include "ftpsources/cpr_pattern.h"

#include <compare>

#include "core/number.h"
#include "core/outside_name.h"
#include "core/text.h"
#include "core/version.h"
#include "transfer/ftp_fetch.h"
#include "transfer/ftp_opening.h"

namespace vlmr::ftpsources {

namespace {

using core::MailSwitch;
using core::Setting;

constexpr transfer::FtpCaller kCaller{
    .name = "GET_CPR_PATTERN",
    .url = Setting::kCprUrl,
    .passive = Setting::kPassive,
    .reports_active_mode = true,
    .uses_proxy = true,
    .login = transfer::FtpCaller::Login{.user = Setting::kCprUsername, .password = Setting::kCprPassword},
    .reads = "files",
};

constexpr std::string_view kScratch = R"(\CPR_Temp)";
constexpr std::string_view kPublished = R"(\ActiveUpdate\CPR)";

std::string In(const core::AppPaths& paths, std::string_view folder, std::string_view name) {
  return paths / folder + "\\" + std::string(name);
}

}  // namespace

CprPattern::CprPattern(const core::Runtime& runtime, core::FileHelpers& helpers, transfer::FtpClient& client,
                       transfer::ZIP& zip, core::Notifier& notifier, VirusList& virus_list)
    : runtime_(runtime),
      helpers_(helpers),
      client_(client),
      zip_(zip),
      notifier_(notifier),
      virus_list_(virus_list),
      trap_([this](const auto& error) { runtime_.Log("GET_CPR_PATTERN: Error " + core::ErrorText(error)); }) {
}

void CprPattern::GET_CPR_PATTERN() {
  runtime_.Log("GET_CPR_PATTERN: Starting... " + core::VersionText());
  const transfer::FtpOpening opening = transfer::OpenFtp(runtime_, client_, kCaller, trap_);
  if (!opening.connected) return;
  if (opening.names.empty()) {
    runtime_.Log(
        "GET_CPR_PATTERN: Cannot list files, try to change the PASSIVE mode or verify the FTP address");
    return;
  }
  if (opening.names.find("latest.ini") == std::string::npos) {
    runtime_.Log("GET_CPR_PATTERN: Cannot Browse Latest.ini file, verify FTP address");
    return;
  }

  EmptyScratchFolder();
  const std::string fetched_index = In(runtime_.paths, kScratch, "latest.ini");
  runtime_.Log("GET_CPR_PATTERN: Get latest.ini");
  const transfer::FtpResult fetched = transfer::FetchByName(client_, "latest.ini", runtime_.paths / kScratch);
  if (!fetched.Ok()) {
    runtime_.Log(transfer::ErrorConnecting(kCaller.name, fetched));
    return;
  }
  LatestIni published = ReadPublished(fetched_index);
  if (!IsNewer(published)) {
    runtime_.Log("GET_CPR_PATTERN: No new Pattern found, End");
    DeleteCprTempFiles();
    return;
  }

  if (!FetchArchive(published)) return;
  const std::string virus_count = FetchVirusList();
  if (!TestArchive(published)) return;
  Publish(published);
  notifier_.PrepareMail(MailSwitch::kCpr, published.version + " Build " + published.build + " at " +
                                              published.pattern_created + " " + virus_count +
                                              " new viruses added");
  DeleteCprTempFiles();
}

void CprPattern::EmptyScratchFolder() {
  if (!runtime_.files.FindFolder(runtime_.paths / kScratch).empty()) {
    DeleteCprTempFiles();
    return;
  }
  runtime_.Log("GET_CPR_PATTERN: Creating CPR_Temp folder");
  trap_([&] { runtime_.files.MakeFolder(runtime_.paths / kScratch); });
}

LatestIni CprPattern::ReadPublished(const std::string& file) {
  LatestIni published;
  published.version = ReadCprVersion(runtime_.ini, file);
  published.build = ReadCprBuild(runtime_.ini, file);
  published.pattern_created =
      core::TrimBlanks(runtime_.ReadIniValue("LatestPattern", "PatternCreated", file));
  published.zip_created = core::TrimBlanks(runtime_.ReadIniValue("Zip", "ZipCreated", file));
  published.zip_file = runtime_.ReadIniValue("Zip", "ZipFile", file);
  return published;
}

bool CprPattern::IsNewer(const LatestIni& published) {
  const std::string stored_index = In(runtime_.paths, kPublished, "latest.ini");
  const std::string stored_version = ReadCprVersion(runtime_.ini, stored_index);
  const std::string stored_build = ReadCprBuild(runtime_.ini, stored_index);
  runtime_.Log("GET_CPR_PATTERN: -------------------------------");
  runtime_.Log("GET_CPR_PATTERN: Pattern created at " + published.pattern_created + " Zip created at " +
               published.zip_created);
  runtime_.Log("GET_CPR_PATTERN: DownloadedMasterVersion=" + published.version);
  runtime_.Log("GET_CPR_PATTERN: DownloadedMasterBuild=" + published.build);
  runtime_.Log("GET_CPR_PATTERN: StoredMasterVersion=" + stored_version);
  runtime_.Log("GET_CPR_PATTERN: StoredMasterBuild=" + stored_build);
  runtime_.Log("GET_CPR_PATTERN: -------------------------------");
  const auto versions = core::CompareAsText(published.version, stored_version);
  if (std::is_gt(versions)) {
    runtime_.Log("GET_CPR_PATTERN: Get the latest CPR pattern");
    return true;
  }
  if (std::is_eq(versions) && std::is_lt(core::CompareAsText(stored_build, published.build))) {
    runtime_.Log("GET_CPR_PATTERN: Get the latest CPR pattern for new Build");
    return true;
  }
  return false;
}

bool CprPattern::FetchArchive(const LatestIni& published) {
  const transfer::FtpResult fetched =
      transfer::FetchByName(client_, published.zip_file, runtime_.paths / kScratch);
  if (!fetched.Ok()) ReportError(transfer::ErrorConnecting(kCaller.name, fetched));
  return fetched.Ok();
}

std::string CprPattern::FetchVirusList() {
  const std::string whatsnew = In(runtime_.paths, kScratch, "whatsnew.txt");
  runtime_.Log("GET_CPR_PATTERN: Try to get whatsnew.txt");
  if (!transfer::FetchByName(client_, "whatsnew.txt", runtime_.paths / kScratch).Ok()) {
    runtime_.Log("GET_CPR_PATTERN: Unable to get WhatsNew.txt file.. continue processing");
  }
  // What an earlier run left counts when this one got none.
  std::string virus_count = virus_list_.ReadVirusListFile(whatsnew);
  runtime_.Log("GET_CPR_PATTERN: Found " + virus_count + " Viruses");
  return virus_count;
}

bool CprPattern::TestArchive(LatestIni& published) {
  runtime_.Log("GET_CPR_PATTERN: Testing the new pattern downloaded");
  const std::string archive = core::FileIn(runtime_.paths / kScratch, published.zip_file);
  const bool unpacked = zip_.DezipFiles(archive, runtime_.paths / R"(\Cpr_Temp)", "", "");
  const auto patterns = runtime_.files.List(In(runtime_.paths, kScratch, "lpt$vpn.*"));
  if (!unpacked || patterns.empty()) {
    ReportError("GET_CPR_PATTERN: Error the zip file is corrupted");
    DeleteCprTempFiles();
    return false;
  }
  const auto length = [&](const std::string& file) {
    return core::IntegerText(trap_.Value([&] { return runtime_.files.Length(file); }).value_or(0));
  };
  published.zip_size = length(archive);
  published.pattern_size = length(In(runtime_.paths, kScratch, patterns.front()));
  runtime_.Log("GET_CPR_PATTERN: ZipSize=" + published.zip_size);
  runtime_.Log("GET_CPR_PATTERN: Pattern Size=" + published.pattern_size);
  return true;
}

void CprPattern::Publish(const LatestIni& published) {
  runtime_.Log("GET_CPR_PATTERN: Creating New Latest.ini file and strucutre");
  const std::string folder = runtime_.paths / kPublished;
  if (runtime_.files.FindFolder(folder).empty()) trap_([&] { runtime_.files.MakeFolders(folder); });
  helpers_.DeplaceFile(core::FileIn(runtime_.paths / kScratch, published.zip_file),
                       core::FileIn(runtime_.paths / kPublished, published.zip_file));
  const std::string whatsnew = In(runtime_.paths, kScratch, "whatsnew.txt");
  if (!runtime_.files.FindFile(whatsnew).empty()) {
    helpers_.DeplaceFile(whatsnew, In(runtime_.paths, kPublished, "whatsnew.txt"));
  }
  WriteLatestIni(runtime_.ini, published, In(runtime_.paths, kPublished, "latest.ini"));
}

void CprPattern::ReportError(const std::string& line) {
  runtime_.Log(line);
  notifier_.PrepareMail(MailSwitch::kError, line);
}

void CprPattern::DeleteCprTempFiles() {
  const core::ErrorTrap trap(
      [&](const auto& error) { runtime_.Log("DeleteCprTempFiles: Error " + core::ErrorText(error)); });
  for (const std::string_view kind : {"*.ini", "*.zip", "lpt$vpn.*"}) {
    for (const std::string& name : runtime_.files.List(In(runtime_.paths, kScratch, kind))) {
      const std::string file = In(runtime_.paths, kScratch, name);
      runtime_.Log("DeleteCprTempFiles: Kill file : " + file);
      trap([&] { runtime_.files.Delete(file); });
    }
  }
}

}  // namespace vlmr::ftpsources
