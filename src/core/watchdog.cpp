#include "core/watchdog.h"

#include <chrono>
#include <limits>

#include "core/number.h"

namespace vlmr::core {
namespace {

constexpr std::chrono::milliseconds kInterval{10000};
constexpr std::int16_t kPatientTicks = 5;

}  // namespace

Watchdog::Watchdog(const Runtime& runtime, platform::EventLoop& loop, platform::ProcessRunner& processes,
                   Needs& needs)
    : runtime_(runtime), loop_(loop), processes_(processes), needs_(needs) {}

Watchdog::~Watchdog() { Disable(); }

void Watchdog::Enable() {
  if (timer_ == 0) {
    timer_ = loop_.StartTimer(kInterval, [this] { Tick(); });
  }
}

void Watchdog::Disable() {
  if (timer_ != 0) {
    loop_.StopTimer(timer_);
    timer_ = 0;
  }
}

void Watchdog::Tick() {
  runtime_.Log("Timer Killer: Send Flag to shutdown...[" + IntegerText(counter_) + "]", LogLevel::kDetailed);
  needs_.EndProcess();
  needs_.EndProcess();
  // Still here.
  if (counter_ < std::numeric_limits<std::int16_t>::max()) {
    ++counter_;
  }
  if (counter_ > kPatientTicks) {
    runtime_.Log("Timer Killer: Launch KillPelgrun.exe");
    processes_.Start(runtime_.paths / R"(\KillPelgrun.exe)", platform::WindowMode::kHidden);
  }
}

void Form_Unload(const Runtime& runtime, std::int16_t cancel) {
  runtime.Log("Unloading: [" + IntegerText(cancel) + "] Terminate");
}

}  // namespace vlmr::core
