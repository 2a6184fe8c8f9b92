#include "core/activity_log.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/error_trap.h"
#include "support/test_world.h"

namespace vlmr::core {
namespace {

using test::World;
using Operation = test::MemoryFileSystem::Operation;

constexpr auto kLog = R"(\VlMR.log)";
constexpr auto kTempLog = R"(\VlMr.temp.log)";

void TurnDebugOn(World& world) {
  world.state.SetDebugMain(true);
  world.state.SetTempLogPath(world.At(kTempLog));
}

TEST(ActivityLog, ALineIsDateAndTimeThenTheProgramsNameThenTheMessageAndEndsWithCrLf) {
  World world;
  world.log.WriteLog("StartingOperations: START");
  world.log.WriteLog("");
  EXPECT_EQ(world.files.Text(kLog),
            "2026-03-05 14:07:09 : [VlMr]StartingOperations: START\r\n"
            "2026-03-05 14:07:09 : [VlMr]\r\n");
}

TEST(ActivityLog, TheBracketIsTheNameOfTheRunningFile) {
  World world;
  const AppPaths paths("/app", "mirror 2");
  ActivityLog log(paths, world.files, world.clock, world.ini, world.settings, world.state, world.form,
                  world.random);
  log.WriteLog("x");
  EXPECT_EQ(world.files.Text(kLog), "2026-03-05 14:07:09 : [mirror 2]x\r\n");
}

TEST(ActivityLog, LevelSelectsOneKindOfLineAndIsNoThreshold) {
  struct Case {
    const char* setting;
    bool ordinary;
    bool detailed;
  };
  for (const Case& c : {Case{"", true, false}, Case{"0", true, false}, Case{"1", false, true},
                        Case{"2", false, false}, Case{"-1", false, false}, Case{"0.5", true, false}}) {
    World world;
    world.SetSetting("LOGS", "Level", c.setting);
    world.log.WriteLog("ordinary");
    world.log.WriteLog("detailed", LogLevel::kDetailed);
    EXPECT_EQ(world.Logged("ordinary"), c.ordinary) << "Level=" << c.setting;
    EXPECT_EQ(world.Logged("detailed"), c.detailed) << "Level=" << c.setting;
  }
}

TEST(ActivityLog, TheStatusLabelShowsEveryLineWhateverItsLevel) {
  World world;
  world.log.WriteLog("detailed", LogLevel::kDetailed);
  world.log.WriteLog("ordinary");
  EXPECT_EQ(world.form.statuses, (std::vector<std::string>{"2026-03-05 14:07:09 : [VlMr]detailed",
                                                           "2026-03-05 14:07:09 : [VlMr]ordinary"}));
}

TEST(ActivityLog, AnEditOfLevelCountsFromTheNextLineOn) {
  World world;
  world.log.WriteLog("first");
  world.SetSetting("LOGS", "Level", "1");
  world.log.WriteLog("second");
  world.SetSetting("LOGS", "Level", "0");
  world.log.WriteLog("third");
  EXPECT_EQ(world.LogMessages(), (std::vector<std::string>{"first", "third"}));
}

TEST(ActivityLog, TheFirstLineWritesLevelAndMaxSizeBack) {
  World world;
  world.log.WriteLog("x");
  EXPECT_EQ(world.files.Text(R"(\VLMR.ini)"), "[LOGS]\r\nLevel=0\r\nMaxSize=150\r\n");
}

TEST(ActivityLog, ALogOfExactlyMaxSizeIsKeptAndOneByteMoreIsDeletedFirst) {
  World world;
  world.files.Put(kLog, std::string(153'600, 'x'));
  world.log.WriteLog("kept");
  EXPECT_TRUE(world.files.Text(kLog).starts_with("xxx"));

  world.files.Put(kLog, std::string(153'601, 'x'));
  world.log.WriteLog("alone");
  EXPECT_EQ(world.files.Text(kLog), "2026-03-05 14:07:09 : [VlMr]alone\r\n");
}

TEST(ActivityLog, ALogOfHalfAKilobyteTooMuchHoldsJustTheNextLine) {
  World world;
  world.SetSetting("LOGS", "MaxSize", "150");
  world.files.Put(kLog, std::string(154'112, 'x'));
  world.log.WriteLog("alone");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"alone"});
}

TEST(ActivityLog, MaxSizeMayHaveAFraction) {
  World world;
  world.SetSetting("LOGS", "MaxSize", "0.5");
  world.files.Put(kLog, std::string(512, 'x'));
  world.log.WriteLog("kept");
  EXPECT_TRUE(world.files.Text(kLog).starts_with("xxx"));
  world.log.WriteLog("alone");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"alone"});
}

TEST(ActivityLog, MaxSizeZeroDeletesTheLogBeforeEveryLineOnceItHoldsAnything) {
  World world;
  world.SetSetting("LOGS", "MaxSize", "0");
  world.log.WriteLog("first");
  world.log.WriteLog("second");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"second"});
}

TEST(ActivityLog, TheLogMayExceedItsLimitByOneLine) {
  World world;
  world.SetSetting("LOGS", "MaxSize", "0.0625");  // 64 bytes
  world.log.WriteLog(std::string(100, 'a'));
  EXPECT_GT(world.files.Text(kLog).size(), 64U);
  world.log.WriteLog("b");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"b"});
}

