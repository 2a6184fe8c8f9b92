#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "core/activity_log.h"
#include "core/app_paths.h"
#include "core/ini_store.h"
#include "core/run_state.h"
#include "core/settings.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace vlmr::core {

/// The ground that every procedure stands on: where things lie, how they are read and written, and where it
/// reports. A procedure's class takes this and, beside it, only what it needs from other floors. Made once
/// where the program is put together; everything in it outlives every procedure.
struct Runtime {
  const AppPaths& paths;
  platform::FileSystem& files;
  const platform::Clock& clock;
  IniStore& ini;
  Settings& settings;
  RunState& state;
  ActivityLog& log;

  /// Shorthands for what every procedure does most.
  void Log(std::string_view message, LogLevel level = LogLevel::kOrdinary) const {
    log.WriteLog(message, level);
  }
  std::string ReadIniValue(std::string_view section, std::string_view key, const std::string& file) const {
    return ini.ReadIniValue(section, key, file);
  }
  bool WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                     const std::string& file) const {
    return ini.WriteIniValue(section, key, value, file);
  }
  bool WriteIniValues(std::string_view section, std::initializer_list<IniStore::KeyValue> values,
                      const std::string& file) const {
    return ini.WriteIniValues(section, values, file);
  }
};

}  // namespace vlmr::core
