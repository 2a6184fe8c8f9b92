#include "notify/notification_text.h"

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"

namespace vlmr::notify {

std::string NotificationText::ReplaceNotifsTexte(const std::string& text) {
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    runtime_.Log("ReplaceNotifsTexte: Error: [" + core::IntegerText(error.Number()) + "] [" +
                 error.Description() + "]");
  });
  std::string cpr;
  std::string expanded = text;
  trap([&] { cpr = facts_.CprVersion() + "Build Number " + facts_.CprBuild(); });
  expanded = core::ReplaceAll(expanded, "%CRLF%", "\r\n");
  trap([&] { expanded = core::ReplaceAll(expanded, "%SERVER%", facts_.ComputerName()); });
  trap([&] { expanded = core::ReplaceAll(expanded, "%Pattern%", facts_.PatternStored()); });
  expanded = core::ReplaceAll(expanded, "%PatternCPR%", cpr);
  return core::ReplaceAll(expanded, "%Line%", "**********");
}

}  // namespace vlmr::notify
