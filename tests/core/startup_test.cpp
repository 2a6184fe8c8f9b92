#include "core/startup.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/version.h"
#include "support/fake_instance_lock.h"
#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using test::World;
using Lines = std::vector<std::string>;

/// A program that is about to be loaded; its log shows every level.
struct Fixture {
  explicit Fixture() { test::MarkStartsOf(world, {"QueueMailer.exe"}); }

  Lines Load(const std::string& command_line = "") {
    startup.Form_Load(command_line);
    return test::Trace(world);
  }
  /// The trace behind the steps that every start shares.
  Lines LoadAfterPreparation(const std::string& command_line) {
    Lines trace = Load(command_line);
    const auto started = std::find(trace.begin(), trace.end(), "<start QueueMailer.exe>");
    EXPECT_NE(started, trace.end());
    trace.erase(trace.begin(), started == trace.end() ? started : started + 1);
    return trace;
  }

  World world;
  ProcessServices services{world.runtime, world.system};
  test::FakeInstanceLock instance;
  test::RecordingStartNeeds needs{world};
  Startup startup{world.runtime, services, world.processes, instance, world.form, world.notifier, needs};
};

std::string Banner() { return "Velmora Pelgrun.exe Start Velmora Pelgrun " + VersionText(); }

TEST(Startup, OfANormalRunPreparesThenLogsTheBannerThenRuns) {
  Fixture f;
  EXPECT_EQ(f.Load(), (Lines{"Loading: Initialize parameters", "<DisableTimer>", "<api on>",
                             "<start QueueMailer.exe>", Banner(), "<StartingOperations>"}));
  EXPECT_EQ(f.world.form.shown, std::vector<bool>{false});
  EXPECT_EQ(f.world.processes.starts,
            (std::vector<test::FakeProcessRunner::Started>{
                {R"(/app\QueueMailer.exe)", false, platform::WindowMode::kHidden}}));
  EXPECT_FALSE(f.world.files.Has(R"(\Dialer.ini)"));
}

TEST(Startup, WithoutAMailSenderLeavesNoTraceOfIt) {
  Fixture f;
  f.world.processes.Script("QueueMailer.exe", {.start_error = 53});
  EXPECT_EQ(f.Load(), (Lines{"Loading: Initialize parameters", "<DisableTimer>", "<api on>", Banner(),
                             "<StartingOperations>"}));
}

TEST(Startup, TellsTheHttpLayerWhetherTheApiIsEnabled) {
  struct Case {
    const char* stored;
    const char* mark;
    const char* left;
  };
  for (const Case& c : {Case{"", "<api on>", "1"}, Case{"1", "<api on>", "1"}, Case{"0", "<api off>", "0"},
                        Case{"yes", "<api off>", "yes"}}) {
    Fixture f;
    f.world.SetSetting("SERVICE", "ApiEnable", c.stored);
    EXPECT_EQ(f.Load().at(2), c.mark) << c.stored;
    EXPECT_EQ(f.world.GetSetting("SERVICE", "ApiEnable"), c.left);
  }
}

TEST(Startup, SetsTheDebugSwitchesThatEqualOne) {
  Fixture off;
  off.world.SetSetting("LOGS", "EnableDebugsWinsockHTTP", "2");
  off.world.SetSetting("LOGS", "EnableDebugPelgrun", "2");
  off.Load();
  EXPECT_FALSE(off.world.state.DebugHttp());
  EXPECT_FALSE(off.world.state.DebugMain());
  EXPECT_EQ(off.world.state.TempLogPath(), "");
  EXPECT_TRUE(off.world.random.seeds.empty()) << "no temporary name is asked for with the switch off";

  Fixture on;
  on.world.SetSetting("LOGS", "EnableDebugsWinsockHTTP", "1");
  on.world.SetSetting("LOGS", "EnableDebugPelgrun", "1");
  on.Load();
  EXPECT_TRUE(on.world.state.DebugHttp());
  EXPECT_TRUE(on.world.state.DebugMain());
  EXPECT_EQ(on.world.state.TempLogPath(), R"(/app\VlMr.2026.3.5.14.07.09.log)");
}

