#include "index/update_session.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/number.h"
#include "core/version.h"
#include "index/index_world.h"
#include "platform/runtime_error.h"

namespace vlmr::index {
namespace {

using core::MailSwitch;
using test::IndexWorld;
using Messages = std::vector<std::string>;

/// Plays the jobs of higher floors: each call becomes a line "JOB ..." of the log, between the lines of the
/// pass itself.
struct RecordingJobs : UpdateSession::Jobs {
  explicit RecordingJobs(test::World& ground) : world(ground) {}

  void DownloadOnlyFirstPattern() override { Note("DownloadOnlyFirstPattern"); }
  void GetAllIncrement() override { Note("GetAllIncrement"); }
  bool GetSingleIncrement() override {
    Note("GetSingleIncrement");
    return single_increment_found;
  }
  bool PatchVsapI() override {
    Note("PatchVsapI");
    return pattern_built;
  }
  void DownloadWhatsNew() override { Note("DownloadWhatsNew"); }
  void DeleteOldIncrementFiles(const std::string& keep) override { Note("DeleteOldIncrementFiles " + keep); }
  void ReadPatternVirusList() override { Note("ReadPatternVirusList"); }
  bool GetAuxiliaryPattern(AuxiliaryPattern pattern) override {
    Note("GetAuxiliaryPattern " + AuxiliaryKey(pattern));
    if (AuxiliaryKey(pattern) == failing_key) throw platform::RuntimeError(5);
    return auxiliary_updated;
  }

  void Note(const std::string& call) const { world.log.WriteLog("JOB " + call); }

  test::World& world;
  bool single_increment_found = false;
  bool pattern_built = false;
  bool auxiliary_updated = true;
  std::string failing_key;
};

/// Mails become lines "MAIL switch text".
struct LoggingNotifier : core::Notifier {
  explicit LoggingNotifier(test::World& ground) : world(ground) {}
  void PrepareMail(MailSwitch event, const std::string& version) override {
    world.log.WriteLog("MAIL " + core::IntegerText(static_cast<int>(event)) + " " + version);
  }
  test::World& world;
};

struct UpdateSessionTest : testing::Test, IndexWorld {
  UpdateSessionTest() {
    downloader.on_request = [this](const std::string& url) { log.WriteLog("GET " + url); };
    Serve("101");
    files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "archive");
  }

  /// The service's index, with this pattern version.
  void Serve(const std::string& version) {
    Offer("server.ini", "; 1\r\n[Common]\r\nVersion=1\r\n; 4\r\n; 5\r\n; 6\r\n[PATTERN]\r\nVersion=" +
                            version + "\r\nPath_Combine=Pattern/vsapi.zip,9\r\n");
  }
  void HoldPattern(const std::string& version) { Stored("[PATTERN]\r\nVersion=" + version + "\r\n"); }
  void TurnOn(std::string_view key) { SetSetting("SOURCES", key, "1"); }
  void Run() { session.StartActiveUpdate(); }

  /// What the pass decided and did: its own lines without the head, jobs, requests, mails, the first product
  /// of each set, the first line of each procedure of this floor.
  Messages Flow() const {
    Messages flow;
    for (const std::string& message : LogMessages()) {
      const auto begins = [&](std::string_view text) { return message.starts_with(text); };
      const bool head = begins("StartActiveUpdate: Version ") || message == "StartActiveUpdate: Start" ||
                        begins("StartActiveUpdate: Download update file") ||
                        begins("StartActiveUpdate: Get ") || begins("StartActiveUpdate: Save:");
      if (begins("JOB ") || begins("GET ") || begins("MAIL ") || (begins("StartActiveUpdate:") && !head)) {
        flow.push_back(message);
      } else if (begins("VerifyProductByIndex: Verify product number [6] [Lang: 64]")) {
        flow.emplace_back("OfficeScan set");
      } else if (begins("VerifyProductByIndex: Verify product number [57] [Lang: 1]")) {
        flow.emplace_back("ServerProtect set");
      } else if (begins("VerifyProductByIndex: Verify product number [3] [Lang: 1]")) {
        flow.emplace_back("SMEX set");
      } else if (message.ends_with(": ---------- ENGINES ---------------")) {
        flow.push_back(message.substr(0, message.find(':')));
      } else if (begins("GetEngines: IniTemp=")) {
        flow.emplace_back("GetEngines");
      } else if (begins("GetProducts:SourceVer=")) {
        flow.emplace_back("GetProducts");
      } else if (begins("CreatingNewPatternServerIni: Testing if")) {
        flow.emplace_back("CreatingNewPatternServerIni");
      }
    }
    return flow;
  }

