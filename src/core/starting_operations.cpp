#include "core/starting_operations.h"

#include "core/dialup.h"

namespace vlmr::core {

using platform::WindowMode;

Operations::Operations(const Runtime& runtime, ProcessServices& services, FileHelpers& helpers,
                       platform::EventLoop& loop, platform::ProcessRunner& processes, Watchdog& watchdog,
                       Jobs& jobs)
    : runtime_(runtime),
      services_(services),
      helpers_(helpers),
      loop_(loop),
      processes_(processes),
      watchdog_(watchdog),
      jobs_(jobs),
      trap_([this](const platform::RuntimeError& error) {
        runtime_.Log("StartingOperations: Error " + ErrorText(error));
      }) {}

void Operations::StartingOperations() {
  runtime_.Log("StartingOperations: START");
  if (IsOn(Setting::kTscEnable)) {
    runtime_.Log("StartingOperations: TSC is enabled, Start TSC function");
    jobs_.TrojanSystemCleaner();
  } else {
    runtime_.Log("StartingOperations: TSC is disabled");
  }
  const platform::LocalTime run_start = runtime_.clock.Now();
  StartStatusPageWriter();
  runtime_.settings.SetSwitch(Setting::kCheckNow, false);

  if (IsTrue(Setting::kRasEnable) && !DIALUP(runtime_, loop_, processes_)) {
    return;
  }
  jobs_.StartActiveUpdate();
  if (IsOn(Setting::kEnableIntelligent)) {
    jobs_.StartIntelligentFTP();
  }
  StartStatusPageWriter();
  if (IsOn(Setting::kEnableCpr)) {
    jobs_.GET_CPR_PATTERN();
  }
  StartStatusPageWriter();
  if (IsTrue(Setting::kRasEnable)) {
    runtime_.settings.SetSwitch(Setting::kDialerDisconnect, true);
  }

  if (IsOn(Setting::kOfficeScanUpdateEnable)) {
    CheckOfficeScanClients();
  }
  StartStatusPageWriter();
  RunSharewell(/*wanted=*/false);  // no setting asks for this add-on yet
  StartStatusPageWriter();
  if (IsOn(Setting::kBackupByActions)) {
    runtime_.log.BackupLog(run_start);
  }
  runtime_.Log("StartingOperations: All operations executed, clean old Patterns");
  jobs_.KillPatternServer(runtime_.paths / R"(\ActiveUpdate\Pattern)");
  jobs_.KillPatternServer(runtime_.paths.PatternFolder());

  runtime_.Log("Loading: Launch " + runtime_.paths / R"(\QueueMailer.exe)", LogLevel::kDetailed);
  StartSibling("QueueMailer.exe", WindowMode::kHidden);
  if (services_.MyOSVersion() == "NT" && IsOn(Setting::kEnableCredential)) {
    services_.EndImpersonation();
  }
  runtime_.Log("StartingOperations: VLMR terminate...");
  runtime_.Log("StartingOperations: Enable Timer for Killing process");
  watchdog_.Enable();
  jobs_.EndProcess();
}

/// A switch whose text is no number is off, after its error line.
bool Operations::IsOn(Setting setting) const {
  return trap_.Test([&] { return runtime_.settings.IsOn(setting); });
}

bool Operations::IsTrue(Setting setting) const {
  return trap_.Test([&] { return runtime_.settings.IsTrue(setting); });
}

/// Whether the program is there and starts is its own affair: nobody is told.
void Operations::StartSibling(std::string_view name, WindowMode window) {
  processes_.Start(runtime_.paths.Folder() + "\\" + std::string(name), window);
}

void Operations::StartStatusPageWriter() {
  if (IsOn(Setting::kApacheEnable)) {
    StartSibling("PageScribe.exe", WindowMode::kNormal);
  }
}

void Operations::CheckOfficeScanClients() {
  const std::string client_audit = runtime_.paths / R"(\ClientAudit.exe)";
  runtime_.Log("StartActiveUpdate: Execute : " + client_audit);
  helpers_.WaitFor(client_audit);
  if (IsTrue(Setting::kEnableVirusNotifications)) {
    runtime_.Log("Launch Ledgerbook.exe addon...");
    helpers_.WaitFor(runtime_.paths / R"(\Ledgerbook.exe)");
  }
}

void Operations::RunSharewell(bool wanted) {
  if (wanted) {
    runtime_.Log("Launch Sharewell.exe addon...");
    helpers_.WaitFor(runtime_.paths / R"(\Sharewell.exe)");
  }
}

}  // namespace vlmr::core
