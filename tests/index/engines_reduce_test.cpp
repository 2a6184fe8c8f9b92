#include "index/engines_reduce.h"

#include <gtest/gtest.h>

#include "index/index_world.h"

namespace vlmr::index {
namespace {

using core::MailSwitch;
using test::IndexWorld;
using Messages = std::vector<std::string>;
using Mails = std::vector<test::RecordingNotifier::Mail>;

struct EnginesReduceTest : testing::Test, IndexWorld {};

const char* const kService =
    "[ENGINE]\r\nPath_VSAPI32_VXD=Engine/vxd.zip, 6.1, 1\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 6.2, 1\r\n"
    "Path_VSAPI32_NT_KD=Engine/kd.zip, 6.3, 1\r\nPath_VSAPI32_NLM=Engine/nlm.zip, 6.4, 1\r\n";

TEST_F(EnginesReduceTest, NewerEngineGoesStraightIntoTheMirrorAndItsLogIsWhole) {
  Fresh(kService);
  Stored("[ENGINE]\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 6.0, 1\r\n");
  Offer("Engine/nt.zip", "engine");
  reduced_engines.GET_ENGINES_REDUCE_I386();
  EXPECT_EQ(LogMessages(), (Messages{
                               "GET_ENGINES_REDUCE_I386: ---------- ENGINES ---------------",
                               "GET_ENGINES_REDUCE_I386: Local NT: 6.0",
                               "GET_ENGINES_REDUCE_I386: Remote NT: 6.2",
                               "GET_ENGINES_REDUCE_I386: ----------------------------------",
                               "GET_ENGINES_REDUCE_I386: Get Engines for Scan NT",
                           }));
  ASSERT_EQ(downloader.requests.size(), 1U);
  EXPECT_EQ(downloader.requests[0].url, "http://service/au/Engine/nt.zip");
  EXPECT_EQ(downloader.requests[0].local_file, R"(/app\ActiveUpdate\Engine\nt.zip)") << "no staging";
  EXPECT_EQ(StoredValue("ENGINE", "Path_VSAPI32_NT_I386"), "Engine/nt.zip, 6.2, 6");
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngine, "NT 6.2"}}));
}

TEST_F(EnginesReduceTest, SingleProceduresDifferInKeyAndTextsOnly) {
  struct Case {
    void (EnginesReduce::*run)();
    const char* url;
    Messages log;
    const char* mail;
  };
  const std::vector<Case> cases{
      {&EnginesReduce::GET_ENGINES_REDUCE_NTKD,
       "http://service/au/Engine/kd.zip",
       {"GET_ENGINES_REDUCE_NTKD: ---------- ENGINES ---------------",
        "GET_ENGINES_REDUCE_NTKD: Local NTKD: 0", "GET_ENGINES_REDUCE_NTKD: Remote NTKD: 6.3",
        "GET_ENGINES_REDUCE_NTKD: ----------------------------------",
        "GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NTKD",
        "GET_ENGINES_REDUCE_NTKD: unable to Get Engines for Scan NTKD"},
       "NT 6.3"},
      {&EnginesReduce::GET_ENGINES_REDUCE_NW,
       "http://service/au/Engine/nlm.zip",
       {"GET_ENGINES_REDUCE_NW: ---------- ENGINES ---------------",
        "GET_ENGINES_REDUCE_NW: Local Netware: 0", "GET_ENGINES_REDUCE_NW: Remote Netware: 6.4",
        "GET_ENGINES_REDUCE_NW: ----------------------------------",
        "GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NW",
        "GET_ENGINES_REDUCE_NTKD: unable to Get Engines for Scan Netware"},
       "NT 6.4"},
      {&EnginesReduce::GET_ENGINES_REDUCE_I386,
       "http://service/au/Engine/nt.zip",
       {"GET_ENGINES_REDUCE_I386: ---------- ENGINES ---------------", "GET_ENGINES_REDUCE_I386: Local NT: 0",
        "GET_ENGINES_REDUCE_I386: Remote NT: 6.2",
        "GET_ENGINES_REDUCE_I386: ----------------------------------",
        "GET_ENGINES_REDUCE_I386: Get Engines for Scan NT",
        "GET_ENGINES_REDUCE_I386: unable to Get Engines for Scan NT"},
       "NT 6.2"},
  };
  Fresh(kService);
  for (const Case& c : cases) {
    ClearLog();
    downloader.requests.clear();
    downloader.Fail(c.url);
    (reduced_engines.*c.run)();
    EXPECT_EQ(LogMessages(), c.log);
    EXPECT_EQ(downloader.Urls(), (Messages{c.url}));
    EXPECT_TRUE(notifier.mails.empty());
    downloader.Serve(c.url, "engine");
    (reduced_engines.*c.run)();
    EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngine, c.mail}}));
    notifier.mails.clear();
  }
}