  RecordingJobs jobs{*this};
  LoggingNotifier mails{*this};
  ScanEngines logged_engines{runtime, fetch, mails};
  EnginesReduce logged_reduced_engines{runtime, fetch, mails};
  UpdateSession session{runtime,
                        {.fetch = fetch,
                         .readers = readers,
                         .writer = writer,
                         .engines = logged_engines,
                         .reduced_engines = logged_reduced_engines,
                         .products = products},
                        mails,
                        jobs};
};

const char* const kGetIndex = "GET http://service/au/server.ini";
const char* const kReduceOff = "StartActiveUpdate: Reduce OfficeScan is Disabled";
const char* const kCheck = "StartActiveUpdate: Start Check Pattern updates";
const char* const kTerminating =
    "StartActiveUpdate: Reduce Products was activate, Terminating now the internet requests";
const char* const kAllIncrements = "StartActiveUpdate: Reduce Pattern is disabled, Get all increment Pattern";
const char* const kPatchFailed = "StartActiveUpdate: PatchVsapi=FALSE !";
const char* const kGetArchive = "GET http://service/au/Pattern/vsapi.zip";

std::string Versions(const std::string& stored, const std::string& fresh) {
  return "StartActiveUpdate: Pattern Stored version= [" + stored + "] Pattern version on ActiveUpdate=[" +
         fresh + "]";
}

TEST_F(UpdateSessionTest, PassBeginsWithVersionBothTreesAndTheIndex) {
  downloader.Fail("http://service/au/server.ini");
  Run();
  EXPECT_EQ(LogMessages(), (Messages{
                               "StartActiveUpdate: Version VlMr " + core::VersionText(),
                               "TestingFolder: Verify folders Start",
                               "TestingFolder: Verify folders End",
                               "TestingFolder: Verify folders Start",
                               "TestingFolder: Verify folders End",
                               "StartActiveUpdate: Start",
                               "StartActiveUpdate: Download update file: server.ini",
                               "StartActiveUpdate: Get http://service/au/server.ini",
                               R"(StartActiveUpdate: Save:  /app\TempDownload\ActiveUpdate\server.ini)",
                               kGetIndex,
                               "StartActiveUpdate: End with errors",
                           }));
  EXPECT_FALSE(files.FindFolder(At(R"(\ActiveUpdate\Source)")).empty());
  EXPECT_FALSE(files.FindFolder(At(R"(\TempDownload\ActiveUpdate\Product)")).empty());
}

TEST_F(UpdateSessionTest, DisabledPassStillMakesTheTreesAndDeletesTheMailFile) {
  SetSetting("SOURCES", "EnableActiveUpdate", "0");
  files.Put(R"(\mail.ini)", "old");
  Run();
  const Messages all = LogMessages();
  EXPECT_EQ(all.at(0), "StartActiveUpdate: Version VlMr " + core::VersionText());
  const Messages tail(all.end() - 2, all.end());
  EXPECT_EQ(tail, (Messages{R"(StartActiveUpdate: Delete /app\mail.ini)",
                            "StartActiveUpdate:This function is disabled, Aborting..."}));
  EXPECT_FALSE(files.Has(R"(\mail.ini)"));
  EXPECT_FALSE(files.FindFolder(At(R"(\TempDownload\ActiveUpdate\Engine)")).empty());
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(UpdateSessionTest, AnyOtherNumberThanZeroEnablesThePass) {
  for (const char* value : {"2", "-1", "1"}) {
    downloader.requests.clear();
    SetSetting("SOURCES", "EnableActiveUpdate", value);
    Run();
    EXPECT_FALSE(downloader.requests.empty()) << value;
  }
}

TEST_F(UpdateSessionTest, SwitchThatIsNoNumberIsReportedAndOff) {
  SetSetting("SOURCES", "EnableActiveUpdate", "yes");
  Run();
  EXPECT_EQ(Flow(), (Messages{"StartActiveUpdate: Error 13 Type mismatch",
                              "StartActiveUpdate:This function is disabled, Aborting..."}));
}

TEST_F(UpdateSessionTest, TreeThatCannotBeMadeIsReportedAndTheOtherIsChecked) {
  files.Remove(R"(\ActiveUpdate)");
  files.Put(R"(\ActiveUpdate)", "a file");
  Run();
  EXPECT_TRUE(Logged("StartActiveUpdate: Error 75 Path/File access error"));
  EXPECT_EQ(LogMessages("TestingFolder: Verify folders End").size(), 1U);
  EXPECT_FALSE(files.FindFolder(At(R"(\TempDownload\ActiveUpdate\Engine)")).empty());
}

TEST_F(UpdateSessionTest, MailFileThatCannotBeDeletedIsReportedAndThePassGoesOn) {
  files.Put(R"(\mail.ini)", "old");
  files.Fail(test::MemoryFileSystem::Operation::kDelete, "mail.ini", 70);
  Run();
  EXPECT_TRUE(Logged("StartActiveUpdate: Error 70 Permission denied"));
  EXPECT_EQ(downloader.RequestsOf("http://service/au/server.ini"), 1);
}

TEST_F(UpdateSessionTest, NewerPatternIsBuiltFromIncrementsAndMailed) {
  HoldPattern("100");
  jobs.pattern_built = true;
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck, Versions("100", "101"),
                              kAllIncrements, "JOB GetAllIncrement", "JOB PatchVsapI", "JOB DownloadWhatsNew",
                              "CreatingNewPatternServerIni", "JOB DeleteOldIncrementFiles 101",
                              "JOB ReadPatternVirusList", "MAIL 1 101"}));
  EXPECT_TRUE(state.NewPatternFound());
  EXPECT_EQ(state.NewPatternText(), "101");
}

