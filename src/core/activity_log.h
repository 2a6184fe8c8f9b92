#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/app_paths.h"
#include "core/ini_store.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/settings.h"
#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/form.h"

namespace vlmr::core {

/// The level of a log line. "Level" in the settings selects one of the two, it is no threshold.
enum class LogLevel { kOrdinary = 1, kDetailed = 2 };

/// The one log writer: status label, `\VlMR.log`, and the temporary log of a debug run. Files are opened and
/// closed for each line, so others can read them at any time. No failure ever reaches a caller.
class ActivityLog {
 public:
  /// All references must outlive the log.
  ActivityLog(const AppPaths& paths, platform::FileSystem& files, const platform::Clock& clock, IniStore& ini,
              Settings& settings, const RunState& state, platform::Form& form, Random& random);

  /// Writes one line: date and time, " : [", program name, "]", message, CR LF. With "Level" 0 only ordinary
  /// lines reach the file, with 1 only detailed ones, with anything else none. A log of more than "MaxSize"
  /// kilobytes is deleted first.
  void WriteLog(std::string_view message, LogLevel level = LogLevel::kOrdinary);

  /// Writes a line about a file that could not be changed where nobody else would tell; at once, or behind
  /// the line that is just being written.
  void ReportFault(std::string text);

  /// Copies the log into `\BackupLogs` under the present minute's name, replacing a copy of the same minute.
  /// The run's start time is part of the call but the name is made from the present moment.
  void BackupLog(const platform::LocalTime& run_start);

  /// Appends one line with the length of a downloaded file to `\Downloaded.siz`.
  void AppendDownloadedSize(std::int64_t bytes);

  /// Seeds the random generator and returns the full path of a new temporary log.
  std::string GetFileTempLogs();

 private:
  void WriteLine(std::string_view message, LogLevel level);
  void WriteToFile(std::string_view line, LogLevel level);

  const AppPaths& paths_;
  platform::FileSystem& files_;
  const platform::Clock& clock_;
  IniStore& ini_;
  Settings& settings_;
  const RunState& state_;
  platform::Form& form_;
  Random& random_;
  const std::string bracket_;  ///< what stands between the moment and the message of every line
  const std::string log_path_;
  const std::string settings_path_;
  std::vector<std::string> faults_;  ///< to be told as soon as the present line is written
  bool is_writing_ = false;
  std::string line_;  ///< kept, so that a line needs no memory of its own
};

}  // namespace vlmr::core
