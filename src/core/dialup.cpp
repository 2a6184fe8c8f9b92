#include "core/dialup.h"

#include <chrono>

#include "core/error_trap.h"

namespace vlmr::core {
namespace {

constexpr std::chrono::milliseconds kPollInterval{50};
constexpr int kConnected = 1;
constexpr int kDialling = 2;
constexpr int kFailed = 3;

/// What stands in "Connection" now; a text that is no number is any other value.
int Connection(const Runtime& runtime) {
  const ErrorTrap silent([](const platform::RuntimeError&) {});
  return silent.Value([&] { return runtime.settings.Int(Setting::kDialerConnection); }).value_or(0);
}

}  // namespace

bool DIALUP(const Runtime& runtime, platform::EventLoop& loop, platform::ProcessRunner& processes) {
  runtime.Log("DIALUP: Lauching Dialer.exe module");
  processes.Start(runtime.paths / R"(\Dialer.exe)", platform::WindowMode::kNormal);
  runtime.settings.Set(Setting::kDialerConnection, "2");
  runtime.settings.SetSwitch(Setting::kDialerDisconnect, false);
  int connection = Connection(runtime);
  while (connection == kDialling) {
    loop.Pump(kPollInterval);
    connection = Connection(runtime);
  }
  if (connection == kConnected) {
    runtime.Log("DIALUP:  Response from RAS module connected");
    return true;
  }
  if (connection == kFailed) {
    runtime.Log("DIALUP:  Response from RAS module error to connecting..");
  }
  return false;
}

}  // namespace vlmr::core