TEST_F(UpdateSessionTest, FullArchiveFollowsWhenNothingCouldBeBuilt) {
  HoldPattern("100");
  Offer("Pattern/vsapi.zip", "new archive");
  Run();
  EXPECT_EQ(Flow(),
            (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck, Versions("100", "101"), kAllIncrements,
                      "JOB GetAllIncrement", "JOB PatchVsapI", kPatchFailed, kGetArchive,
                      "JOB DownloadWhatsNew", "CreatingNewPatternServerIni", "JOB RefreshPatternFolder",
                      "JOB DeleteOldIncrementFiles 101", "JOB ReadPatternVirusList", "MAIL 1 101"}));
  EXPECT_EQ(downloader.requests.at(1).local_file, R"(/app\TempDownload\ActiveUpdate\Pattern\vsapi.zip)");
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Pattern\vsapi.zip)"), "new archive");
  EXPECT_EQ(StoredValue("PATTERN", "Path_VSAPI"), "Pattern/vsapi.zip,11");
}

TEST_F(UpdateSessionTest, FailedFullArchiveIsLoggedAndTheNewVersionIsWrittenAndMailedAllTheSame) {
  HoldPattern("100");
  Run();
  EXPECT_TRUE(Logged("StartActiveUpdate: Error to download Pattern/vsapi.zip"));
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "101");
  EXPECT_EQ(Flow().back(), "MAIL 1 101");
}

TEST_F(UpdateSessionTest, EqualVersionWithTheArchivePresentDoesNoPatternWorkAndTheRestRuns) {
  HoldPattern("101");
  TurnOn("Engines");
  TurnOn("Products");
  TurnOn("OPP");
  downloader.Serve("http://eps/au/server.ini", "[PATTERN]\r\nP.20=Pattern/opp.zip,5,1\r\n");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck, Versions("101", "101"),
                              "StartActiveUpdate: Tests Dir Local vsapi.zip=vsapi.zip",
                              "JOB DeleteOldIncrementFiles 101", "GetEngines", "GetProducts",
                              "GET http://eps/au/server.ini", "JOB GetAuxiliaryPattern P.20", "MAIL 4 "}));
}

TEST_F(UpdateSessionTest, EqualVersionWithTheArchiveMissingWorksWithoutAMail) {
  HoldPattern("101");
  files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  jobs.pattern_built = true;
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck, Versions("101", "101"),
                              "StartActiveUpdate: Tests Dir Local vsapi.zip=", kAllIncrements,
                              "JOB GetAllIncrement", "JOB PatchVsapI", "JOB DownloadWhatsNew",
                              "CreatingNewPatternServerIni", "JOB DeleteOldIncrementFiles 101"}));
  EXPECT_FALSE(state.NewPatternFound());
}