TEST(ActivityLog, ALevelThatIsNoNumberKeepsLinesOutOfTheLogButNotOutOfTheTemporaryOne) {
  World world;
  TurnDebugOn(world);
  world.SetSetting("LOGS", "Level", "abc");
  world.log.WriteLog("x");
  EXPECT_FALSE(world.files.Has(kLog));
  EXPECT_EQ(world.files.Text(kTempLog), "2026-03-05 14:07:09 : [VlMr]x\r\n");
}

TEST(ActivityLog, AMaxSizeThatIsNoNumberSkipsTheSizeTestAndWritesTheLine) {
  World world;
  world.SetSetting("LOGS", "MaxSize", "1,5");
  world.files.Put(kLog, std::string(1'000'000, 'x') + "\r\n");
  world.log.WriteLog("behind");
  EXPECT_EQ(world.LogMessages().size(), 2U);
  EXPECT_TRUE(world.Logged("behind"));
}

TEST(ActivityLog, TheTemporaryLogHoldsEveryLevelAndHasNoLimit) {
  World world;
  TurnDebugOn(world);
  world.SetSetting("LOGS", "MaxSize", "0");
  world.log.WriteLog("ordinary");
  world.log.WriteLog("detailed", LogLevel::kDetailed);
  EXPECT_EQ(world.files.Text(kTempLog),
            "2026-03-05 14:07:09 : [VlMr]ordinary\r\n2026-03-05 14:07:09 : [VlMr]detailed\r\n");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"ordinary"});
}

TEST(ActivityLog, WithoutTheDebugSwitchThereIsNoSecondCopy) {
  World world;
  world.log.WriteLog("x");
  EXPECT_EQ(world.files.Files(), (std::vector<std::string>{R"(\VLMR.ini)", R"(\VlMR.log)"}));
}

TEST(ActivityLog, NoFailureOfAFileReachesTheCaller) {
  for (const Operation operation : {Operation::kWrite, Operation::kAnyChange, Operation::kDelete}) {
    World world;
    TurnDebugOn(world);
    world.files.Put(kLog, std::string(200'000, 'x'));
    world.files.Fail(operation, "*", 70);
    EXPECT_NO_THROW(world.log.WriteLog("x"));
    EXPECT_EQ(world.form.statuses.size(), 1U);
  }
}

TEST(ActivityLog, AFaultThatComesUpWhileALineIsWrittenIsToldBehindIt) {
  World world;
  world.files.Put(kLog, "");
  world.ini.OnFault([&](const std::string& file, const platform::RuntimeError& error) {
    world.log.ReportFault("IniStore: Error " + core::ErrorText(error) + " [" + file + "]");
  });
  world.files.Put(R"(\VLMR.ini)", "[LOGS]\r\nMaxSize=100\r\n");
  world.files.Fail(Operation::kStage, "VLMR.ini", 61);  // the missing "Level" is written by the first line
  world.log.WriteLog("first");
  world.log.WriteLog("second");
  EXPECT_EQ(world.LogMessages(),
            (std::vector<std::string>{"first", "IniStore: Error 61 Disk full [/app\\VLMR.ini]", "second"}));
}

TEST(ActivityLog, ABackupOrASizeThatCannotBeWrittenIsTold) {
  World world;
  world.log.WriteLog("first");
  world.files.Fail(Operation::kStage, "*.logs", 61);
  world.files.Fail(Operation::kWrite, "Downloaded.siz", 57);
  world.log.BackupLog(world.clock.Now());
  world.log.AppendDownloadedSize(12);
  EXPECT_TRUE(world.Logged("BackupLog: Error 61 Disk full"));
  EXPECT_TRUE(world.Logged("AppendDownloadedSize: Error 57 Device I/O error"));
}

TEST(ActivityLog, AFailingLogStillFillsTheTemporaryLog) {
  World world;
  TurnDebugOn(world);
  world.files.Fail(Operation::kWrite, "VlMR.log", 61);
  world.log.WriteLog("x");
  EXPECT_FALSE(world.files.Text(kTempLog).empty());
}

TEST(ActivityLog, LogsAreForTheOwnerAndItsGroupBecauseTheyCanHoldPasswords) {
  World world;
  TurnDebugOn(world);
  world.log.WriteLog("x");
  world.log.BackupLog(world.clock.Now());
  for (const char* file : {kLog, kTempLog, R"(\BackupLogs\05-03-2026_14-07_logs.logs)"}) {
    ASSERT_TRUE(world.files.Has(file)) << file;
    EXPECT_EQ(world.files.AccessOf(file), platform::Access::kOwnerAndGroup) << file;
  }
}

TEST(ActivityLog, ALineLooksOnceAtTheSettingsFile) {
  World world;
  world.log.WriteLog("first, which writes the defaults back");
  world.files.stamped.clear();
  world.files.files_read.clear();
  world.log.WriteLog("second");
  EXPECT_EQ(world.files.stamped, std::vector<std::string>{world.At(R"(\VLMR.ini)")});
  EXPECT_TRUE(world.files.files_read.empty());
}

TEST(ActivityLog, BytesOfAMessagePassThroughUnchanged) {
  World world;
  world.log.WriteLog("caf\xe9 \x80\t|");
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"caf\xe9 \x80\t|"});
}