TEST(Startup, PutsIntoTheTemporaryLogEverythingBehindTheDebugSwitch) {
  Fixture f;
  f.world.SetSetting("LOGS", "EnableDebugPelgrun", "1");
  f.Load();
  EXPECT_EQ(f.world.files.Text(R"(\VlMr.2026.3.5.14.07.09.log)"),
            "2026-03-05 14:07:09 : [VlMr]" + Banner() + "\r\n");
  EXPECT_EQ(f.world.LogMessages(), (Lines{"Loading: Initialize parameters", Banner()}));
}

TEST(Startup, GoesOnBehindASwitchThatIsNoNumber) {
  Fixture f;
  f.world.SetSetting("LOGS", "EnableDebugsWinsockHTTP", "x");
  f.world.SetSetting("LOGS", "EnableDebugPelgrun", "40000");
  f.world.SetSetting("SERVICE", "Enable_Credential", "1,0");
  f.world.SetSetting("RAS", "Enable", "maybe");
  EXPECT_EQ(f.Load(), (Lines{"Loading: Initialize parameters", "<DisableTimer>", "<api on>",
                             "Loading... Error number 13 Type mismatch", "Loading... Error number 6 Overflow",
                             "<start QueueMailer.exe>", "Loading... Error number 13 Type mismatch", Banner(),
                             "Loading... Error number 13 Type mismatch", "<StartingOperations>"}));
  EXPECT_FALSE(f.world.state.DebugHttp());
  EXPECT_TRUE(f.world.system.identity_calls.empty());
}

TEST(Startup, PutsTheProcessUnderTheConfiguredAccount) {
  Fixture f;
  f.world.SetSetting("SERVICE", "Enable_Credential", "1");
  f.world.SetSetting("SERVICE", "Credential_account", "updater");
  f.world.SetSetting("SERVICE", "Credential_Domain", "OFFICE");
  f.world.SetSetting("SERVICE", "Credential_Password", "secret");
  EXPECT_EQ(f.LoadAfterPreparation("").front(), "Load: Start impersonate function with [updater]");
  EXPECT_EQ(f.world.system.identity_calls, Lines{"start updater/secret/OFFICE"});
  EXPECT_EQ(f.world.LogMessages("Load:"), Lines{}) << "the line is detail";
}

TEST(Startup, KeepsItsOwnAccountOnASystemWhoseMajorVersionIsFiveOrSix) {
  for (const int major : {5, 6}) {
    Fixture f;
    f.world.system.os_major_version = major;
    f.world.SetSetting("SERVICE", "Enable_Credential", "1");
    f.Load();
    EXPECT_TRUE(f.world.system.identity_calls.empty());
    EXPECT_EQ(f.world.LogMessages("Load:"), Lines{});
  }
}

TEST(Startup, RefusesToRunBesideAnEarlierInstanceBeforeItLooksAtTheCommandLine) {
  for (const char* command : {"", "MANU", "PRODx!3", "/DLLs"}) {
    Fixture f;
    f.instance.previous_instance = true;
    f.world.SetSetting("SERVICE", "Enable_Credential", "1");
    f.world.SetSetting("SERVICE", "Credential_account", "a");
    f.world.files.Put(R"(\x.vlmr-tmp)", "the other instance is writing this");
    EXPECT_EQ(f.LoadAfterPreparation(command), (Lines{"Load: Start impersonate function with [a]",
                                                      "Loading: Previous Instance detected...aborting"}))
        << command;
    EXPECT_EQ(f.world.processes.StartsOf("QueueMailer.exe"), 1) << "the sender is started before the test";
    EXPECT_TRUE(f.world.files.Has(R"(\x.vlmr-tmp)"));
    EXPECT_FALSE(f.world.files.Has(R"(\PelgrunDLLs.txt)"));
  }
}

