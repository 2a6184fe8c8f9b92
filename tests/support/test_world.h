#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/activity_log.h"
#include "core/app_paths.h"
#include "core/file_helpers.h"
#include "core/ini_store.h"
#include "core/notifier.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/runtime.h"
#include "core/secret.h"
#include "core/settings.h"
#include "support/fake_clock.h"
#include "support/fake_event_loop.h"
#include "support/fake_form.h"
#include "support/fake_process_runner.h"
#include "support/fake_system_info.h"
#include "support/memory_file_system.h"

namespace vlmr::test {

/// Draws what the test lays ready, then counts 1, 2, 3 ... (staying below 501); records every seed.
class ScriptedRandom : public core::Random {
 public:
  int Draw() override;
  void Seed(std::uint64_t moment) override { seeds.push_back(moment); }

  std::deque<int> draws;             ///< drawn first, from the front
  std::vector<std::uint64_t> seeds;  ///< every seed so far

 private:
  int counter_ = 0;
};

/// Records the mails that are asked for.
class RecordingNotifier : public core::Notifier {
 public:
  using Mail = std::pair<core::MailSwitch, std::string>;
  void PrepareMail(core::MailSwitch event, const std::string& version) override {
    mails.emplace_back(event, version);
  }

  std::vector<Mail> mails;  ///< event and version text, in order
};

/// The ground that every procedure stands on, made of fakes: an application folder "/app" in memory, the
/// program "VlMr", a calendar that stands still. Nothing in it is scripted; a test changes what it needs.
///
/// Example:
///     World world;
///     world.SetSetting("TSC", "Enable", "1");
///     MyProcedure(world.runtime);
///     EXPECT_EQ(world.LogMessages(), (std::vector<std::string>{"MyProcedure: Start"}));
class World {
 public:
  World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// The full path of one that begins with a backslash.
  std::string At(std::string_view below) const { return paths / below; }

  /// What stands behind "]" in each line of the log file, in order.
  std::vector<std::string> LogMessages() const;
  /// The same for those messages alone that begin with `prefix`.
  std::vector<std::string> LogMessages(std::string_view prefix) const;
  /// Whether one of the messages is exactly this.
  bool Logged(std::string_view message) const;
  /// Empties the log, so that a test sees only what comes next.
  void ClearLog() { files.Remove(R"(\VlMR.log)"); }

  /// Puts one key into the settings file, as an operator's editor would.
  void SetSetting(std::string_view section, std::string_view key, std::string_view value);
  /// The stored text of one key of the settings file.
  std::string GetSetting(std::string_view section, std::string_view key);
  /// The same for any INI file, given by full path or by one that begins with a backslash.
  void SetIni(std::string_view file, std::string_view section, std::string_view key, std::string_view value);
  std::string GetIni(std::string_view file, std::string_view section, std::string_view key) const;

  core::AppPaths paths{"/app", "VlMr"};
  MemoryFileSystem files{"/app"};
  FakeClock clock;
  FakeEventLoop loop{clock};
  FakeForm form;
  FakeProcessRunner processes;
  FakeSystemInfo system;
  ScriptedRandom random;
  RecordingNotifier notifier;
  core::IniStore ini{files, loop, clock};
  core::SecretCipher cipher{paths, files};
  core::Settings settings{paths, ini, cipher};
  core::RunState state;
  core::ActivityLog log{paths, files, clock, ini, settings, state, form, random};
  core::Runtime runtime{paths, files, clock, ini, settings, state, log};
  core::FileHelpers helpers{runtime, loop, processes, system, notifier};
};

}  // namespace vlmr::test
