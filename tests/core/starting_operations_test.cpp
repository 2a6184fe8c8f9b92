#include "core/starting_operations.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using test::World;
using Lines = std::vector<std::string>;
using Started = test::FakeProcessRunner::Started;
using platform::WindowMode;

struct Fixture {
  Fixture() {
    test::MarkStartsOf(world, {"PageScribe.exe", "ClientAudit.exe", "Ledgerbook.exe", "Sharewell.exe",
                               "QueueMailer.exe", "Dialer.exe"});
  }

  Lines Run() {
    operations.StartingOperations();
    return test::Trace(world);
  }
  void DialerAnswers(const std::string& connection) {
    world.loop.AtPump(
        1, [this, connection] { world.SetIni(R"(\Dialer.ini)", "RAS", "Connection", connection); });
  }

  World world;
  ProcessServices services{world.runtime, world.system};
  test::RecordingJobs jobs{world};
  Watchdog watchdog{world.runtime, world.loop, world.processes, jobs};
  Operations operations{world.runtime, services, world.helpers, world.loop, world.processes, watchdog, jobs};
};

/// The lines given, and those with which every run ends.
Lines WithEnding(Lines lines) {
  for (const char* line : {"StartingOperations: All operations executed, clean old Patterns",
                           R"(<KillPatternServer /app\ActiveUpdate\Pattern>)",
                           R"(<KillPatternServer /app\Pattern>)", R"(Loading: Launch /app\QueueMailer.exe)",
                           "<start QueueMailer.exe>", "StartingOperations: VLMR terminate...",
                           "StartingOperations: Enable Timer for Killing process", "<EndProcess>"}) {
    lines.emplace_back(line);
  }
  return lines;
}

TEST(StartingOperations, WithEverySwitchAtItsDefaultRunsTheSessionBacksTheLogUpAndEnds) {
  Fixture f;
  EXPECT_EQ(f.Run(), WithEnding({"StartingOperations: START", "StartingOperations: TSC is disabled",
                                 "<StartActiveUpdate>"}));
  EXPECT_EQ(f.world.GetSetting("SERVICE", "CheckNow"), "0");
  EXPECT_TRUE(f.world.files.Has(R"(\BackupLogs\05-03-2026_14-07_logs.logs)"));
  EXPECT_FALSE(f.world.files.Has(R"(\Dialer.ini)"));
  EXPECT_EQ(f.world.loop.Timers().size(), 1U) << "the timer is enabled at the very end";
}

TEST(StartingOperations, WithEverySwitchOnRunsEveryJobInItsOrder) {
  Fixture f;
  for (const auto& [section, key] :
       std::vector<std::pair<const char*, const char*>>{{"SOURCES", "TscEnable"},
                                                        {"APACHE", "Enable"},
                                                        {"RAS", "Enable"},
                                                        {"FTP", "EnableIntelligent"},
                                                        {"FTP", "EnableCPR"},
                                                        {"OFFICESCAN_UPDATE", "Enable"},
                                                        {"NOTIFICATION", "EnableVirusNotifications"},
                                                        {"SERVICE", "Enable_Credential"}}) {
    f.world.SetSetting(section, key, "1");
  }
  f.DialerAnswers("1");
  EXPECT_EQ(f.Run(), WithEnding({
                         "StartingOperations: START",
                         "StartingOperations: TSC is enabled, Start TSC function",
                         "<TrojanSystemCleaner>",
                         "<start PageScribe.exe>",
                         "DIALUP: Lauching Dialer.exe module",
                         "<start Dialer.exe>",
                         "DIALUP:  Response from RAS module connected",
                         "<StartActiveUpdate>",
                         "<StartIntelligentFTP>",
                         "<start PageScribe.exe>",
                         "<GET_CPR_PATTERN>",
                         "<start PageScribe.exe>",
                         R"(StartActiveUpdate: Execute : /app\ClientAudit.exe)",
                         "<start ClientAudit.exe>",
                         "Launch Ledgerbook.exe addon...",
                         "<start Ledgerbook.exe>",
                         "<start PageScribe.exe>",
                         "<start PageScribe.exe>",
                     }));
  EXPECT_EQ(f.world.processes.starts, (std::vector<Started>{
                                          {R"(/app\PageScribe.exe)", false, WindowMode::kNormal},
                                          {R"(/app\Dialer.exe)", false, WindowMode::kNormal},
                                          {R"(/app\PageScribe.exe)", false, WindowMode::kNormal},
                                          {R"(/app\PageScribe.exe)", false, WindowMode::kNormal},
                                          {R"(/app\ClientAudit.exe)", true, WindowMode::kHidden},
                                          {R"(/app\Ledgerbook.exe)", true, WindowMode::kHidden},
                                          {R"(/app\PageScribe.exe)", false, WindowMode::kNormal},
                                          {R"(/app\PageScribe.exe)", false, WindowMode::kNormal},
                                          {R"(/app\QueueMailer.exe)", false, WindowMode::kHidden},
                                      }));
  EXPECT_EQ(f.world.files.Text(R"(\Dialer.ini)"), "[RAS]\r\nConnection=1\r\nDisconnect=1\r\n");
  EXPECT_EQ(f.world.system.identity_calls, Lines{"end"});
}