TEST_F(EnginesReduceTest, OfficeScanSetReadsAllPairsFirstAndTakesTheNetwareEngineFromTheNtKdKey) {
  Fresh(kService);
  Stored("[ENGINE]\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 6.9, 1\r\n");
  for (const char* file : {"vxd", "nt", "kd", "nlm"}) Offer("Engine/" + std::string(file) + ".zip", "engine");
  reduced_engines.GET_ENGINES_REDUCE();
  EXPECT_EQ(LogMessages(),
            (Messages{
                "GET_ENGINES_REDUCE: ---------- ENGINES ---------------",
                "GET_ENGINES_REDUCE: Local VXD: 0",
                "GET_ENGINES_REDUCE: Local NT: 6.9",
                "GET_ENGINES_REDUCE: Local NTKD: 0",
                "GET_ENGINES_REDUCE: Local NW: 0",
                "GET_ENGINES_REDUCE: Remote VXD: 6.1",
                "GET_ENGINES_REDUCE: Remote NT: 6.2",
                "GET_ENGINES_REDUCE: Remote NTKD: 6.3",
                "GET_ENGINES_REDUCE: Remote NW: 6.3",
                "GET_ENGINES_REDUCE: ----------------------------------",
                "GET_ENGINES_REDUCE: Get Engines for 95/Me/98",
                "GET_ENGINES_REDUCE: No new engines found... Abort the process for Manual Scans NT ",
                "GET_ENGINES_REDUCE: Get Engines for RealTime Scan NT",
                "GET_ENGINES_REDUCE: Get Engines for RealTime Scan Netware",
            }));
  EXPECT_EQ(downloader.Urls(),
            (Messages{"http://service/au/Engine/vxd.zip", "http://service/au/Engine/kd.zip",
                      "http://service/au/Engine/kd.zip"}));
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngine, "95 6.1"},
                                   {MailSwitch::kScanEngine, "NTKD 6.3"},
                                   {MailSwitch::kScanEngine, "NLM 6.3"}}));
  EXPECT_FALSE(core::IniDocument(StoredText()).HasKey("ENGINE", "Path_VSAPI32_NLM"));
}