TEST(LogBackup, IsACopyNamedAfterThePresentMinuteInAFolderMadeForIt) {
  World world;
  world.log.WriteLog("x");
  world.clock.now = {.year = 2026, .month = 3, .day = 5, .hour = 14, .minute = 7, .second = 59};
  const platform::LocalTime hours_ago{
      .year = 2026, .month = 3, .day = 4, .hour = 1, .minute = 2, .second = 3};
  world.log.BackupLog(hours_ago);
  EXPECT_EQ(world.files.Text(R"(\BackupLogs\05-03-2026_14-07_logs.logs)"), world.files.Text(kLog));
  EXPECT_EQ(world.LogMessages(), std::vector<std::string>{"x"}) << "the log itself is left in place";
}

TEST(LogBackup, OfTheSameMinuteReplacesTheFirst) {
  World world;
  world.log.WriteLog("first");
  world.log.BackupLog(world.clock.Now());
  world.log.WriteLog("second");
  world.log.BackupLog(world.clock.Now());
  EXPECT_EQ(world.files.List(world.At(R"(\BackupLogs\*)")).size(), 1U);
  EXPECT_EQ(world.files.Text(R"(\BackupLogs\05-03-2026_14-07_logs.logs)"), world.files.Text(kLog));
}

TEST(LogBackup, OfAMissingLogCopiesNothing) {
  World world;
  world.log.BackupLog(world.clock.Now());
  EXPECT_TRUE(world.files.Files().empty());
  EXPECT_EQ(world.files.Folders(), std::vector<std::string>{R"(\BackupLogs)"});
}

TEST(LogBackup, FailsWithALineAtMostAndGoesOn) {
  World world;
  world.log.WriteLog("x");
  world.files.Put(R"(\BackupLogs)", "a file in the folder's place");
  EXPECT_NO_THROW(world.log.BackupLog(world.clock.Now()));
  world.files.Fail(Operation::kAnyChange, "*", 61);
  EXPECT_NO_THROW(world.log.BackupLog(world.clock.Now()));
  EXPECT_EQ(world.LogMessages(), (std::vector<std::string>{"x", "BackupLog: Error 75 Path/File access error",
                                                           "BackupLog: Error 76 Path not found"}))
      << "of the second failure nothing can be told";
}

TEST(DownloadedSize, IsOneLineOfBytesForEachCall) {
  World world;
  world.log.AppendDownloadedSize(0);
  world.log.AppendDownloadedSize(5'000'000'000);
  EXPECT_EQ(world.files.Text(R"(\Downloaded.siz)"), "0\r\n5000000000\r\n");
}

TEST(DownloadedSize, FailsSilently) {
  World world;
  world.files.Fail(Operation::kWrite, "*", 61);
  EXPECT_NO_THROW(world.log.AppendDownloadedSize(1));
}

TEST(TemporaryLogName, HasPlainDateNumbersAndTwoDigitsForTheTime) {
  World world;
  world.clock.now = {.year = 2026, .month = 3, .day = 5, .hour = 4, .minute = 7, .second = 9};
  EXPECT_EQ(world.log.GetFileTempLogs(), R"(/app\VlMr.2026.3.5.04.07.09.log)");
  world.clock.now = {.year = 2026, .month = 12, .day = 25, .hour = 23, .minute = 59, .second = 58};
  EXPECT_EQ(world.log.GetFileTempLogs(), R"(/app\VlMr.2026.12.25.23.59.58.log)");
}

TEST(TemporaryLogName, SeedsTheGeneratorAndDrawsOnceButHoldsNoDrawnNumber) {
  World world;
  world.random.draws = {321};
  const std::string name = world.log.GetFileTempLogs();
  EXPECT_EQ(world.random.seeds.size(), 1U);
  EXPECT_TRUE(world.random.draws.empty());
  EXPECT_EQ(name.find("321"), std::string::npos);
}

}  // namespace
}  // namespace vlmr::core
