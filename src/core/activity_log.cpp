#include "core/activity_log.h"

#include <optional>
#include <utility>

#include "core/error_trap.h"
#include "core/number.h"

namespace vlmr::core {
namespace {

using platform::Access;

constexpr std::string_view kLineEnd = "\r\n";
constexpr double kBytesPerKilobyte = 1024;

/// A failure to log must never reach the work that is logged, and there is no other place to report it.
ErrorTrap Silent() {
  return ErrorTrap([](const platform::RuntimeError&) {});
}

std::string_view StoredIn(const IniDocument& settings, Setting setting) {
  const SettingRow& row = RowOf(setting);
  return settings.Get(row.section, row.key).substr(0, IniStore::kLongestValue);
}

}  // namespace

ActivityLog::ActivityLog(const AppPaths& paths, platform::FileSystem& files, const platform::Clock& clock,
                         IniStore& ini, Settings& settings, const RunState& state, platform::Form& form,
                         Random& random)
    : paths_(paths),
      files_(files),
      clock_(clock),
      ini_(ini),
      settings_(settings),
      state_(state),
      form_(form),
      random_(random),
      bracket_(" : [" + paths.Program() + "]"),
      log_path_(paths.Log()),
      settings_path_(paths.Settings()) {}

void ActivityLog::WriteLog(std::string_view message, LogLevel level) {
  is_writing_ = true;
  WriteLine(message, level);
  // A fault that comes up now waits for the next line: a disk that stays full must not hold the run here.
  if (!faults_.empty()) [[unlikely]] {
    for (const std::string& text : std::exchange(faults_, {})) WriteLine(text, LogLevel::kOrdinary);
  }
  is_writing_ = false;
}

void ActivityLog::ReportFault(std::string text) {
  if (is_writing_) {
    faults_.push_back(std::move(text));
  } else {
    WriteLog(text);
  }
}

void ActivityLog::WriteLine(std::string_view message, LogLevel level) {
  line_.assign(clock_.DateTimeText()).append(bracket_).append(message);
  form_.SetStatus(line_);
  line_.append(kLineEnd);

  const ErrorTrap trap = Silent();
  trap([&] { WriteToFile(line_, level); });
  if (state_.DebugMain()) {
    trap([&] { files_.Append(state_.TempLogPath(), line_, Access::kOwnerAndGroup); });
  }
}

void ActivityLog::WriteToFile(std::string_view line, LogLevel level) {
  // One look at the disk serves both settings; only a key that is missing goes through its getter, which
  // writes the default back and makes the parsed file stale.
  const IniDocument* settings = &ini_.Document(settings_path_);
  std::string_view stored = StoredIn(*settings, Setting::kLevel);
  int selector = 0;
  if (stored.empty()) {
    selector = settings_.Int(Setting::kLevel);
    settings = &ini_.Document(settings_path_);
  } else {
    selector = ToInt16(stored);
  }
  const bool selected =
      (selector == 0 && level == LogLevel::kOrdinary) || (selector == 1 && level == LogLevel::kDetailed);
  if (!selected) {
    return;
  }
  stored = StoredIn(*settings, Setting::kMaxSize);
  const std::optional<float> kilobytes =
      Silent().Value([&] { return stored.empty() ? settings_.Single(Setting::kMaxSize) : ToSingle(stored); });
  // The lines show the passwords of FTP accounts, so the file is not for everybody.
  if (kilobytes) {
    files_.AppendLimited(log_path_, line, static_cast<double>(*kilobytes) * kBytesPerKilobyte,
                         Access::kOwnerAndGroup);
  } else {
    files_.Append(log_path_, line, Access::kOwnerAndGroup);
  }
}

void ActivityLog::BackupLog(const platform::LocalTime& /*run_start*/) {
  const platform::LocalTime now = clock_.Now();
  const std::string name = PaddedText(now.day, 2) + "-" + PaddedText(now.month, 2) + "-" +
                           PaddedText(now.year, 4) + "_" + PaddedText(now.hour, 2) + "-" +
                           PaddedText(now.minute, 2) + "_logs.logs";
  const std::string folder = paths_ / R"(\BackupLogs)";
  const std::string log = paths_ / R"(\Vlmr.log)";
  const ErrorTrap trap(
      [this](const platform::RuntimeError& error) { ReportFault("BackupLog: Error " + ErrorText(error)); });
  if (files_.FindFolder(folder).empty()) {
    trap([&] { files_.MakeFolder(folder); });
  }
  if (!files_.FindFile(log).empty()) {
    trap([&] { files_.Copy(log, folder + "\\" + name, Access::kOwnerAndGroup); });
  }
}

void ActivityLog::AppendDownloadedSize(std::int64_t bytes) {
  const ErrorTrap trap([this](const platform::RuntimeError& error) {
    ReportFault("AppendDownloadedSize: Error " + ErrorText(error));
  });
  trap([&] { files_.Append(paths_ / R"(\Downloaded.siz)", IntegerText(bytes) + std::string(kLineEnd)); });
}

std::string ActivityLog::GetFileTempLogs() {
  random_.Seed(static_cast<std::uint64_t>(clock_.Steady().time_since_epoch().count()));
  random_.Draw();  // drawn for its effect on the sequence alone, the number stands in no name
  const platform::LocalTime now = clock_.Now();
  return paths_.Folder() + "\\" + paths_.Program() + "." + IntegerText(now.year) + "." +
         IntegerText(now.month) + "." + IntegerText(now.day) + "." + PaddedText(now.hour, 2) + "." +
         PaddedText(now.minute, 2) + "." + PaddedText(now.second, 2) + ".log";
}

}  // namespace vlmr::core
