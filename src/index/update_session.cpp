#include "index/update_session.h"

#include <array>

#include "core/number.h"
#include "core/outside_name.h"
#include "core/version.h"

namespace vlmr::index {
namespace {

using core::Setting;

const std::string kIndexName = "server.ini";

/// The auxiliary patterns in the order of a pass, each with its switch and its mail.
struct AuxiliaryRow {
  Setting setting;
  AuxiliaryPattern pattern;
  core::MailSwitch mail;
};
constexpr std::array<AuxiliaryRow, 4> kAuxiliaryPatterns{{
    {Setting::kOpp, AuxiliaryPattern::kOpp, core::MailSwitch::kOpp},
    {Setting::kMpp, AuxiliaryPattern::kMpp, core::MailSwitch::kMpp},
    {Setting::kSpam, AuxiliaryPattern::kSpam, core::MailSwitch::kSpam},
    {Setting::kAlerts, AuxiliaryPattern::kRedAlert, core::MailSwitch::kRedAlert},
}};

}  // namespace

UpdateSession::UpdateSession(const core::Runtime& runtime, const Parts& parts, core::Notifier& notifier,
                             Jobs& jobs)
    : runtime_(runtime),
      parts_(parts),
      notifier_(notifier),
      jobs_(jobs),
      trap_([this](const platform::RuntimeError& error) {
        runtime_.Log("StartActiveUpdate: Error " + core::ErrorText(error));
      }) {}

void UpdateSession::StartActiveUpdate() {
  LogProgramVersion();
  CheckFolderTrees();
  DeleteMailFile();
  if (!IsEnabled()) {
    runtime_.Log("StartActiveUpdate:This function is disabled, Aborting...");
    return;
  }
  if (!FetchIndex()) {
    runtime_.Log("StartActiveUpdate: End with errors");
    return;
  }
  if (RunReducedModes()) {
    runtime_.Log("StartActiveUpdate: Reduce Products was activate, Terminating now the internet requests");
    return;
  }

  parts_.products.GET_PRODUCTS_ByName();
  runtime_.Log("StartActiveUpdate: Start Check Pattern updates");
  const Versions versions = ReadVersions();
  if (IsPatternNeeded(versions)) {
    RefreshPattern();
    PublishPattern();
  }
  jobs_.DeleteOldIncrementFiles(versions.fresh);
  NoteNewPattern(versions);

  MirrorEnginesAndProducts();
  MirrorAuxiliaryPatterns();
  QueueMails();
}

void UpdateSession::LogProgramVersion() const {
  runtime_.Log("StartActiveUpdate: Version " + runtime_.paths.Program() + " " + core::VersionText());
}

void UpdateSession::CheckFolderTrees() const {
  trap_([&] { core::TestingFolder(runtime_, core::FolderTree::kPublished); });
  trap_([&] { core::TestingFolder(runtime_, core::FolderTree::kStaging); });
}

void UpdateSession::DeleteMailFile() const {
  const std::string mail_file = runtime_.paths / R"(\mail.ini)";
  if (runtime_.files.FindFile(mail_file).empty()) return;
  runtime_.Log("StartActiveUpdate: Delete " + mail_file);
  trap_([&] { runtime_.files.Delete(mail_file); });
}

bool UpdateSession::IsEnabled() const {
  return trap_.Test([&] { return runtime_.settings.Int(Setting::kEnableActiveUpdate) != 0; });
}

bool UpdateSession::FetchIndex() const {
  runtime_.Log("StartActiveUpdate: Start");
  runtime_.Log("StartActiveUpdate: Download update file: server.ini");
  runtime_.Log("StartActiveUpdate: Get " + parts_.fetch.AddressOf(kIndexName));
  runtime_.Log("StartActiveUpdate: Save:  " + runtime_.paths.FreshIndex());
  return parts_.fetch.Fetch(kIndexName, runtime_.paths.FreshIndex());
}

/// True when a mode was on, which ends the pass. The first one fetches the first pattern for all.
bool UpdateSession::RunReducedModes() {
  bool done = RunServerProtectMode(/*reduced_done=*/false);
  done = RunOfficeScanMode(done);
  return RunSmexMode(done);
}

bool UpdateSession::RunServerProtectMode(bool reduced_done) {
  if (!IsOn(Setting::kOnlySp)) return reduced_done;
  jobs_.DownloadOnlyFirstPattern();
  parts_.reduced_engines.GET_ENGINES_REDUCE_I386();
  parts_.reduced_engines.GET_ENGINES_REDUCE_NTKD();
  parts_.reduced_engines.GET_ENGINES_REDUCE_NW();
  parts_.products.GetServerProtectProducts();
  return true;
}

bool UpdateSession::RunOfficeScanMode(bool reduced_done) {
  if (!IsOn(Setting::kOfficeScanOnly)) {
    runtime_.Log("StartActiveUpdate: Reduce OfficeScan is Disabled");
    return reduced_done;
  }
  runtime_.Log("StartActiveUpdate: reduce OfficeScan is enabled start reduce function");
  if (!reduced_done) jobs_.DownloadOnlyFirstPattern();
  parts_.reduced_engines.GET_ENGINES_REDUCE();
  parts_.products.GET_PRODUCTS_ByName();
  if (IsOn(Setting::kReduceOfficeScanProducts)) {
    runtime_.Log(
        "StartActiveUpdate: reduce OfficeScan's products is enabled start GET_PRODUCTS_ByName function");
    parts_.products.GET_PRODUCTS_ByName();
  } else {
    runtime_.Log("StartActiveUpdate: reduce OfficeScan's products is Disabled");
  }
  return true;
}

bool UpdateSession::RunSmexMode(bool reduced_done) {
  if (!IsOn(Setting::kOnlySmex)) return reduced_done;
  if (!reduced_done) jobs_.DownloadOnlyFirstPattern();
  parts_.reduced_engines.GET_ENGINES_REDUCE_I386();
  parts_.products.GetSmexProducts();
  return true;
}

UpdateSession::Versions UpdateSession::ReadVersions() const {
  Versions versions;
  versions.stored = VersionOf(runtime_.paths.StoredIndex());
  versions.fresh = VersionOf(runtime_.paths.FreshIndex());
  runtime_.Log("StartActiveUpdate: Pattern Stored version= [" + versions.stored +
               "] Pattern version on ActiveUpdate=[" + versions.fresh + "]");
  return versions;
}

bool UpdateSession::IsPatternNeeded(const Versions& versions) const {
  if (IsGreater(versions.fresh, versions.stored)) return true;
  const std::string archive = runtime_.files.FindFile(runtime_.paths.StoredArchive());
  runtime_.Log("StartActiveUpdate: Tests Dir Local vsapi.zip=" + archive);
  return archive.empty();
}

void UpdateSession::RefreshPattern() {
  if (!BuildPattern()) FetchFullArchive();
}

/// From increments. The first branch needs a switch that was turned on since the reduced modes were asked.
bool UpdateSession::BuildPattern() {
  if (IsOn(Setting::kOfficeScanOnly)) {
    if (!jobs_.GetSingleIncrement()) return false;
    jobs_.PatchVsapI();
    return true;
  }
  runtime_.Log("StartActiveUpdate: Reduce Pattern is disabled, Get all increment Pattern");
  jobs_.GetAllIncrement();
  if (jobs_.PatchVsapI()) return true;
  runtime_.Log("StartActiveUpdate: PatchVsapi=FALSE !");
  return false;
}

void UpdateSession::FetchFullArchive() const {
  std::string path;
  trap_([&] { path = parts_.readers.GetCombinedPatternPath(); });
  // The doubled separator is made single by the download.
  const std::string local_file = core::ShownBelow(runtime_.paths.StagingRoot() + "\\", path);
  if (!parts_.fetch.Fetch(path, local_file)) {
    runtime_.Log("StartActiveUpdate: Error to download " + path);
  }
}

void UpdateSession::PublishPattern() {
  jobs_.DownloadWhatsNew();
  parts_.writer.CreatingNewPatternServerIni();
}

void UpdateSession::NoteNewPattern(const Versions& versions) {
  const std::string new_stored = VersionOf(runtime_.paths.StoredIndex());
  const bool installed = IsGreater(versions.fresh, versions.stored) &&
                         trap_.Test([&] { return core::CompareAsSingles(versions.fresh, new_stored) == 0; });
  if (!installed) return;
  jobs_.ReadPatternVirusList();
  runtime_.state.SetNewPatternFound(true);
  runtime_.state.SetNewPatternText(new_stored);
}

void UpdateSession::MirrorEnginesAndProducts() {
  if (IsOn(Setting::kEngines)) parts_.engines.GetEngines();
  if (IsOn(Setting::kProducts)) parts_.products.GetProducts();
}

void UpdateSession::MirrorAuxiliaryPatterns() {
  for (const AuxiliaryRow& row : kAuxiliaryPatterns) {
    if (!IsOn(row.setting)) continue;
    const std::string source = runtime_.settings.Text(Setting::kActiveUpdateEps);
    if (!parts_.fetch.FetchFrom(source, kIndexName, runtime_.paths.FreshIndex())) continue;
    if (!trap_.Test([&] { return jobs_.GetAuxiliaryPattern(row.pattern); })) continue;
    trap_([&] { notifier_.PrepareMail(row.mail, parts_.readers.GetMirrorPatternVersion(row.pattern)); });
  }
}

void UpdateSession::QueueMails() {
  if (runtime_.state.NewPatternFound()) {
    notifier_.PrepareMail(core::MailSwitch::kPattern, runtime_.state.NewPatternText());
  }
  if (const std::string updates = runtime_.state.ProductUpdates(); !updates.empty()) {
    notifier_.PrepareMail(core::MailSwitch::kProducts, updates);
  }
}

bool UpdateSession::IsOn(Setting setting) const {
  return trap_.Test([&] { return runtime_.settings.IsOn(setting); });
}

bool UpdateSession::IsGreater(const std::string& version, const std::string& than) const {
  return trap_.Test([&] { return core::CompareAsSingles(version, than) > 0; });
}

/// Empty when the index holds no number.
std::string UpdateSession::VersionOf(const std::string& index) const {
  return trap_.Value([&] { return core::SingleText(parts_.readers.VerifLocalPatternVersion(index)); })
      .value_or("");
}

}  // namespace vlmr::index