TEST_F(UpdateSessionTest, LowerVersionOnTheServiceRemovesNothing) {
  HoldPattern("102");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck, Versions("102", "101"),
                              "StartActiveUpdate: Tests Dir Local vsapi.zip=vsapi.zip",
                              "JOB DeleteOldIncrementFiles 101"}));
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "102");
  EXPECT_TRUE(files.Has(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
}

TEST_F(UpdateSessionTest, VersionsAreComparedAsSinglePrecisionNumbers) {
  HoldPattern("1.10");
  Serve("1.1");
  Run();
  EXPECT_TRUE(Logged(Versions("1.1", "1.1")));
  EXPECT_FALSE(Logged(kAllIncrements));
  HoldPattern("99");
  Serve("100");
  Run();
  EXPECT_TRUE(Logged(kAllIncrements)) << "100 is more than 99 though it is less as text";
}

TEST_F(UpdateSessionTest, FirstPassOfAnEmptyMirrorTakesThePatternPath) {
  files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  Offer("Pattern/vsapi.zip", "archive");
  Run();
  EXPECT_TRUE(Logged(Versions("0", "101")));
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "101");
  EXPECT_EQ(Flow().back(), "MAIL 1 101");
}

TEST_F(UpdateSessionTest, ErrorPageInsteadOfAnIndexRequestsNoBareBase) {
  Offer("server.ini", "<html>busy</html>");
  files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  Run();
  EXPECT_TRUE(Logged(Versions("0", "0")));
  EXPECT_TRUE(Logged("StartActiveUpdate: Error to download "));
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/server.ini"}));
}

TEST_F(UpdateSessionTest, FreshVersionThatIsNoNumberIsReportedAndStaysEmpty) {
  HoldPattern("100");
  Serve("abc");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "OfficeScan set", kCheck,
                              "StartActiveUpdate: Error 13 Type mismatch", Versions("100", ""),
                              "StartActiveUpdate: Tests Dir Local vsapi.zip=vsapi.zip",
                              "JOB DeleteOldIncrementFiles "}));
}

TEST_F(UpdateSessionTest, ArchivePathWithoutACommaIsReportedAndCountsAsAFailedDownload) {
  Offer("server.ini", "[PATTERN]\r\nVersion=101\r\nPath_Combine=nocomma\r\n");
  Run();
  EXPECT_TRUE(Logged("StartActiveUpdate: Error 5 Invalid procedure call or argument"));
  EXPECT_TRUE(Logged("StartActiveUpdate: Error to download "));
}

TEST_F(UpdateSessionTest, ArchivePathThatLeavesTheStagingTreeIsRefused) {
  Offer("server.ini", "[PATTERN]\r\nVersion=101\r\nPath_Combine=../../x.zip,9\r\n");
  Run();
  EXPECT_TRUE(Logged("StartActiveUpdate: Error to download ../../x.zip"));
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/server.ini"}));
}

TEST_F(UpdateSessionTest, ServerProtectModeEndsThePassAfterItsSet) {
  TurnOn("OnlySP");
  TurnOn("Engines");
  TurnOn("Products");
  TurnOn("OPP");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, "JOB DownloadOnlyFirstPattern", "GET_ENGINES_REDUCE_I386",
                              "GET_ENGINES_REDUCE_NTKD", "GET_ENGINES_REDUCE_NW", "ServerProtect set",
                              kReduceOff, kTerminating}));
}

const char* const kOfficeScanOn = "StartActiveUpdate: reduce OfficeScan is enabled start reduce function";
const char* const kSetTwice =
    "StartActiveUpdate: reduce OfficeScan's products is enabled start GET_PRODUCTS_ByName function";
const char* const kSetOnce = "StartActiveUpdate: reduce OfficeScan's products is Disabled";

TEST_F(UpdateSessionTest, OfficeScanModeRunsItsSetOnce) {
  TurnOn("OfficeScanOnly");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kOfficeScanOn, "JOB DownloadOnlyFirstPattern", "GET_ENGINES_REDUCE",
                              "OfficeScan set", kSetOnce, kTerminating}));
}

