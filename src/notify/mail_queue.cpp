#include "notify/mail_queue.h"

#include <cstdint>

#include "core/error_trap.h"
#include "core/number.h"

namespace vlmr::notify {
namespace {

constexpr const char* kCrLf = "\r\n";
constexpr const char* kRule = "====================================";
/// How often a taken name is drawn anew before the mail is given up.
constexpr int kMostRedraws = 10;
/// How often a taken body name is drawn anew before it is made longer instead.
constexpr int kMostBodyDraws = 1000;

core::ErrorTrap CreateTrap(const core::Runtime& runtime) {
  return core::ErrorTrap([&runtime](const platform::RuntimeError& error) {
    runtime.Log("CreateSmtpMail: Error: [" + core::IntegerText(error.Number()) + "] [" + error.Description() +
                "]");
  });
}

}  // namespace

void MailQueue::PrepareMail(core::MailSwitch event, const std::string& version) {
  runtime_.Log("PrepareMail: Switch=[" + core::IntegerText(static_cast<std::int16_t>(event)) + "] Version=[" +
               version + "]");
  const MailEvent* row = FindMailEvent(event);
  if (row == nullptr) {
    return;
  }
  const bool is_on = IsOn(*row, version);
  const std::string_view line = is_on ? row->line_when_on : row->line_when_off;
  if (!line.empty()) {
    runtime_.Log(line);
  }
  if (!is_on) {
    return;
  }
  const std::string subject = SubjectOf(*row, version);
  const std::string body = BodyOf(*row, version);
  if (row->is_queued) {
    CreateSmtpMail(body, subject, row->with_pattern_list, row->with_cpr_list);
  }
}

bool MailQueue::IsOn(const MailEvent& row, const std::string& version) {
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    runtime_.Log("PrepareMail: Error " + core::ErrorText(error));
  });
  if (row.gate && !trap.Test([&] { return runtime_.settings.IsOn(*row.gate); })) {
    return false;
  }
  return row.contents != MailContents::kVirusList || !version.empty();
}

std::string MailQueue::SubjectOf(const MailEvent& row, const std::string& version) {
  if (row.contents == MailContents::kVirusList) {
    return "[Velmora] List of " + version + " viruses";
  }
  if (row.contents == MailContents::kErrorText) {
    return "[Velmora]: Error Found !";
  }
  return texts_.ReplaceNotifsTexte(runtime_.settings.Text(*row.subject));
}

std::string MailQueue::BodyOf(const MailEvent& row, const std::string& version) {
  const auto expanded = [&] { return texts_.ReplaceNotifsTexte(runtime_.settings.Text(*row.body)) + kCrLf; };
  switch (row.contents) {
    case MailContents::kVersion:
      return expanded() + "New Version=" + version;
    case MailContents::kTestNotice:
      return expanded() + "New Version=This will be the version futur Pattern version !";
    case MailContents::kProductReport:
      return expanded() + runtime_.state.ProductUpdates();
    case MailContents::kVirusList:
      return virus_list_.ReadPatternVirusList().names;
    case MailContents::kErrorText:
      break;
  }
  return version;
}

void MailQueue::CreateSmtpMail(const std::string& body, const std::string& subject,
                               bool with_pattern_virus_list, bool with_cpr_virus_list) {
  const core::ErrorTrap trap = CreateTrap(runtime_);
  const std::string queue = runtime_.paths / R"(\mQueue)";
  if (runtime_.files.FindFolder(queue).empty() && runtime_.files.FindFile(queue).empty()) {
    trap([&] { runtime_.files.MakeFolder(queue); });
  }
  VirusList list;
  if (with_pattern_virus_list) {
    list = virus_list_.ReadPatternVirusList();
    if (!list.count.empty()) {
      runtime_.Log("CreateSmtpMail: Writing temp eMail for [" + list.count + "] new viruses stored");
    }
  }
  if (with_cpr_virus_list) {
    const std::string count =
        virus_list_.ReadVirusListFile(runtime_.paths / R"(\ActiveUpdate\CPR\whatsnew.txt)").count;
    if (!count.empty()) {
      runtime_.Log("CreateSmtpMail: Writing temp eMail for [" + count + "] new viruses stored");
    }
  }

  // The two log lines below show fresh draws, not the queued names: those that read them know it so.
  std::string control_name = names_.GetFileTemp();
  std::string body_name = DrawBodyName(control_name) + ".tmp";
  for (std::int16_t attempts = 0; IsInQueue(control_name + ".ini");) {
    runtime_.Log("CreateSmtpMail: [" + names_.GetFileTemp() + ".ini] already exist, randomize a new File  [" +
                 core::IntegerText(attempts) + "]");
    if (++attempts > kMostRedraws) {
      runtime_.Log("CreateSmtpMail: too many files stored in mQueue Folder, skip notification function");
      return;
    }
    control_name = names_.GetFileTemp();
    body_name = DrawBodyName(control_name) + ".tmp";
  }

  {
    const std::string control_file = QueuePath(control_name + ".ini");
    const core::IniStore::Batch batch(runtime_.ini, control_file, core::IniStore::BatchKind::kAtEnd);
    runtime_.WriteIniValue("MAIL", "S", subject, control_file);
    runtime_.WriteIniValue("MAIL", "F", body_name, control_file);
  }
  runtime_.Log("CreateSmtpMail: [" + names_.GetFileTemp() + ".ini] => Create temporary eMail...");
  std::string text = body;
  if (with_pattern_virus_list) {
    text.append(kCrLf).append(kRule).append(kCrLf).append("New Virus List").append(kRule).append(kCrLf);
    text.append(list.names);
  }
  // As the control file: what a server says, and so an error mail, may quote what was sent to it.
  trap([&] { runtime_.files.Replace(QueuePath(body_name), text + kCrLf, platform::Access::kOwnerAndGroup); });
}

std::string MailQueue::QueuePath(const std::string& name) const {
  return runtime_.paths / R"(\mQueue\)" + name;
}

bool MailQueue::IsInQueue(const std::string& name) const {
  return !runtime_.files.FindFile(QueuePath(name)).empty();
}

std::string MailQueue::DrawBodyName(const std::string& control_name) const {
  std::string name = names_.GetFileTemp();
  for (int draws = 1; name == control_name || IsInQueue(name + ".tmp"); ++draws) {
    // A queue that nobody empties must not hold a run for ever.
    if (draws < kMostBodyDraws) {
      name = names_.GetFileTemp();
    } else {
      name += '0';
    }
  }
  return name;
}

}  // namespace vlmr::notify
