#pragma once

#include <optional>
#include <string_view>

#include "core/notifier.h"
#include "core/settings_table.h"

namespace vlmr::notify {

/// What follows the templates of a mail, or stands in their place.
enum class MailContents {
  kVersion,        ///< templates, then the new version
  kTestNotice,     ///< templates, then a notice that this is a test
  kProductReport,  ///< templates, then the product updates of this run
  kVirusList,      ///< a fixed subject with the count, the new viruses as the body
  kErrorText,      ///< a fixed subject, the error text as the body
};

/// One event of the queue. A line that is empty is not logged.
struct MailEvent {
  core::MailSwitch event;
  std::optional<core::Setting> gate;  ///< must be on; none: always
  std::string_view line_when_on;
  std::string_view line_when_off;
  std::optional<core::Setting> subject;  ///< template, for the first three contents
  std::optional<core::Setting> body;     ///< likewise
  MailContents contents;
  bool with_pattern_list = false;  ///< the body carries the viruses new in the pattern
  bool with_cpr_list = false;      ///< the viruses new in the CPR pattern are counted
  bool is_queued = true;           ///< an error mail is composed but never queued
};

/// The row of an event; null for one that queues nothing at all (6, and everything outside 0 to 12).
const MailEvent* FindMailEvent(core::MailSwitch event);

}  // namespace vlmr::notify
