#include "patterns/reduced_download.h"

#include <compare>

#include "core/number.h"
#include "core/outside_name.h"
#include "core/text.h"
#include "patterns/pattern_paths.h"

namespace vlmr::patterns {
namespace {

core::ErrorTrap TrapOf(const core::Runtime& runtime, const std::string& procedure) {
  return core::ErrorTrap([&runtime, procedure](const platform::RuntimeError& error) {
    runtime.Log(procedure + ": Error " + core::ErrorText(error));
  });
}

void MakeFolderWhenMissing(const core::Runtime& runtime, const std::string& procedure,
                           const std::string& folder) {
  if (runtime.files.FindFolder(folder).empty()) {
    TrapOf(runtime, procedure)([&] { runtime.files.MakeFolders(folder); });
  }
}

}  // namespace

ReducedDownload::ReducedDownload(const core::Runtime& runtime, const index::IndexReaders& readers,
                                 const index::ServiceFetch& fetch, transfer::ZIP& zip,
                                 core::Notifier& notifier, PatternStore& store, PatchJob& job,
                                 Housekeeping& housekeeping)
    : runtime_(runtime),
      readers_(readers),
      fetch_(fetch),
      zip_(zip),
      notifier_(notifier),
      store_(store),
      job_(job),
      housekeeping_(housekeeping) {}

void ReducedDownload::DownloadOnlyFirstPattern() {
  runtime_.Log("DownloadOnlyFirstPattern: Starting....");
  runtime_.Log("DownloadOnlyFirstPattern: Try to test Server.ini file....");
  if (!TestServerIni()) {
    runtime_.Log("DownloadOnlyFirstPattern: TestingServerINI=False.. Exit");
    NotifyError("Unable to get server.ini file VLMR think the bandwith is broken");
    return;
  }
  const std::string web = readers_.GetDownloadedPatternVersion();
  if (web == "0" || !IsUsableVersion(runtime_, "DownloadOnlyFirstPattern", web)) {
    runtime_.Log("DownloadOnlyFirstPattern: Server.ini file =Corrupted.. Exit");
    NotifyError("Downloaded server.ini file is corrupted");
    return;
  }
  MendInterrupted();
  std::string stored = store_.GetLastStoredPatternExtension();
  if (stored.empty()) {
    stored = "0";
  }
  runtime_.Log("DownloadOnlyFirstPattern: ======================================");
  runtime_.Log("DownloadOnlyFirstPattern: Pattern Stored = [" + stored + "]");
  runtime_.Log("DownloadOnlyFirstPattern: Pattern on Web = [" + web + "]");
  runtime_.Log("DownloadOnlyFirstPattern: ======================================");
  if (std::is_gteq(core::CompareAsText(stored, web))) {
    runtime_.Log("DownloadOnlyFirstPattern: No new Pattern need.. Aborting");
    return;
  }
  runtime_.Log("DownloadOnlyFirstPattern: new Pattern need version [" + web + "]");
  const core::ErrorTrap trap = TrapOf(runtime_, "DownloadOnlyFirstPattern");
  trap([&] { runtime_.files.Replace(PendingMark(), web); });
  if (Refresh(stored, web)) trap([&] { runtime_.files.Delete(PendingMark()); });
}

bool ReducedDownload::Refresh(const std::string& stored, const std::string& web) {
  if (BuildFromIncrement(stored, web)) return FinishWith(web, "Increment");
  runtime_.Log("DownloadOnlyFirstPattern: Try to get BigVsapi");
  if (!GET_BIG_VSAPI()) {
    runtime_.Log("DownloadOnlyFirstPattern: Unable to Get Big VSAPI");
    NotifyError("Unable to Get Big VSAPI");
    return true;
  }
  return FinishWith(web, "Big VSAPI");
}

void ReducedDownload::MendInterrupted() {
  if (runtime_.files.FindFile(PendingMark()).empty()) return;
  TrapOf(runtime_, "DownloadOnlyFirstPattern")([&] {
    const std::string version = runtime_.files.ReadAll(PendingMark());
    if (IsUsableVersion(runtime_, "DownloadOnlyFirstPattern", version)) {
      const std::string made = core::FileIn(runtime_.paths.PatternFolder(), PatternName(version));
      if (!runtime_.files.FindFile(made).empty()) runtime_.files.Delete(made);
      // Held still, so it stands in the archive that clients get.
      if (store_.GetLastStoredPatternExtension() == version && !FinishWith(version, MethodOf(version)))
        return;
    }
    runtime_.files.Delete(PendingMark());
  });
}

/// The full archive is unpacked into a folder of its own, an increment is not.
std::string ReducedDownload::MethodOf(const std::string& version) const {
  const std::string unpacked = core::FileIn(runtime_.paths / R"(\ActiveUpdate\Source)", PatternName(version));
  return runtime_.files.FindFile(unpacked).empty() ? "Increment" : "Big VSAPI";
}

std::string ReducedDownload::PendingMark() const { return runtime_.paths / R"(\Reduced.pending)"; }

bool ReducedDownload::TestServerIni() {
  const std::string fresh_index = runtime_.paths.FreshIndex();
  if (runtime_.files.FindFile(fresh_index).empty()) {
    fetch_.Fetch("server.ini", fresh_index);
  }
  return !runtime_.files.FindFile(fresh_index).empty();
}

bool ReducedDownload::BuildFromIncrement(const std::string& stored, const std::string& web) {
  runtime_.Log("DownloadOnlyFirstPattern: Find the new increment pattern");
  std::string url;
  TrapOf(runtime_, "DownloadOnlyFirstPattern")([&] { url = readers_.GetIncrementPathForVersion(stored); });
  runtime_.Log("DownloadOnlyFirstPattern: UrlIncrement=[" + url + "]");
  if (url.empty() || !GET_INCREMENT(url)) {
    runtime_.Log("DownloadOnlyFirstPattern: No increment found try [BigVsapi]");
    runtime_.Log("DownloadOnlyFirstPattern: Incerment=False");
    return false;
  }
  runtime_.Log("DownloadOnlyFirstPattern: Incerment=True");
  runtime_.Log("DownloadOnlyFirstPattern: FileIncrement=[" + fetch_.Staged(url) + "]");
  runtime_.Log("DownloadOnlyFirstPattern: Launch Patch Function");
  if (!job_.PatchIni(stored, web)) {
    runtime_.Log("DownloadOnlyFirstPattern: Incerment=False");
    NotifyError("Unable to Patch new pattern");
    return false;
  }
  runtime_.Log("DownloadOnlyFirstPattern: Incerment=True");
  const std::string folder = PublishedPatterns(runtime_.paths);
  runtime_.Log("DownloadOnlyFirstPattern: ZIP VSAPI" + folder + "\\" + PatternName(web) + " to " +
               runtime_.paths.StoredArchive());
  if (!zip_.ZipFiles(folder, kArchiveName, folder, PatternName(web))) {
    runtime_.Log("DownloadOnlyFirstPattern: Unable to ZIP VSAPI");
    NotifyError("Unable to ZIP Big VSAPI");
    return false;
  }
  store_.RefreshPatternFolder();
  return true;
}

bool ReducedDownload::FinishWith(const std::string& web, const std::string& method) {
  runtime_.Log("DownloadOnlyFirstPattern: Writing new server.ini file");
  const bool is_written =
      WriteMirrorIndex(web, PublishedPatterns(runtime_.paths) + R"(\VSAPI.ZIP)", "DownloadOnlyFirstPattern");
  housekeeping_.DownloadWhatsNew();
  notifier_.PrepareMail(core::MailSwitch::kPattern, web + " [Method=" + method + "]");
  return is_written;
}

bool ReducedDownload::WriteMirrorIndex(const std::string& version, const std::string& archive,
                                       const std::string& procedure) {
  return TrapOf(runtime_, procedure).Test([&] {
    const std::string size = core::IntegerText(runtime_.files.Length(archive));
    runtime_.Log(procedure + ": File size=" + size);
    const std::string index = runtime_.paths.StoredIndex();
    // Version and sizes belong together: clients see the old four values or the new ones.
    core::IniStore::Batch batch(runtime_.ini, index, core::IniStore::BatchKind::kAtEnd);
    runtime_.WriteIniValue("PATTERN", "Version", version, index);
    runtime_.WriteIniValue("PATTERN", "Path_Combine", "Pattern/vsapi.zip," + size, index);
    runtime_.WriteIniValue("PATTERN", "Path_VSAPI", "Pattern/vsapi.zip," + size, index);
    runtime_.WriteIniValue("PATTERN", "MergeCount", "0", index);
    return batch.Finish();
  });
}

void ReducedDownload::NotifyError(const std::string& text) {
  notifier_.PrepareMail(core::MailSwitch::kError, text);
}

bool ReducedDownload::GET_INCREMENT(const std::string& url) {
  if (url.empty()) {
    runtime_.Log("GET_INCREMENT: The String <URL> sended was null: Abort the function");
    return false;
  }
  if (runtime_.settings.Text(core::Setting::kActiveUpdateMaster).empty()) {
    runtime_.Log("GET_INCREMENT: FirstUrl=NULL ..abort");
    return false;
  }
  const std::string folder = StagedPatterns(runtime_.paths);
  if (runtime_.files.FindFolder(folder).empty()) {
    runtime_.Log("GET_INCREMENT: Creating Pattern Folder");
    MakeFolderWhenMissing(runtime_, "GET_INCREMENT", folder);
  }
  runtime_.Log("GET_INCREMENT: Try To Download " + fetch_.AddressOf(url) + "=> " +
               runtime_.paths / R"(\ActiveUpdate\TempDownload\)" + url);
  return fetch_.Fetch(url);
}

bool ReducedDownload::GET_BIG_VSAPI() {
  const std::string version = runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.FreshIndex());
  const std::string value = runtime_.ReadIniValue("PATTERN", "Path_VSAPI", runtime_.paths.FreshIndex());
  runtime_.Log("GET_BIG_VSAPI: --------------------------------------------");
  std::string path;
  TrapOf(runtime_, "GET_BIG_VSAPI")([&] { path = core::SplitPathAndSize(value).path; });
  MakeFolderWhenMissing(runtime_, "GET_BIG_VSAPI", runtime_.paths.PatternFolder());
  runtime_.Log("GET_BIG_VSAPI: GETFirstUrl=" + fetch_.AddressOf(path));
  const std::string staged = fetch_.Staged(path);
  if (!fetch_.Fetch(path)) {
    runtime_.Log("GET_BIG_VSAPI: Unable to get Path_VSAPI file");
    return false;
  }
  const std::string source = runtime_.paths / R"(\ActiveUpdate\Source)";
  runtime_.Log("GET_BIG_VSAPI: Unzip " + staged + " to " + source);
  const bool is_unzipped = zip_.DezipFiles(staged, source, "", "");
  runtime_.Log(is_unzipped ? "GET_BIG_VSAPI: Unzip Latest Pattern =True"
                           : "GET_BIG_VSAPI: Unzip Latest Pattern =False !!");
  const std::string published = fetch_.Mirrored(path);
  fetch_.Publish(path);
  WriteMirrorIndex(version, published, "GET_BIG_VSAPI");
  const bool is_moved = runtime_.files.FindFile(staged).empty();
  if (is_moved && core::EqualsIgnoringCase(published, runtime_.paths.StoredArchive())) {
    store_.RefreshPatternFolder();
  }
  return true;
}

}  // namespace vlmr::patterns