TEST_F(UpdateSessionTest, OfficeScanModeRunsItsSetTwiceWithReduceOfficeScanProducts) {
  TurnOn("OfficeScanOnly");
  TurnOn("ReduceOfficeScanProducts");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kOfficeScanOn, "JOB DownloadOnlyFirstPattern", "GET_ENGINES_REDUCE",
                              "OfficeScan set", kSetTwice, "OfficeScan set", kTerminating}));
}

TEST_F(UpdateSessionTest, SmexModeFetchesOneEngineAndItsSet) {
  TurnOn("OnlySMEX");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, kReduceOff, "JOB DownloadOnlyFirstPattern",
                              "GET_ENGINES_REDUCE_I386", "SMEX set", kTerminating}));
}

TEST_F(UpdateSessionTest, SeveralReducedModesFetchTheFirstPatternOnce) {
  TurnOn("OnlySP");
  TurnOn("OfficeScanOnly");
  TurnOn("OnlySMEX");
  Run();
  EXPECT_EQ(Flow(), (Messages{kGetIndex, "JOB DownloadOnlyFirstPattern", "GET_ENGINES_REDUCE_I386",
                              "GET_ENGINES_REDUCE_NTKD", "GET_ENGINES_REDUCE_NW", "ServerProtect set",
                              kOfficeScanOn, "GET_ENGINES_REDUCE", "OfficeScan set", kSetOnce,
                              "GET_ENGINES_REDUCE_I386", "SMEX set", kTerminating}));
}

TEST_F(UpdateSessionTest, OfficeScanAndSmexModesFetchTheFirstPatternOnce) {
  TurnOn("OfficeScanOnly");
  TurnOn("OnlySMEX");
  Run();
  EXPECT_EQ(LogMessages("JOB DownloadOnlyFirstPattern").size(), 1U);
  EXPECT_EQ(Flow().back(), kTerminating);
}

TEST_F(UpdateSessionTest, NoMailFollowsAReducedModeThoughProductsWereFetched) {
  TurnOn("OnlySP");
  Offer("server.ini",
        "[All_Product]\r\nProduct.1=1,5\r\n[Info_1_1_05000_1]\r\nVersion=1\r\nUpdate_Path=u.zip,1\r\n"
        "Path=f.zip,1\r\n");
  Offer("u.zip", "update");
  Run();
  EXPECT_NE(state.ProductUpdates(), "");
  EXPECT_TRUE(LogMessages("MAIL ").empty());
}

TEST_F(UpdateSessionTest, ReducedSwitchThatIsNoNumberIsReportedAndOff) {
  HoldPattern("101");
  SetSetting("SOURCES", "OnlySP", "x");
  SetSetting("SOURCES", "OnlySMEX", "2");
  Run();
  EXPECT_EQ(Flow().at(1), "StartActiveUpdate: Error 13 Type mismatch");
  EXPECT_TRUE(LogMessages("JOB DownloadOnlyFirstPattern").empty());
}

TEST_F(UpdateSessionTest, OfficeScanModeTurnedOnDuringThePassTakesTheSingleIncrement) {
  HoldPattern("100");
  Serve("101");
  // The first file of the OfficeScan set comes behind the reduced modes and before the pattern.
  Offer("server.ini",
        "[PATTERN]\r\nVersion=101\r\nPath_Combine=Pattern/vsapi.zip,9\r\n[All_Product]\r\nProduct.6=6,5\r\n"
        "[Info_6_64_05000_1]\r\nVersion=1\r\nUpdate_Path=u.zip,1\r\nPath=f.zip,1\r\n");
  downloader.on_request = [this](const std::string& url) {
    if (url.ends_with("u.zip")) TurnOn("OfficeScanOnly");
  };
  jobs.single_increment_found = true;
  Run();
  EXPECT_EQ(LogMessages("JOB "), (Messages{"JOB GetSingleIncrement", "JOB PatchVsapI", "JOB DownloadWhatsNew",
                                           "JOB DeleteOldIncrementFiles 101", "JOB ReadPatternVirusList"}));
  EXPECT_EQ(downloader.RequestsOf("http://service/au/Pattern/vsapi.zip"), 0);

  HoldPattern("100");
  SetSetting("SOURCES", "OfficeScanOnly", "0");
  jobs.single_increment_found = false;
  ClearLog();
  Run();
  EXPECT_EQ(LogMessages("JOB ").at(0), "JOB GetSingleIncrement");
  EXPECT_EQ(LogMessages("JOB PatchVsapI").size(), 0U);
  EXPECT_EQ(downloader.RequestsOf("http://service/au/Pattern/vsapi.zip"), 1);
}

