#pragma once

#include "core/file_helpers.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "core/starting_operations.h"
#include "core/startup.h"
#include "core/watchdog.h"
#include "ftpsources/cpr_pattern.h"
#include "ftpsources/held_pattern.h"
#include "ftpsources/intelligent_ftp.h"
#include "ftpsources/latest_ini.h"
#include "ftpsources/pattern_cleanup.h"
#include "ftpsources/trojan_system_cleaner.h"
#include "index/index_writer.h"
#include "index/products.h"
#include "index/update_session.h"
#include "notify/mail_queue.h"
#include "notify/virus_list.h"
#include "patterns/auxiliary_patterns.h"
#include "patterns/housekeeping.h"
#include "patterns/incremental_build.h"
#include "patterns/increments.h"
#include "patterns/pattern_store.h"
#include "patterns/reduced_download.h"
#include "platform/runtime_error.h"

namespace vlmr::app {

/// What each class needs from a floor that it cannot see, forwarded to the class that has it. A joint is made
/// open and closed with a pointer once both sides exist; nothing is called before that.

struct NotifierJoint final : core::Notifier {
  notify::MailQueue* mails = nullptr;
  void PrepareMail(core::MailSwitch event, const std::string& version) override {
    mails->PrepareMail(event, version);
  }
};

struct VirusListJoint final : patterns::Housekeeping::VirusListReader, ftpsources::CprPattern::VirusList {
  notify::VirusListReport* report = nullptr;
  std::string ReadVirusListFile(const std::string& path) override {
    return report->ReadVirusListFile(path).count;
  }
};

struct WhatsNewJoint final : notify::VirusListReport::WhatsNewSource {
  patterns::Housekeeping* housekeeping = nullptr;
  void DownloadWhatsNew() override { housekeeping->DownloadWhatsNew(); }
};

struct FactsJoint final : notify::NotificationText::Facts {
  FactsJoint() = default;
  FactsJoint(const core::Runtime* ground, patterns::PatternStore* patterns, core::FileHelpers* file_helpers)
      : runtime(ground), store(patterns), helpers(file_helpers) {}

  const core::Runtime* runtime = nullptr;
  patterns::PatternStore* store = nullptr;
  core::FileHelpers* helpers = nullptr;

  std::string PatternStored() override { return store->PatternStored(); }
  std::string CprVersion() override { return ftpsources::ReadCprVersion(runtime->ini, LatestIni()); }
  std::string CprBuild() override { return ftpsources::ReadCprBuild(runtime->ini, LatestIni()); }
  std::string ComputerName() override { return helpers->GetComputerNameText(); }

 private:
  std::string LatestIni() const { return runtime->paths / R"(\ActiveUpdate\CPR\latest.ini)"; }
};

struct ArchiveJoint final : index::IndexWriter::Needs {
  patterns::PatternStore* store = nullptr;
  void RefreshPatternFolder() override { store->RefreshPatternFolder(); }
};

struct HeldPatternJoint final : ftpsources::HeldPattern {
  patterns::PatternStore* store = nullptr;
  std::string PatternStored() override { return store->PatternStored(); }
};

struct PassJobsJoint final : index::UpdateSession::Jobs {
  PassJobsJoint() = default;
  PassJobsJoint(patterns::ReducedDownload* r, patterns::Increments* i, patterns::IncrementalBuild* b,
                patterns::Housekeeping* h, notify::VirusListReport* v, patterns::AuxiliaryPatterns* a)
      : reduced(r), increments(i), build(b), housekeeping(h), virus_list(v), auxiliary(a) {}

  patterns::ReducedDownload* reduced = nullptr;
  patterns::Increments* increments = nullptr;
  patterns::IncrementalBuild* build = nullptr;
  patterns::Housekeeping* housekeeping = nullptr;
  notify::VirusListReport* virus_list = nullptr;
  patterns::AuxiliaryPatterns* auxiliary = nullptr;

  void DownloadOnlyFirstPattern() override { reduced->DownloadOnlyFirstPattern(); }
  void GetAllIncrement() override { increments->GetAllIncrement(); }
  bool GetSingleIncrement() override { return increments->GetSingleIncrement(); }
  bool PatchVsapI() override { return build->PatchVsapI(); }
  void DownloadWhatsNew() override { housekeeping->DownloadWhatsNew(); }
  void DeleteOldIncrementFiles(const std::string& keep) override {
    housekeeping->DeleteOldIncrementFiles(keep);
  }
  void ReadPatternVirusList() override { virus_list->ReadPatternVirusList(); }
  bool GetAuxiliaryPattern(index::AuxiliaryPattern pattern) override {
    return auxiliary->GetPattern(pattern);
  }
};

struct RunJobsJoint final : core::Operations::Jobs, core::Watchdog::Needs {
  RunJobsJoint() = default;
  RunJobsJoint(ftpsources::TscPackage* t, index::UpdateSession* u, ftpsources::IntelligentFtp* i,
               ftpsources::CprPattern* c, ftpsources::PatternCleanup* k)
      : cleaner(t), update(u), intelligent(i), cpr(c), cleanup(k) {}

  ftpsources::TscPackage* cleaner = nullptr;
  index::UpdateSession* update = nullptr;
  ftpsources::IntelligentFtp* intelligent = nullptr;
  ftpsources::CprPattern* cpr = nullptr;
  ftpsources::PatternCleanup* cleanup = nullptr;

  void TrojanSystemCleaner() override { cleaner->TrojanSystemCleaner(); }
  void StartActiveUpdate() override { update->StartActiveUpdate(); }
  void StartIntelligentFTP() override { intelligent->StartIntelligentFTP(); }
  void GET_CPR_PATTERN() override { cpr->GET_CPR_PATTERN(); }
  void KillPatternServer(const std::string& folder) override { cleanup->KillPatternServer(folder); }
  void EndProcess() override { throw platform::ProcessEnd{}; }
};

struct StartJoint final : core::Startup::Needs {
  StartJoint() = default;
  StartJoint(core::Operations* o, index::Products* p, core::Watchdog* w)
      : operations(o), products(p), watchdog(w) {}

  core::Operations* operations = nullptr;
  index::Products* products = nullptr;
  core::Watchdog* watchdog = nullptr;

  void StartingOperations() override { operations->StartingOperations(); }
  void GetProducts() override { products->GetProducts(); }
  void GET_PRODUCTS_ByName() override { products->GET_PRODUCTS_ByName(); }
  void VerifyProductByIndex(std::int16_t number, const std::string& language) override {
    products->VerifyProductByIndex(number, language);
  }
  // `DownloadFiles` reads "ApiEnable" itself at each call, so nothing else has to know.
  void SetHttpApi(bool /*enabled*/) override {}
  void DisableTimer() override { watchdog->Disable(); }
};

/// All joints of the program.
struct Joints {
  NotifierJoint notifier;
  VirusListJoint virus_list;
  WhatsNewJoint whats_new;
  FactsJoint facts;
  ArchiveJoint archive;
  HeldPatternJoint held_pattern;
  PassJobsJoint pass_jobs;
  RunJobsJoint run_jobs;
  StartJoint start;
};

}  // namespace vlmr::app