TEST_F(EnginesReduceTest, OfficeScanSetSaysForEachEngineThatNothingIsNew) {
  Fresh(kService);
  Stored(kService);
  reduced_engines.GET_ENGINES_REDUCE();
  const Messages all = LogMessages();
  const Messages tail(all.begin() + 10, all.end());
  EXPECT_EQ(
      tail,
      (Messages{
          "GET_ENGINES_REDUCE: No new engines found... Abort the process for 95/98/Me ",
          "GET_ENGINES_REDUCE: No new engines found... Abort the process for Manual Scans NT ",
          "GET_ENGINES_REDUCE: No new engines found... Abort the process for Realtime Scans NT ",
          "GET_ENGINES_REDUCE: No new engines found... Abort the process for Realtime Scans for Netware ",
      }));
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(EnginesReduceTest, OfficeScanSetGoesOnBehindFailedFetches) {
  Fresh(kService);
  reduced_engines.GET_ENGINES_REDUCE();
  EXPECT_EQ(LogMessages("GET_ENGINES_REDUCE: unable"),
            (Messages{"GET_ENGINES_REDUCE: unable to Get Engines for 95/Me/98",
                      "GET_ENGINES_REDUCE: unable to Get Engines for Manuals Scan NT",
                      "GET_ENGINES_REDUCE: unable to Get Engines for RealTime Scan NT",
                      "GET_ENGINES_REDUCE: unable to Get Engines for RealTime Scan Netware"}));
}

TEST_F(EnginesReduceTest, SingleProcedureIsSilentBehindItsBlockWhenNothingIsNew) {
  Fresh(kService);
  Stored(kService);
  reduced_engines.GET_ENGINES_REDUCE_NW();
  EXPECT_EQ(LogMessages().size(), 4U);
}

TEST_F(EnginesReduceTest, WithoutAFreshIndexNothingIsDone) {
  reduced_engines.GET_ENGINES_REDUCE();
  reduced_engines.GET_ENGINES_REDUCE_I386();
  reduced_engines.GET_ENGINES_REDUCE_NTKD();
  reduced_engines.GET_ENGINES_REDUCE_NW();
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(EnginesReduceTest, MissingFileIsNotNoticedWhenVersionsAreEqual) {
  Fresh(kService);
  Stored(kService);
  reduced_engines.GET_ENGINES_REDUCE_I386();
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(EnginesReduceTest, VersionsCompareAsTextAndAreTrimmed) {
  Fresh("[ENGINE]\r\nPath_VSAPI32_NT_I386=Engine/nt.zip,  10.0  , 1\r\n");
  Stored("[ENGINE]\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 9.0 , 1\r\n");
  reduced_engines.GET_ENGINES_REDUCE_I386();
  EXPECT_TRUE(Logged("GET_ENGINES_REDUCE_I386: Local NT: 9.0"));
  EXPECT_TRUE(Logged("GET_ENGINES_REDUCE_I386: Remote NT: 10.0"));
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(EnginesReduceTest, FailedFetchHasDeletedTheOldEngineAndTheNextRunTriesAgain) {
  Fresh(kService);
  Stored("[ENGINE]\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 6.0, 3\r\n");
  files.Put(R"(\ActiveUpdate\Engine\nt.zip)", "old");
  reduced_engines.GET_ENGINES_REDUCE_I386();
  EXPECT_FALSE(files.Has(R"(\ActiveUpdate\Engine\nt.zip)"));
  EXPECT_EQ(StoredValue("ENGINE", "Path_VSAPI32_NT_I386"), "Engine/nt.zip, 6.0, 3");
  reduced_engines.GET_ENGINES_REDUCE_I386();
  EXPECT_EQ(downloader.requests.size(), 2U);
}

TEST_F(EnginesReduceTest, ErrorInTheOfficeScanSetIsLoggedAndMailedAndTheNextEngineFollows) {
  Fresh("[ENGINE]\r\nPath_VSAPI32_VXD=nocomma\r\nPath_VSAPI32_NT_I386=Engine/nt.zip, 6.2, 1\r\n");
  Offer("Engine/nt.zip", "engine");
  reduced_engines.GET_ENGINES_REDUCE();
  const std::string text = "GET_ENGINES_REDUCE: Error found 5 Invalid procedure call or argument";
  EXPECT_EQ(LogMessages("GET_ENGINES_REDUCE: Error"), (Messages{text}));
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kError, text}, {MailSwitch::kScanEngine, "NT 6.2"}}));
}

TEST_F(EnginesReduceTest, FileThatIsNotThereBehindADownloadIsAnErrorAndTheEntryStays) {
  Fresh(kService);
  Stored(kService);
  SetIni(R"(\ActiveUpdate\server.ini)", "ENGINE", "Path_VSAPI32_NT_I386", "Engine/nt.zip, 6.0, 3");
  downloader.transfers_nothing = true;
  reduced_engines.GET_ENGINES_REDUCE();
  const std::string text = "GET_ENGINES_REDUCE: Error found 53 File not found";
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kError, text}}));
  EXPECT_EQ(StoredValue("ENGINE", "Path_VSAPI32_NT_I386"), "Engine/nt.zip, 6.0, 3");
}

TEST_F(EnginesReduceTest, ErrorInASingleProcedureIsLoggedInItsOwnNameWithoutAMail) {
  Fresh("[ENGINE]\r\nPath_VSAPI32_NLM=nocomma\r\n");
  reduced_engines.GET_ENGINES_REDUCE_NW();
  EXPECT_EQ(LogMessages(), (Messages{"GET_ENGINES_REDUCE_NW: Error 5 Invalid procedure call or argument"}));
  EXPECT_TRUE(notifier.mails.empty());
}

TEST_F(EnginesReduceTest, EmptyPathOfANewerVersionIsAFailedFetchWithoutARequest) {
  Fresh("[ENGINE]\r\nPath_VSAPI32_NLM=,7.0,1\r\n");
  reduced_engines.GET_ENGINES_REDUCE_NW();
  EXPECT_TRUE(Logged("GET_ENGINES_REDUCE_NTKD: unable to Get Engines for Scan Netware"));
  EXPECT_TRUE(downloader.requests.empty());
}

}  // namespace
}  // namespace vlmr::index
