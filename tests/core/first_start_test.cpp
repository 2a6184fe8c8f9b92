#include <gtest/gtest.h>

#include "core/startup.h"
#include "core/version.h"
#include "support/fake_instance_lock.h"
#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using test::World;

/// Start and run joined as in the program, with the jobs of higher floors recorded.
class StartNeeds : public test::RecordingStartNeeds {
 public:
  StartNeeds(World& world, Operations& operations) : RecordingStartNeeds(world), operations_(operations) {}
  void StartingOperations() override { operations_.StartingOperations(); }

 private:
  Operations& operations_;
};

class EndingJobs : public test::RecordingJobs {
 public:
  using RecordingJobs::RecordingJobs;
  void EndProcess() override { throw platform::ProcessEnd(); }
};

struct Fixture {
  void Start(const std::string& command_line) {
    try {
      startup.Form_Load(command_line);
    } catch (const platform::ProcessEnd&) {
      ended = true;
    }
  }

  World world;
  ProcessServices services{world.runtime, world.system};
  test::FakeInstanceLock instance;
  EndingJobs jobs{world};
  Watchdog watchdog{world.runtime, world.loop, world.processes, jobs};
  Operations operations{world.runtime, services, world.helpers, world.loop, world.processes, watchdog, jobs};
  StartNeeds needs{world, operations};
  Startup startup{world.runtime, services, world.processes, instance, world.form, world.notifier, needs};
  bool ended = false;
};

std::string Log(const std::vector<std::string>& messages) {
  std::string text;
  for (const std::string& message : messages) {
    text += "2026-03-05 14:07:09 : [VlMr]" + message + "\r\n";
  }
  return text;
}

TEST(FirstStart, OfAnEmptyFolderLogsTheseLinesAndNoOther) {
  Fixture f;
  f.Start("");
  EXPECT_TRUE(f.ended);
  EXPECT_EQ(
      f.world.files.Text(R"(\VlMR.log)"),
      Log({"Loading: Initialize parameters", "Velmora Pelgrun.exe Start Velmora Pelgrun " + VersionText(),
           "StartingOperations: START", "StartingOperations: TSC is disabled",
           "StartingOperations: All operations executed, clean old Patterns",
           "StartingOperations: VLMR terminate...", "StartingOperations: Enable Timer for Killing process"}));
}

TEST(FirstStart, WritesTheDefaultsOfTheKeysThatItReadBack) {
  Fixture f;
  f.Start("");
  EXPECT_EQ(f.world.files.Text(R"(\VLMR.ini)"),
            "[LOGS]\r\n"
            "Level=0\r\n"
            "MaxSize=150\r\n"
            "EnableDebugsWinsockHTTP=0\r\n"
            "EnableDebugPelgrun=0\r\n"
            "BackupByActions=1\r\n"
            "[SERVICE]\r\n"
            "ApiEnable=1\r\n"
            "Enable_Credential=0\r\n"
            "CheckNow=0\r\n"
            "[APACHE]\r\n"
            "Enable=0\r\n"
            "[FTP]\r\n"
            "EnableIntelligent=0\r\n"
            "EnableCPR=0\r\n");
}

TEST(FirstStart, LeavesTheSettingsTheLogItsBackupAndNothingElse) {
  Fixture f;
  f.Start("");
  EXPECT_EQ(f.world.files.Files(), (std::vector<std::string>{R"(\BackupLogs\05-03-2026_14-07_logs.logs)",
                                                             R"(\VLMR.ini)", R"(\VlMR.log)"}));
}

TEST(SecondStart, WritesNothingToTheSettingsThatAreAlreadyThere) {
  Fixture first;
  first.Start("");
  Fixture second;
  second.world.files.Put(R"(\VLMR.ini)", first.world.files.Text(R"(\VLMR.ini)"));
  second.Start("");
  for (const std::string& written : second.world.files.files_written) {
    EXPECT_NE(written, second.world.At(R"(\VLMR.ini)"));
  }
}

TEST(FirstStart, WithManuRunsLikeANormalOneButForBannerAndHangingUp) {
  Fixture f;
  f.Start("MANU");
  EXPECT_TRUE(f.ended);
  EXPECT_EQ(
      f.world.files.Text(R"(\VlMR.log)"),
      Log({"Loading: Initialize parameters", "Command: [MANU]", "StartingOperations: START",
           "StartingOperations: TSC is disabled",
           "StartingOperations: All operations executed, clean old Patterns",
           "StartingOperations: VLMR terminate...", "StartingOperations: Enable Timer for Killing process"}));
}

}  // namespace
}  // namespace vlmr::core