TEST(StartingOperations, LeavesAtOnceAfterAFailedDialUp) {
  for (const char* answer : {"3", "4", "x"}) {
    Fixture f;
    f.world.SetSetting("SOURCES", "TscEnable", "1");
    f.world.SetSetting("APACHE", "Enable", "1");
    f.world.SetSetting("RAS", "Enable", "True");
    f.DialerAnswers(answer);
    Lines expected = {"StartingOperations: START",
                      "StartingOperations: TSC is enabled, Start TSC function",
                      "<TrojanSystemCleaner>",
                      "<start PageScribe.exe>",
                      "DIALUP: Lauching Dialer.exe module",
                      "<start Dialer.exe>"};
    if (answer == std::string("3")) {
      expected.emplace_back("DIALUP:  Response from RAS module error to connecting..");
    }
    EXPECT_EQ(f.Run(), expected) << answer;
    EXPECT_EQ(f.world.GetSetting("SERVICE", "CheckNow"), "0");
    EXPECT_FALSE(f.world.files.Has(R"(\BackupLogs\05-03-2026_14-07_logs.logs)"));
    EXPECT_TRUE(f.world.loop.Timers().empty());
  }
}

TEST(StartingOperations, NamesLedgerbookOnlyInsideTheOfficeScanBlock) {
  Fixture outside;
  outside.world.SetSetting("NOTIFICATION", "EnableVirusNotifications", "1");
  outside.Run();
  EXPECT_EQ(outside.world.processes.StartsOf("Ledgerbook.exe"), 0);

  Fixture without;
  without.world.SetSetting("OFFICESCAN_UPDATE", "Enable", "1");
  without.Run();
  EXPECT_EQ(without.world.processes.StartsOf("ClientAudit.exe"), 1);
  EXPECT_EQ(without.world.processes.StartsOf("Ledgerbook.exe"), 0);

  Fixture both;
  both.world.SetSetting("OFFICESCAN_UPDATE", "Enable", "1");
  both.world.SetSetting("NOTIFICATION", "EnableVirusNotifications", "True");
  both.Run();
  EXPECT_EQ(both.world.processes.Programs(),
            (Lines{R"(/app\ClientAudit.exe)", R"(/app\Ledgerbook.exe)", R"(/app\QueueMailer.exe)"}));
}

TEST(StartingOperations, NeverStartsSharewell) {
  Fixture f;
  f.world.SetSetting("OFFICESCAN_UPDATE", "Enable", "1");
  f.world.SetSetting("NOTIFICATION", "EnableVirusNotifications", "1");
  f.world.SetSetting("APACHE", "Enable", "1");
  for (const std::string& line : f.Run()) {
    EXPECT_EQ(line.find("Sharewell"), std::string::npos) << line;
  }
}

TEST(StartingOperations, TellsOfAMissingProgramOnlyWhenItWouldHaveWaitedForIt) {
  Fixture f;
  for (const char* program : {"PageScribe.exe", "ClientAudit.exe", "Ledgerbook.exe", "QueueMailer.exe"}) {
    f.world.processes.Script(program, {.start_error = 53});
  }
  for (const char* section : {"OFFICESCAN_UPDATE", "APACHE"}) {
    f.world.SetSetting(section, "Enable", "1");
  }
  f.world.SetSetting("NOTIFICATION", "EnableVirusNotifications", "1");
  f.Run();
  EXPECT_EQ(
      f.world.LogMessages(),
      (Lines{"StartingOperations: START", "StartingOperations: TSC is disabled",
             R"(StartActiveUpdate: Execute : /app\ClientAudit.exe)", "WaitFor: Error code 53 File not found",
             "Launch Ledgerbook.exe addon...", "WaitFor: Error code 53 File not found",
             "StartingOperations: All operations executed, clean old Patterns",
             "StartingOperations: VLMR terminate...",
             "StartingOperations: Enable Timer for Killing process"}));
}

