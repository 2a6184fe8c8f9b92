#include "ftpsources/pattern_cleanup.h"

#include <string_view>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"

namespace vlmr::ftpsources {

void PatternCleanup::KillPatternServer(const std::string& folder) {
  constexpr std::string_view kStem = "lpt$vpn.";
  const core::ErrorTrap trap([&](const auto& error) {
    runtime_.Log("KillPatternServer: Error [" + core::IntegerText(error.Number()) + "] [" +
                 error.Description() + "]");
  });
  runtime_.Log("KillPatternServer: Executed");
  runtime_.Log("Path to clean:[" + folder + "]");
  const std::string last = held_.PatternStored();
  runtime_.Log("KillPatternServer: Last Pattern [" + last + "]");
  const std::string below = folder + "\\";
  for (const std::string& name : runtime_.files.List(folder + R"(\lpt$vpn.*)")) {
    if (core::LastCharacters(name, 3) == last) continue;
    std::string shown = below;
    shown.append(kStem).append(name, kStem.size());
    runtime_.Log("KillPatternServer: Delete [" + shown + "]");
    trap([&] { runtime_.files.Delete(below + name); });
  }
}

}  // namespace vlmr::ftpsources