/// Another instance that appears between the two tests.
class LateInstance : public platform::InstanceLock {
 public:
  bool PreviousInstance() override { return ++asked_ > 1; }

 private:
  int asked_ = 0;
};

TEST(Startup, HasASecondGuardBehindTheCommandLine) {
  Fixture f;
  LateInstance late;
  Startup startup(f.world.runtime, f.services, f.world.processes, late, f.world.form, f.world.notifier,
                  f.needs);
  startup.Form_Load("");
  EXPECT_EQ(f.world.LogMessages(),
            (Lines{"Loading: Initialize parameters", Banner(),
                   "Loading, Another previous instance existing, autokill the thread"}));
}

TEST(Startup, RemovesWhatAKilledRunLeftBehindTheInstanceTest) {
  for (const char* command : {"", "/DLLs"}) {
    Fixture f;
    f.world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip.vlmr-tmp)", "half");
    f.Load(command);
    EXPECT_FALSE(f.world.files.Has(R"(\ActiveUpdate\Pattern\vsapi.zip.vlmr-tmp)"));
  }
}

TEST(Startup, HangsUpBeforeANormalRunWhenDialUpIsOn) {
  for (const char* on : {"1", "True", "true", "2"}) {
    Fixture f;
    f.world.SetSetting("RAS", "Enable", on);
    f.Load();
    EXPECT_EQ(f.world.files.Text(R"(\Dialer.ini)"), "[RAS]\r\nDisconnect=1\r\n") << on;
  }
  Fixture f;
  f.world.SetSetting("RAS", "Enable", "False");
  f.Load();
  EXPECT_FALSE(f.world.files.Has(R"(\Dialer.ini)"));
}

TEST(CommandMp, AsksForThePatternMailWithVersion001) {
  for (const char* command : {"Mp", "  Mp ", "Mp   "}) {
    Fixture f;
    EXPECT_EQ(f.LoadAfterPreparation(command), (Lines{std::string("Command: [") + command + "]"}));
    EXPECT_EQ(f.world.notifier.mails,
              (std::vector<test::RecordingNotifier::Mail>{{MailSwitch::kPattern, "001"}}));
  }
}

TEST(CommandOpatch, ChecksThePublishedTreeThenAllProductsThenTheOfficeScanSet) {
  Fixture f;
  f.world.SetSetting("LOGS", "Level", "0");
  f.Load("OPATCH");
  EXPECT_EQ(f.world.LogMessages(),
            (Lines{"Loading: Initialize parameters", "Command: [OPATCH]",
                   "TestingFolder: Verify folders Start", "TestingFolder: Verify folders End"}));
  const Lines trace = test::Trace(f.world);
  EXPECT_EQ(Lines(trace.end() - 3, trace.end()),
            (Lines{"TestingFolder: Verify folders End", "<GetProducts>", "<GET_PRODUCTS_ByName>"}));
  EXPECT_EQ(f.world.files.FindFolder(f.world.At(R"(\ActiveUpdate\Source)")), "Source");
  EXPECT_EQ(f.world.files.FindFolder(f.world.At(R"(\TempDownload)")), "") << "no staging folders";
  EXPECT_EQ(f.world.files.FindFolder(f.world.At(R"(\Pattern)")), "");
}

TEST(CommandOpatch, GoesOnWithTheProductsWhenAFolderCannotBeMade) {
  Fixture f;
  f.world.files.Put(R"(\ActiveUpdate)", "a file in the folder's place");
  const Lines trace = f.Load("OPATCH");
  EXPECT_EQ(Lines(trace.end() - 3, trace.end()), (Lines{"Loading... Error number 75 Path/File access error",
                                                        "<GetProducts>", "<GET_PRODUCTS_ByName>"}));
}

