#pragma once

#include <string>

#include "core/notifier.h"
#include "core/random.h"
#include "core/runtime.h"
#include "notify/mail_events.h"
#include "notify/notification_text.h"
#include "notify/temp_name.h"
#include "notify/virus_list.h"

namespace vlmr::notify {

/// Writes notification mails as pairs of files into `\mQueue`, from where a separate program sends them:
/// a control file `<digits>.ini` with [MAIL] "S" (subject) and "F" (name of the body file), and a body file
/// `<other digits>.tmp`. The control file comes first; each of the two appears whole.
class MailQueue : public core::Notifier {
 public:
  /// All references must outlive the queue.
  MailQueue(const core::Runtime& runtime, core::Random& random, VirusListReport& virus_list,
            NotificationText::Facts& facts)
      : runtime_(runtime), names_(runtime, random), virus_list_(virus_list), texts_(runtime, facts) {}

  void PrepareMail(core::MailSwitch event, const std::string& version) override;

  /// Writes one pair. With the pattern list the new viruses are appended to the body; the CPR list is counted
  /// in the log only. Gives up, writing nothing, when eleven drawn names in a row are taken. Raises nothing.
  void CreateSmtpMail(const std::string& body, const std::string& subject, bool with_pattern_virus_list,
                      bool with_cpr_virus_list);

 private:
  bool IsOn(const MailEvent& row, const std::string& version);
  std::string SubjectOf(const MailEvent& row, const std::string& version);
  std::string BodyOf(const MailEvent& row, const std::string& version);
  std::string QueuePath(const std::string& name) const;
  bool IsInQueue(const std::string& name) const;
  std::string DrawBodyName(const std::string& control_name) const;

  const core::Runtime& runtime_;
  TempName names_;
  VirusListReport& virus_list_;
  NotificationText texts_;
};

}  // namespace vlmr::notify