TEST(StartingOperations, ReportsASwitchThatIsNoNumberAndTakesItAsOff) {
  Fixture f;
  f.world.SetSetting("SOURCES", "TscEnable", "x");
  f.world.SetSetting("RAS", "Enable", "maybe");
  f.world.SetSetting("FTP", "EnableIntelligent", "40000");
  f.world.SetSetting("FTP", "EnableCPR", "1,0");
  f.world.SetSetting("OFFICESCAN_UPDATE", "Enable", "on");
  f.world.SetSetting("LOGS", "BackupByActions", "yes");
  EXPECT_EQ(f.Run(), WithEnding({
                         "StartingOperations: START",
                         "StartingOperations: Error 13 Type mismatch",
                         "StartingOperations: TSC is disabled",
                         "StartingOperations: Error 13 Type mismatch",
                         "<StartActiveUpdate>",
                         "StartingOperations: Error 6 Overflow",
                         "StartingOperations: Error 13 Type mismatch",
                         "StartingOperations: Error 13 Type mismatch",
                         "StartingOperations: Error 13 Type mismatch",
                         "StartingOperations: Error 13 Type mismatch",
                     }));
  EXPECT_TRUE(f.world.files.Folders().empty()) << "no backup";
}

TEST(StartingOperations, TakesASwitchOfTwoAsOff) {
  Fixture f;
  for (const auto& [section, key] :
       std::vector<std::pair<const char*, const char*>>{{"SOURCES", "TscEnable"},
                                                        {"APACHE", "Enable"},
                                                        {"FTP", "EnableIntelligent"},
                                                        {"FTP", "EnableCPR"},
                                                        {"OFFICESCAN_UPDATE", "Enable"},
                                                        {"SERVICE", "Enable_Credential"},
                                                        {"LOGS", "BackupByActions"}}) {
    f.world.SetSetting(section, key, "2");
  }
  EXPECT_EQ(f.Run(), WithEnding({"StartingOperations: START", "StartingOperations: TSC is disabled",
                                 "<StartActiveUpdate>"}));
  EXPECT_TRUE(f.world.files.Folders().empty()) << "no backup";
  EXPECT_TRUE(f.world.system.identity_calls.empty());
}

TEST(StartingOperations, ReadsEachSwitchWhenItsStepComes) {
  Fixture f;
  f.world.SetSetting("APACHE", "Enable", "1");
  f.world.processes.Script("PageScribe.exe", {.on_start = [&f] {
                             test::Mark(f.world, "<start PageScribe.exe>");
                             f.world.SetSetting("APACHE", "Enable", "0");
                             f.world.SetSetting("FTP", "EnableCPR", "1");
                           }});
  EXPECT_EQ(f.Run(), WithEnding({"StartingOperations: START", "StartingOperations: TSC is disabled",
                                 "<start PageScribe.exe>", "<StartActiveUpdate>", "<GET_CPR_PATTERN>"}));
}

TEST(StartingOperations, BacksUpWhatHasBeenLoggedBeforeTheCleanUp) {
  Fixture f;
  f.Run();
  const std::string backup = f.world.files.Text(R"(\BackupLogs\05-03-2026_14-07_logs.logs)");
  EXPECT_TRUE(f.world.files.Text(R"(\VlMR.log)").starts_with(backup));
  EXPECT_TRUE(backup.ends_with("StartingOperations: TSC is disabled\r\n")) << backup;
}

TEST(StartingOperations, KeepsTheAccountOnASystemThatDoesNotAnswerNt) {
  Fixture f;
  f.world.system.os_major_version = 6;
  f.world.SetSetting("SERVICE", "Enable_Credential", "1");
  f.Run();
  EXPECT_TRUE(f.world.system.identity_calls.empty());
}

/// Jobs whose end of the process is the real one.
class EndingJobs : public test::RecordingJobs {
 public:
  using RecordingJobs::RecordingJobs;
  void EndProcess() override { throw platform::ProcessEnd(); }
};

TEST(StartingOperations, DoesNotReturnFromItsLastStep) {
  Fixture f;
  EndingJobs ending(f.world);
  Operations operations(f.world.runtime, f.services, f.world.helpers, f.world.loop, f.world.processes,
                        f.watchdog, ending);
  EXPECT_THROW(operations.StartingOperations(), platform::ProcessEnd);
  EXPECT_EQ(f.world.LogMessages().back(), "StartingOperations: Enable Timer for Killing process");
}

}  // namespace
}  // namespace vlmr::core