TEST(CommandManu, RunsWithoutBannerAndWithoutHangingUp) {
  for (const char* command : {"MANU", "MANU   ", " MANU"}) {
    Fixture f;
    f.world.SetSetting("RAS", "Enable", "1");
    EXPECT_EQ(f.LoadAfterPreparation(command),
              (Lines{std::string("Command: [") + command + "]", "<StartingOperations>"}));
    EXPECT_FALSE(f.world.files.Has(R"(\Dialer.ini)"));
  }
}

TEST(CommandDlls, WritesTheDependencyReport) {
  Fixture f;
  EXPECT_EQ(f.LoadAfterPreparation("/DLLs"), Lines{"Command: [/DLLs]"});
  EXPECT_TRUE(f.world.files.Has(R"(\PelgrunDLLs.txt)"));
}

TEST(CommandProd, TakesTheLanguageFromTheFirstFieldAndTheNumberFromTheSecond) {
  Fixture f;
  EXPECT_EQ(f.LoadAfterPreparation("PRODx!3"),
            (Lines{"Command: [PRODx!3]", "Command: sTCom=[PROD]", "Command: [PROD] [x][3]",
                   "<VerifyProductByIndex 3 x>"}));
}

TEST(CommandProd, IgnoresFurtherFieldsAndBlanksAroundTheArgument) {
  Fixture f;
  EXPECT_EQ(f.LoadAfterPreparation("PROD  64!12!y  "),
            (Lines{"Command: [PROD  64!12!y  ]", "Command: sTCom=[PROD]", "Command: [PROD] [64][12]",
                   "<VerifyProductByIndex 12 64>"}));
}

TEST(CommandProd, LosesFourCharactersOfTheUntrimmedLine) {
  Fixture f;
  EXPECT_EQ(f.LoadAfterPreparation("  PRODx!3"),
            (Lines{"Command: [  PRODx!3]", "Command: sTCom=[PROD]", "Command: [PROD] [ODx][3]",
                   "<VerifyProductByIndex 3 ODx>"}));
}

TEST(CommandProd, WithoutASecondFieldReportsItTwiceAndChecksNothing) {
  for (const char* command : {"PROD", "PRODx", "PROD 3"}) {
    Fixture f;
    EXPECT_EQ(f.LoadAfterPreparation(command),
              (Lines{std::string("Command: [") + command + "]", "Command: sTCom=[PROD]",
                     "Loading... Error number 9 Subscript out of range",
                     "Loading... Error number 9 Subscript out of range"}));
  }
}

TEST(CommandProd, ReportsANumberThatIsNone) {
  Fixture text;
  EXPECT_EQ(text.LoadAfterPreparation("PRODx!y").back(), "Loading... Error number 13 Type mismatch");
  Fixture big;
  EXPECT_EQ(big.LoadAfterPreparation("PRODx!40000").back(), "Loading... Error number 6 Overflow");
}

TEST(Command, OfBlanksAloneIsLoggedAndEndsWithoutARun) {
  Fixture f;
  EXPECT_EQ(f.LoadAfterPreparation("   "), (Lines{"Command: [   ]", "Command: sTCom=[]"}));
}

TEST(Command, WordsInAnotherLetterCaseOrWithMoreBehindThemDoNothing) {
  for (const std::string command :
       {"MP", "mp", "manu", "Manu", "MANU x", "opatch", "/dlls", "/DLLS", "prodx!3", "Mp001", "help", "M"}) {
    Fixture f;
    EXPECT_EQ(f.LoadAfterPreparation(command),
              (Lines{"Command: [" + command + "]", "Command: sTCom=[" + command.substr(0, 4) + "]"}));
    EXPECT_TRUE(f.world.notifier.mails.empty());
    EXPECT_FALSE(f.world.files.Has(R"(\PelgrunDLLs.txt)"));
  }
}

}  // namespace
}  // namespace vlmr::core