TEST_F(UpdateSessionTest, AuxiliaryPatternsFetchTheSecondIndexEachAndMailTheMirrorsVersions) {
  Stored(
      "[PATTERN]\r\nVersion=101\r\nP.10=m.zip,10.1,1\r\nP.20=o.zip,20.1,1\r\nP.40=s.zip,40.1,1\r\n"
      "P.80=r.zip,80.1,1\r\n");
  for (const char* key : {"OPP", "MPP", "SPAM", "Alerts"}) TurnOn(key);
  downloader.Serve("http://eps/au/server.ini", "second index");
  Run();
  const Messages flow = Flow();
  const Messages tail(flow.begin() + 7, flow.end());
  const std::string get = "GET http://eps/au/server.ini";
  EXPECT_EQ(tail,
            (Messages{get, "JOB GetAuxiliaryPattern P.20", "MAIL 4 20.1", get, "JOB GetAuxiliaryPattern P.10",
                      "MAIL 6 10.1", get, "JOB GetAuxiliaryPattern P.40", "MAIL 7 40.1", get,
                      "JOB GetAuxiliaryPattern P.80", "MAIL 8 80.1"}));
  EXPECT_EQ(files.Text(R"(\TempDownload\ActiveUpdate\server.ini)"), "second index");
}

TEST_F(UpdateSessionTest, AuxiliaryPatternThatWasNotUpdatedIsNotMailed) {
  HoldPattern("101");
  TurnOn("SPAM");
  downloader.Serve("http://eps/au/server.ini", "second index");
  jobs.auxiliary_updated = false;
  Run();
  EXPECT_EQ(Flow().back(), "JOB GetAuxiliaryPattern P.40");
}

TEST_F(UpdateSessionTest, FailedSecondIndexSkipsItsPatternSilently) {
  HoldPattern("101");
  TurnOn("OPP");
  TurnOn("MPP");
  Run();
  const Messages flow = Flow();
  const Messages tail(flow.begin() + 7, flow.end());
  EXPECT_EQ(tail, (Messages{"GET http://eps/au/server.ini", "GET http://eps/au/server.ini"}));
}

TEST_F(UpdateSessionTest, ErrorInAnAuxiliaryPatternIsReportedWithoutAMailAndTheNextFollows) {
  HoldPattern("101");
  for (const char* key : {"MPP", "SPAM", "Alerts"}) TurnOn(key);
  downloader.Serve("http://eps/au/server.ini", "second index");
  jobs.failing_key = "P.10";
  Run();
  const Messages flow = Flow();
  const Messages tail(flow.begin() + 7, flow.end());
  const std::string get = "GET http://eps/au/server.ini";
  EXPECT_EQ(tail, (Messages{get, "JOB GetAuxiliaryPattern P.10",
                            "StartActiveUpdate: Error 5 Invalid procedure call or argument", get,
                            "JOB GetAuxiliaryPattern P.40", "MAIL 7 ", get, "JOB GetAuxiliaryPattern P.80",
                            "MAIL 8 "}));
}

TEST_F(UpdateSessionTest, ProductUpdatesAreMailedBehindThePattern) {
  HoldPattern("100");
  jobs.pattern_built = true;
  Offer("server.ini",
        "[PATTERN]\r\nVersion=101\r\n[All_Product]\r\nProduct.6=6,5\r\n[Info_6_1_05000_1]\r\nVersion=1\r\n"
        "Update_Path=u.zip,1\r\nPath=f.zip,1\r\n");
  Offer("u.zip", "update");
  Run();
  EXPECT_EQ(LogMessages("MAIL ").at(0), "MAIL 1 101");
  EXPECT_EQ(LogMessages("MAIL ").at(1), "MAIL 9 [1] New Product downloaded u.zip");
}

TEST_F(UpdateSessionTest, PassThatTransfersNothingEndsNormally) {
  downloader.transfers_nothing = true;
  files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  Run();
  EXPECT_FALSE(Logged("StartActiveUpdate: End with errors"));
  EXPECT_EQ(Flow().back(), "JOB DeleteOldIncrementFiles 0");
}

}  // namespace
}  // namespace vlmr::index
