#include "app/program.h"

#include "app/joints.h"
#include "core/activity_log.h"
#include "core/app_paths.h"
#include "core/file_helpers.h"
#include "core/ini_store.h"
#include "core/process_services.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/runtime.h"
#include "core/secret.h"
#include "core/settings.h"
#include "core/starting_operations.h"
#include "core/startup.h"
#include "core/watchdog.h"
#include "ftpsources/cpr_pattern.h"
#include "ftpsources/intelligent_ftp.h"
#include "ftpsources/pattern_cleanup.h"
#include "ftpsources/trojan_system_cleaner.h"
#include "index/engines_reduce.h"
#include "index/index_readers.h"
#include "index/index_writer.h"
#include "index/products.h"
#include "index/scan_engines.h"
#include "index/service_fetch.h"
#include "index/update_session.h"
#include "notify/mail_queue.h"
#include "notify/virus_list.h"
#include "patterns/auxiliary_patterns.h"
#include "patterns/housekeeping.h"
#include "patterns/incremental_build.h"
#include "patterns/increments.h"
#include "patterns/patch_job.h"
#include "patterns/pattern_store.h"
#include "patterns/reduced_download.h"
#include "platform/instance_lock.h"
#include "platform/native.h"
#include "platform/runtime_error.h"
#include "transfer/curl_ftp_session.h"
#include "transfer/curl_http_get.h"
#include "transfer/curl_internet_file.h"
#include "transfer/http_download.h"
#include "transfer/zip.h"

namespace vlmr::app {

/// Every object of the program, lowest floor first. The joints come before what they are handed to and are
/// closed, by `Join`, when both sides exist.
struct Program::Parts {
  explicit Parts(const platform::Executable& executable)
      : lock(platform::MakeInstanceLock(executable)),
        paths(executable.folder, platform::ProgramName(executable.file_name)),
        files(platform::MakeFileSystem(executable.folder)),
        processes(platform::MakeProcessRunner(executable.folder)),
        internet_file(runtime, *loop),
        http_get(runtime, *loop, *form),
        ftp(runtime, *loop, system->ComputerName()) {
    Join();
  }

  // platform
  std::unique_ptr<platform::InstanceLock> lock;
  core::AppPaths paths;
  std::unique_ptr<platform::FileSystem> files;
  std::unique_ptr<platform::ProcessRunner> processes;
  std::unique_ptr<platform::EventLoop> loop = platform::MakeEventLoop();
  std::unique_ptr<platform::Clock> clock = platform::MakeClock();
  std::unique_ptr<platform::SystemInfo> system = platform::MakeSystemInfo();
  std::unique_ptr<platform::Form> form = platform::MakeForm();

  // core
  core::IniStore ini{*files, *loop, *clock};
  core::SecretCipher cipher{paths, *files};
  core::Settings settings{paths, ini, cipher};
  core::RunState state;
  core::PseudoRandom random;
  core::ActivityLog log{paths, *files, *clock, ini, settings, state, *form, random};
  core::Runtime runtime{paths, *files, *clock, ini, settings, state, log};
  Joints joints;
  core::FileHelpers helpers{runtime, *loop, *processes, *system, joints.notifier};
  core::ProcessServices services{runtime, *system};

  // transfer
  transfer::CurlInternetFile internet_file;
  transfer::CurlHttpGet http_get;
  transfer::HttpDownload download{runtime, *loop, *form, internet_file, http_get};
  transfer::ZIP zip{runtime};
  transfer::CurlFtpClient ftp;

  // index, as far as the patterns need it
  index::IndexReaders readers{runtime};
  index::ServiceFetch fetch{runtime, download, helpers};

  // patterns
  patterns::PatternStore store{runtime, zip};
  patterns::Housekeeping housekeeping{runtime, fetch, joints.virus_list};
  patterns::PatchJob patch_job{runtime, helpers};
  patterns::Increments increments{runtime, readers, fetch, store};
  patterns::IncrementalBuild build{runtime, readers, fetch, zip, joints.notifier, store, patch_job};
  patterns::ReducedDownload reduced{runtime,         readers, fetch,     zip,
                                    joints.notifier, store,   patch_job, housekeeping};
  patterns::AuxiliaryPatterns auxiliary{runtime, fetch};

  // notify
  notify::VirusListReport virus_list{runtime, joints.whats_new};
  notify::MailQueue mails{runtime, random, virus_list, joints.facts};

  // index, the pass
  index::IndexWriter writer{runtime, readers, helpers, joints.archive};
  index::ScanEngines engines{runtime, fetch, mails};
  index::EnginesReduce reduced_engines{runtime, fetch, mails};
  index::Products products{runtime, fetch};
  index::UpdateSession update{
      runtime, {fetch, readers, writer, engines, reduced_engines, products}, mails, joints.pass_jobs};

  // ftpsources
  ftpsources::CprPattern cpr{runtime, helpers, ftp, zip, mails, joints.virus_list};
  ftpsources::TscPackage cleaner{runtime, helpers, ftp, zip, mails};
  ftpsources::IntelligentFtp intelligent{runtime, ftp, zip, mails, joints.held_pattern};
  ftpsources::PatternCleanup cleanup{runtime, joints.held_pattern};

  // the run
  core::Watchdog watchdog{runtime, *loop, *processes, joints.run_jobs};
  core::Operations operations{runtime, services, helpers, *loop, *processes, watchdog, joints.run_jobs};
  core::Startup startup{runtime, services, *processes, *lock, *form, mails, joints.start};

 private:
  void Join();
};

void Program::Parts::Join() {
  joints.notifier.mails = &mails;
  joints.virus_list.report = &virus_list;
  joints.whats_new.housekeeping = &housekeeping;
  joints.facts = {&runtime, &store, &helpers};
  joints.archive.store = &store;
  joints.held_pattern.store = &store;
  joints.pass_jobs = {&reduced, &increments, &build, &housekeeping, &virus_list, &auxiliary};
  joints.run_jobs = {&cleaner, &update, &intelligent, &cpr, &cleanup};
  joints.start = {&operations, &products, &watchdog};
  ini.OnFault([this](const std::string& file, const platform::RuntimeError& error) {
    log.ReportFault("IniStore: Error " + core::ErrorText(error) + " [" + file + "]");
  });
  settings.OnSecretFault([this](const std::string& text) { log.WriteLog(text); });
}

Program::Program(const platform::Executable& executable) : parts_(std::make_unique<Parts>(executable)) {}

Program::~Program() = default;

void Program::Run(const std::string& command_line) {
  parts_->loop->OnCloseRequest([this] {
    core::Form_Unload(parts_->runtime, /*cancel=*/0);
    throw platform::ProcessEnd{};
  });
  parts_->startup.Form_Load(command_line);
}

void Program::LogUnexpected(const std::string& what) noexcept {
  try {
    parts_->log.WriteLog("Unexpected error, the run ends: " + what);
  } catch (...) {
    // There is nobody left to tell.
  }
}

}  // namespace vlmr::app
