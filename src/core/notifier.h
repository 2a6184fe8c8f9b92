#pragma once

#include <cstdint>
#include <string>

namespace vlmr::core {

/// What a notification is about; the numbers are the `Switch` values of `PrepareMail`.
enum class MailSwitch : std::int16_t {
  kTest = 0,
  kPattern = 1,
  kScanEngine = 2,
  kVirusList = 3,
  kOpp = 4,
  kScanEngineByCheck = 5,
  kMpp = 6,
  kSpam = 7,
  kRedAlert = 8,
  kProducts = 9,
  kError = 10,
  kCpr = 11,
  kTsc = 12,
};

/// The single entry of the notification queue, as every other floor sees it.
class Notifier {
 public:
  virtual ~Notifier() = default;
  /// Queues a mail for an event if the settings ask for it. `version` is the new version, the count of
  /// viruses, or the error text, as the event says. Raises nothing.
  virtual void PrepareMail(MailSwitch event, const std::string& version) = 0;
};

}  // namespace vlmr::core
