#pragma once

#include <cstdint>

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/process.h"

namespace vlmr::core {

/// The form's timer: every ten seconds, once a run has enabled it, it asks the process to end, and starts an
/// external killer when that has not helped for a minute.
class Watchdog {
 public:
  /// What the watchdog needs from the program.
  class Needs {
   public:
    virtual ~Needs() = default;
    /// Asks the process to end with code 0. May return when it cannot.
    virtual void EndProcess() = 0;
  };

  /// All references must outlive this object.
  Watchdog(const Runtime& runtime, platform::EventLoop& loop, platform::ProcessRunner& processes,
           Needs& needs);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  /// Starts the timer; the first tick comes ten seconds later. The count of ticks goes on where it stood.
  void Enable();
  /// Stops the timer.
  void Disable();
  /// What the timer does: asks twice for the end; from the sixth time on it also starts `\KillPelgrun.exe`.
  void Tick();

 private:
  const Runtime& runtime_;
  platform::EventLoop& loop_;
  platform::ProcessRunner& processes_;
  Needs& needs_;
  platform::EventLoop::TimerId timer_ = 0;
  std::int16_t counter_ = 0;
};

/// What remains to be done when the system asks the form to close: one log line with the cancel value.
void Form_Unload(const Runtime& runtime, std::int16_t cancel);

}  // namespace vlmr::core
