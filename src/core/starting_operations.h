#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/file_helpers.h"
#include "core/process_services.h"
#include "core/runtime.h"
#include "core/settings_table.h"
#include "core/watchdog.h"
#include "platform/event_loop.h"
#include "platform/process.h"

namespace vlmr::core {

/// One complete unattended run: every enabled job in its fixed order.
class Operations {
 public:
  /// The jobs of a run that live on higher floors. Each reports its own errors; none raises.
  class Jobs {
   public:
    virtual ~Jobs() = default;
    virtual void TrojanSystemCleaner() = 0;
    virtual void StartActiveUpdate() = 0;
    virtual void StartIntelligentFTP() = 0;
    virtual void GET_CPR_PATTERN() = 0;
    /// Removes every pattern but the newest from a folder.
    virtual void KillPatternServer(const std::string& folder) = 0;
    /// Ends the process with code 0, at once.
    virtual void EndProcess() = 0;
  };

  /// All references must outlive this object.
  Operations(const Runtime& runtime, ProcessServices& services, FileHelpers& helpers,
             platform::EventLoop& loop, platform::ProcessRunner& processes, Watchdog& watchdog, Jobs& jobs);

  /// The run. Its last step ends the process; it returns when the line could not be dialled.
  void StartingOperations();

 private:
  bool IsOn(Setting setting) const;
  bool IsTrue(Setting setting) const;
  void StartSibling(std::string_view name, platform::WindowMode window);
  void StartStatusPageWriter();
  void CheckOfficeScanClients();
  void RunSharewell(bool wanted);

  const Runtime& runtime_;
  ProcessServices& services_;
  FileHelpers& helpers_;
  platform::EventLoop& loop_;
  platform::ProcessRunner& processes_;
  Watchdog& watchdog_;
  Jobs& jobs_;
  ErrorTrap trap_;
};

}  // namespace vlmr::core
