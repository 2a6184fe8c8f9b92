#include "notify/mail_events.h"

#include <array>

namespace vlmr::notify {
namespace {

using core::MailSwitch;
using core::Setting;

constexpr std::string_view kEnginesOn =
    "PrepareMail: Notification for GET_ENABLE_ENGINE_NOTIF updates is enabled";
constexpr std::string_view kEnginesOff =
    "PrepareMail: Notification for GET_ENABLE_ENGINE_NOTIF updates is disabled";

constexpr std::array kMailEvents = {
    MailEvent{.event = MailSwitch::kTest,
              .gate = std::nullopt,
              .line_when_on = "PrepareMail: Create eMail for Test",
              .line_when_off = "",
              .subject = Setting::kSubjectPattern,
              .body = Setting::kBodyPattern,
              .contents = MailContents::kTestNotice,
              .with_pattern_list = true},
    MailEvent{.event = MailSwitch::kPattern,
              .gate = Setting::kNotificationEnable,
              .line_when_on = "PrepareMail: Notification for Pattern updates is enabled",
              .line_when_off = "PrepareMail: Notification for Pattern updates is disabled",
              .subject = Setting::kSubjectPattern,
              .body = Setting::kBodyPattern,
              .contents = MailContents::kVersion,
              .with_pattern_list = true},
    MailEvent{.event = MailSwitch::kScanEngine,
              .gate = Setting::kEnableEngineSend,
              .line_when_on = kEnginesOn,
              .line_when_off = kEnginesOff,
              .subject = Setting::kSubjectScanEngine,
              .body = Setting::kBodyScanEngine,
              .contents = MailContents::kVersion},
    MailEvent{.event = MailSwitch::kVirusList,
              .gate = Setting::kNotificationEnable,
              .line_when_on = "",
              .line_when_off = "",
              .subject = std::nullopt,
              .body = std::nullopt,
              .contents = MailContents::kVirusList},
    MailEvent{.event = MailSwitch::kOpp,
              .gate = Setting::kEnableOppSend,
              .line_when_on = "",
              .line_when_off = "",
              .subject = Setting::kSubjectOpp,
              .body = Setting::kBodyOpp,
              .contents = MailContents::kVersion},
    MailEvent{.event = MailSwitch::kScanEngineByCheck,
              .gate = Setting::kEnableEngineSend,
              .line_when_on = kEnginesOn,
              .line_when_off = kEnginesOff,
              .subject = Setting::kSubjectScanEngine,
              .body = Setting::kBodyScanEngine,
              .contents = MailContents::kVersion},
    MailEvent{.event = MailSwitch::kSpam,
              .gate = Setting::kEnableSpamSend,
              .line_when_on = "",
              .line_when_off = "",
              .subject = Setting::kSubjectSpam,
              .body = Setting::kBodySpam,
              .contents = MailContents::kVersion},
    MailEvent{.event = MailSwitch::kRedAlert,
              .gate = Setting::kEnableRedAlertSend,
              .line_when_on = "",
              .line_when_off = "",
              .subject = Setting::kSubjectRedAlerts,
              .body = Setting::kBodyRedAlerts,
              .contents = MailContents::kVersion},
    MailEvent{.event = MailSwitch::kProducts,
              .gate = Setting::kEnableProductsSend,
              .line_when_on = "PrepareMail: Notification for Products updates is enabled",
              .line_when_off = "PrepareMail: Notification for Products updates is disabled",
              .subject = Setting::kSubjectProducts,
              .body = Setting::kBodyProducts,
              .contents = MailContents::kProductReport},
    MailEvent{.event = MailSwitch::kError,
              .gate = Setting::kNotificationEnable,
              .line_when_on = "",
              .line_when_off = "",
              .subject = std::nullopt,
              .body = std::nullopt,
              .contents = MailContents::kErrorText,
              .is_queued = false},
    MailEvent{.event = MailSwitch::kCpr,
              .gate = Setting::kNotificationEnable,
              .line_when_on = "",
              .line_when_off = "",
              .subject = Setting::kSubjectCpr,
              .body = Setting::kBodyCpr,
              .contents = MailContents::kVersion,
              .with_cpr_list = true},
    MailEvent{.event = MailSwitch::kTsc,
              .gate = Setting::kEnableTscSend,
              .line_when_on = "",
              .line_when_off = "",
              .subject = Setting::kSubjectTsc,
              .body = Setting::kBodyTsc,
              .contents = MailContents::kVersion},
};

}  // namespace

const MailEvent* FindMailEvent(core::MailSwitch event) {
  for (const MailEvent& row : kMailEvents) {
    if (row.event == event) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace vlmr::notify
