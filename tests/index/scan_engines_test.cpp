#include "index/scan_engines.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "index/index_world.h"

namespace vlmr::index {
namespace {

using core::MailSwitch;
using test::IndexWorld;
using Messages = std::vector<std::string>;
using Mails = std::vector<test::RecordingNotifier::Mail>;

const std::string kKey = "Path_VSAPI32_NT_I386";

struct ScanEnginesTest : testing::Test, IndexWorld {
  void Check(const std::string& key = kKey) {
    engines.Checkengine(paths.FreshIndex(), paths.StoredIndex(), key);
  }
  void FreshEntry(const std::string& value) { Fresh("[ENGINE]\r\n" + kKey + "=" + value + "\r\n"); }
  void StoredEntry(const std::string& value) { Stored("[ENGINE]\r\n" + kKey + "=" + value + "\r\n"); }
};

TEST_F(ScanEnginesTest, NewerEngineIsMirroredAndItsLogIsWhole) {
  FreshEntry("Engine/nt/i386.zip, 6.510.1002, 99");
  StoredEntry("Engine/nt/i386.zip, 6.430.1000, 3");
  files.Put(R"(\ActiveUpdate\Engine\nt\i386.zip)", "old");
  Offer("Engine/nt/i386.zip", "engine");
  Check();
  EXPECT_EQ(
      LogMessages(),
      (Messages{
          "Checkengine: Path_VSAPI32_NT_I386 on Temp =Engine/nt/i386.zip, 6.510.1002, 99",
          "Checkengine: Path_VSAPI32_NT_I386 on Store =Engine/nt/i386.zip, 6.430.1000, 3",
          "Checkengine: -------------------------",
          "Checkengine: Version on store =6.510.1002",
          "Checkengine: Version on Temp =6.510.1002",
          "Checkengine: -------------------------",
          R"(Checkengine: Check if exist= /app\ActiveUpdate\Engine\nt\i386.zip)",
          "Checkengine: Tests=i386.zip",
          "Checkengine: Download=http://service/au/Engine/nt/i386.zip",
          R"(Checkengine: Check if exist= /app\TempDownload\ActiveUpdate\Engine\nt\i386.zip)",
          "Checkengine: Tests=i386.zip",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Engine\nt\i386.zip=>i386.zip)",
          R"(DeplaceFile: Kill /app\ActiveUpdate\Engine\nt\i386.zip)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Engine\nt\i386.zip=> to /app\ActiveUpdate\Engine\nt\i386.zip)",
          "DeplaceFile: lngRetVal=1",
          R"(Checkengine: Check=/app\ActiveUpdate\Engine\nt\i386.zip)",
          "Checkengine: Tests=i386.zip",
          "Checkengine: WriteINI=Engine/nt/i386.zip, 6.510.1002, 6",
      }));
  EXPECT_EQ(StoredValue("ENGINE", kKey), "Engine/nt/i386.zip, 6.510.1002, 6")
      << "the length of the file itself";
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Engine\nt\i386.zip)"), "engine");
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngineByCheck, kKey + "=>6.510.1002"}}));
}

TEST_F(ScanEnginesTest, EngineWhoseFileIsMissingIsFetchedAgainThoughVersionsAreEqual) {
  FreshEntry("Engine/a.zip, 6.5, 6");
  StoredEntry("Engine/a.zip, 6.5, 6");
  Offer("Engine/a.zip", "engine");
  Check();
  EXPECT_TRUE(files.Has(R"(\ActiveUpdate\Engine\a.zip)"));
  EXPECT_EQ(notifier.mails.size(), 1U);
}

TEST_F(ScanEnginesTest, EngineThatIsPresentAndNotNewerIsLeftAlone) {
  FreshEntry("Engine/a.zip, 6.5, 6");
  StoredEntry("Engine/a.zip, 6.5, 6");
  files.Put(R"(\ActiveUpdate\Engine\a.zip)", "engine");
  Check();
  EXPECT_EQ(LogMessages().back(), "Checkengine: Tests=a.zip");
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(ScanEnginesTest, VersionsCompareAsText) {
  struct Case {
    const char* fresh;
    const char* stored;
    bool fetched;
  };
  for (const Case& c : {Case{"10.0", "9.0", false}, Case{"9.0", "10.0", true},
                        Case{"6.510.999", "6.510.1002", true}, Case{"6.5", "6.5", false}}) {
    files.Put(R"(\ActiveUpdate\Engine\a.zip)", "engine");
    FreshEntry("Engine/a.zip, " + std::string(c.fresh) + ", 6");
    StoredEntry("Engine/a.zip, " + std::string(c.stored) + ", 6");
    downloader.requests.clear();
    Check();
    EXPECT_EQ(!downloader.requests.empty(), c.fetched) << c.fresh << " against " << c.stored;
  }
}

TEST_F(ScanEnginesTest, KeyThatTheServiceDoesNotListStopsAfterItsFirstLines) {
  Fresh("[ENGINE]\r\n");
  Stored("[ENGINE]\r\nx=y\r\n");
  Check();
  EXPECT_EQ(LogMessages(), (Messages{
                               "Checkengine: Path_VSAPI32_NT_I386 on Temp =",
                               "Checkengine: Path_VSAPI32_NT_I386 on Store =",
                               "Checkengine: -------------------------",
                               "Checkengine: Version on store =0",
                               "Checkengine: Version on Temp =0",
                               "Checkengine: -------------------------",
                               R"(Checkengine: Check if exist= /app\ActiveUpdate\)",
                               "Checkengine: Tests=",
                           }));
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_TRUE(notifier.mails.empty());
  EXPECT_EQ(StoredText(), "[ENGINE]\r\nx=y\r\n");
}

TEST_F(ScanEnginesTest, FailedDownloadStopsTheEngineWithoutAnyOtherEffect) {
  FreshEntry("Engine/a.zip, 6.5, 6");
  StoredEntry("Engine/a.zip, 6.4, 6");
  files.Put(R"(\ActiveUpdate\Engine\a.zip)", "old");
  Check();
  EXPECT_EQ(LogMessages().back(), "Checkengine: Download=http://service/au/Engine/a.zip");
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Engine\a.zip)"), "old");
  EXPECT_EQ(StoredValue("ENGINE", kKey), "Engine/a.zip, 6.4, 6");
  EXPECT_TRUE(notifier.mails.empty());
}

TEST_F(ScanEnginesTest, DownloadThatLeavesNoFileStopsAtTheCheck) {
  FreshEntry("Engine/a.zip, 6.5, 6");
  downloader.transfers_nothing = true;
  Check();
  const Messages all = LogMessages();
  const Messages tail(all.end() - 2, all.end());
  EXPECT_EQ(tail, (Messages{R"(Checkengine: Check if exist= /app\TempDownload\ActiveUpdate\Engine\a.zip)",
                            "Checkengine: Tests="}));
}

TEST_F(ScanEnginesTest, FailedMoveStopsAtTheSecondCheck) {
  FreshEntry("Engine/a.zip, 6.5, 6");
  Offer("Engine/a.zip", "engine");
  files.Fail(test::MemoryFileSystem::Operation::kMove, "a.zip", 70);
  Check();
  const Messages all = LogMessages();
  const Messages tail(all.end() - 2, all.end());
  EXPECT_EQ(tail, (Messages{R"(Checkengine: Check=/app\ActiveUpdate\Engine\a.zip)", "Checkengine: Tests="}));
  EXPECT_FALSE(files.Has(R"(\ActiveUpdate\server.ini)"));
}

TEST_F(ScanEnginesTest, PathThatLeavesTheMirrorIsRefused) {
  FreshEntry("../a.zip, 6.5, 6");
  Check();
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_EQ(LogMessages("ServiceFetch: Refused path [../a.zip]: ").size(), 1U);
}

TEST_F(ScanEnginesTest, EntryWithoutACommaIsLoggedAndTheNextEngineFollows) {
  Fresh("[ENGINE]\r\n" + kKey + "=nocomma\r\nPath_VSAPI32_VXD=Engine/vxd.zip, 1, 3\r\n");
  Offer("Engine/vxd.zip", "vxd");
  engines.GetEngines();
  EXPECT_EQ(LogMessages("Checkengine: Error"),
            (Messages{"Checkengine: Error 5 Invalid procedure call or argument"}));
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngineByCheck, "Path_VSAPI32_VXD=>1"}}));
}

TEST_F(ScanEnginesTest, MailBeginsWithABreakMarkWhileEarlierEnginesWait) {
  SetIni(R"(\Mail.ini)", "EMAIL-UPDATES", "EngineVersion", "something");
  FreshEntry("Engine/a.zip, 6.5, 6");
  Offer("Engine/a.zip", "engine");
  Check();
  EXPECT_EQ(notifier.mails, (Mails{{MailSwitch::kScanEngineByCheck, "%CRLF% -" + kKey + "=>6.5"}}));
}

TEST_F(ScanEnginesTest, AllTwelveEnginesAreCheckedInTheirOrderWithAMailEach) {
  const Messages keys{
      "Path_VSAPI32_NT_I386",       "Path_VSAPI32_VXD",   "Path_VSAPI32_NT_KD", "Path_VSAPI32_NLM",
      "Path_VSAPI32_SOLARIS_SPARC", "Path_VSAPI32_HPUX",  "Path_VSAPI32_LINUX", "Path_VSAPI16",
      "Path_PREVSAPI32_95",         "Path_PREVSAPI32_NT", "Path_PREVSAPI16",    "Path_VSAPI_MIPS"};
  std::string index = "[ENGINE]\r\n";
  Mails expected;
  for (const std::string& key : keys) {
    index += key + "=Engine/" + key + ".zip, 7.0, 1\r\n";
    Offer("Engine/" + key + ".zip", "bytes");
    expected.emplace_back(MailSwitch::kScanEngineByCheck, key + "=>7.0");
  }
  Fresh(index);
  files.files_written.clear();
  engines.GetEngines();
  const Messages all = LogMessages();
  EXPECT_EQ(all[0], R"(GetEngines: IniTemp=/app\TempDownload\ActiveUpdate\server.ini)");
  EXPECT_EQ(all[1], R"(GetEngines: IniStore=/app\ActiveUpdate\server.ini)");
  EXPECT_EQ(notifier.mails, expected);
  EXPECT_EQ(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 1);
  EXPECT_EQ(StoredValue("ENGINE", "Path_VSAPI_MIPS"), "Engine/Path_VSAPI_MIPS.zip, 7.0, 5");
}

}  // namespace
}  // namespace vlmr::index
