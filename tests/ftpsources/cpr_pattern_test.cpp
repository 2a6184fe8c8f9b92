#include "ftpsources/cpr_pattern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/number.h"
#include "core/version.h"
#include "ftpsources/archives.h"
#include "support/fake_ftp_client.h"
#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

using core::MailSwitch;
using Lines = std::vector<std::string>;
using Mails = std::vector<test::RecordingNotifier::Mail>;

class VirusListStandIn : public CprPattern::VirusList {
 public:
  std::string ReadVirusListFile(const std::string& whatsnew_path) override {
    asked.push_back(whatsnew_path);
    return count;
  }
  std::string count = "12";
  Lines asked;
};

class CprPatternTest : public testing::Test {
 protected:
  CprPatternTest() {
    world.SetSetting("FTP", "CprUrl", "ftp://ftp.velmora.example/products/pattern/cpr");
    world.SetSetting("FTP", "CprUsername", "mirror");
    world.SetSetting("FTP", "CprPassword", "secret");
    archive = ArchiveOf(world, {{"lpt$vpn.890", "the pattern"}});
    client.remote["lpt890.zip"] = archive;
    client.remote["whatsnew.txt"] = "news";
    Publish("1.890 v3");
  }

  void Publish(const std::string& pattern_version, const std::string& zip_file = "lpt890.zip") {
    client.remote["latest.ini"] =
        "[LatestPattern]\r\nPatternVersion=" + pattern_version +
        "\r\nPatternCreated= 05/03/2026 10:00 \r\nPatternSize=1\r\n[Zip]\r\nZipFile=" + zip_file +
        "\r\nZipCreated=05/03/2026 10:05\r\nZipSize=2\r\n";
  }
  void Hold(const std::string& pattern_version) {
    world.SetIni(kHeld, "LatestPattern", "PatternVersion", pattern_version);
  }
  void Run() { cpr.GET_CPR_PATTERN(); }
  bool Fetched(const std::string& name) const {
    return std::find(client.calls.begin(), client.calls.end(), "get " + name) != client.calls.end();
  }
  Lines ScratchFiles() { return world.files.List(world.At(R"(\CPR_Temp\*)")); }
  Lines PublishedFiles() { return world.files.List(world.At(R"(\ActiveUpdate\CPR\*)")); }

  static constexpr std::string_view kHeld = R"(\ActiveUpdate\CPR\latest.ini)";

  test::World world;
  test::FakeFtpClient client{world.files};
  transfer::ZIP zip{world.runtime};
  VirusListStandIn viruses;
  CprPattern cpr{world.runtime, world.helpers, client, zip, world.notifier, viruses};
  std::string archive;
};

TEST_F(CprPatternTest, AFirstFetchWritesThisLog) {
  Run();
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "GET_CPR_PATTERN: Starting... " + core::VersionText(),
                "GET_CPR_PATTERN: Switch to FTP Active mode...",
                "GET_CPR_PATTERN: FTP Username=mirror",
                "GET_CPR_PATTERN: FTP Password=secret",
                "GET_CPR_PATTERN: FtpServerName=ftp.velmora.example",
                "GET_CPR_PATTERN: Connecting...",
                "GET_CPR_PATTERN: Connected...",
                "GET_CPR_PATTERN: Attempting to read files into products/pattern/cpr folder",
                "GET_CPR_PATTERN: Creating CPR_Temp folder",
                "GET_CPR_PATTERN: Get latest.ini",
                "GET_CPR_PATTERN: -------------------------------",
                "GET_CPR_PATTERN: Pattern created at 05/03/2026 10:00 Zip created at 05/03/2026 10:05",
                "GET_CPR_PATTERN: DownloadedMasterVersion=1.890",
                "GET_CPR_PATTERN: DownloadedMasterBuild=3",
                "GET_CPR_PATTERN: StoredMasterVersion=0",
                "GET_CPR_PATTERN: StoredMasterBuild=0",
                "GET_CPR_PATTERN: -------------------------------",
                "GET_CPR_PATTERN: Get the latest CPR pattern",
                "GET_CPR_PATTERN: Try to get whatsnew.txt",
                "GET_CPR_PATTERN: Found 12 Viruses",
                "GET_CPR_PATTERN: Testing the new pattern downloaded",
                "GET_CPR_PATTERN: ZipSize=" + core::IntegerText(static_cast<std::int64_t>(archive.size())),
                "GET_CPR_PATTERN: Pattern Size=11",
                "GET_CPR_PATTERN: Creating New Latest.ini file and strucutre",
                R"(DeplaceFile: /app\CPR_Temp\lpt890.zip=>)",
                R"(DeplaceFile: Move /app\CPR_Temp\lpt890.zip=> to /app\ActiveUpdate\CPR\lpt890.zip)",
                "DeplaceFile: lngRetVal=1",
                R"(DeplaceFile: /app\CPR_Temp\whatsnew.txt=>)",
                R"(DeplaceFile: Move /app\CPR_Temp\whatsnew.txt=> to /app\ActiveUpdate\CPR\whatsnew.txt)",
                "DeplaceFile: lngRetVal=1",
                R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\latest.ini)",
                R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\lpt$vpn.890)",
            }));
}

TEST_F(CprPatternTest, AFetchPublishesArchiveNewsAndIndex) {
  Run();
  EXPECT_EQ(PublishedFiles(), (Lines{"latest.ini", "lpt890.zip", "whatsnew.txt"}));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\CPR\lpt890.zip)"), archive);
  EXPECT_EQ(
      world.files.Text(kHeld),
      "[LatestPattern]\r\nPatternVersion=1.890 v3\r\nPatternCreated=05/03/2026 10:00\r\nPatternSize=11\r\n"
      "[Zip]\r\nZipFile=lpt890.zip\r\nZipCreated=05/03/2026 10:05\r\nZipSize=" +
          core::IntegerText(static_cast<std::int64_t>(archive.size())) + "\r\n");
  EXPECT_EQ(ScratchFiles(), Lines{});
  EXPECT_EQ(world.notifier.mails,
            (Mails{{MailSwitch::kCpr, "1.890 Build 3 at 05/03/2026 10:00 12 new viruses added"}}));
  EXPECT_EQ(viruses.asked, Lines{world.At(R"(\CPR_Temp\whatsnew.txt)")});
}

TEST_F(CprPatternTest, ArchiveAndNewsAreInPlaceBeforeTheIndexIsWritten) {
  Hold("1.889 v1");
  // The first file of that name is the one that is fetched.
  world.files.Fail(test::MemoryFileSystem::Operation::kStage, "latest.ini", 61, /*nth=*/2);
  Run();
  EXPECT_EQ(PublishedFiles(), (Lines{"latest.ini", "lpt890.zip", "whatsnew.txt"}));
  EXPECT_EQ(world.GetIni(kHeld, "LatestPattern", "PatternVersion"), "1.889 v1");
}

TEST_F(CprPatternTest, TheIndexIsReplacedOnce) {
  Run();
  const auto& written = world.files.files_written;
  EXPECT_EQ(std::count(written.begin(), written.end(), world.At(kHeld)), 1);
}

TEST_F(CprPatternTest, EqualVersionsAndBuildsFetchNothingAndCleanTheScratchFolder) {
  Hold("1.890 v3");
  world.files.Put(R"(\CPR_Temp\left.zip)", "x");
  Run();
  EXPECT_EQ(world.LogMessages("GET_CPR_PATTERN: No"), Lines{"GET_CPR_PATTERN: No new Pattern found, End"});
  EXPECT_FALSE(Fetched("lpt890.zip"));
  EXPECT_EQ(ScratchFiles(), Lines{});
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST_F(CprPatternTest, AGreaterBuildOfTheSameVersionIsFetched) {
  Hold("1.890 v2");
  Run();
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: Get the latest CPR pattern for new Build"));
  EXPECT_EQ(world.GetIni(kHeld, "LatestPattern", "PatternVersion"), "1.890 v3");
}

TEST_F(CprPatternTest, VersionsAndBuildsAreComparedAsText) {
  struct Row {
    std::string held, published;
    bool newer;
  };
  const std::vector<Row> rows = {
      {"9.100 v1", "10.100 v1", false},  // a version that begins with 10 is below one that begins with 9
      {"10.100 v1", "9.100 v1", true},  {"1.890 v9", "1.890 v10", false},  // build 10 is below build 9
      {"1.890 v10", "1.890 v9", true},  {"1.890 v3", "1.889 v4", false},
      {"1.890", "1.890", false},        {"1.890", "1.890 v1", true},
  };
  for (const Row& row : rows) {
    Hold(row.held);
    Publish(row.published);
    client.calls.clear();
    Run();
    EXPECT_EQ(Fetched("lpt890.zip"), row.newer) << row.held << " " << row.published;
  }
}

TEST_F(CprPatternTest, AVersionWithoutBuildIsFetchedOnceAndNotAgain) {
  Publish("1.890");
  Run();
  EXPECT_EQ(world.GetIni(kHeld, "LatestPattern", "PatternVersion"), "1.890 v0");
  client.calls.clear();
  Run();
  EXPECT_FALSE(Fetched("lpt890.zip"));
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: No new Pattern found, End"));
}

TEST_F(CprPatternTest, WithoutAHeldIndexAVersionAtOrBelowZeroIsNotFetched) {
  Publish("0 v0");
  Run();
  EXPECT_FALSE(Fetched("lpt890.zip"));
  Publish("");
  Run();
  EXPECT_FALSE(Fetched("lpt890.zip"));
}

TEST_F(CprPatternTest, AFailedConnectionEndsIt) {
  client.connect_result = {530, "Login incorrect."};
  Run();
  EXPECT_EQ(world.LogMessages().back(), "GET_CPR_PATTERN: Error connecting 530 => Login incorrect.");
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST_F(CprPatternTest, AFailedListingAndAnEmptyFolderAreTreatedAlike) {
  const std::string line =
      "GET_CPR_PATTERN: Cannot list files, try to change the PASSIVE mode or verify the FTP address";
  client.list_result = {550, "no such folder"};
  Run();
  EXPECT_EQ(world.LogMessages().back(), line);
  world.ClearLog();
  client.list_result = {};
  client.remote.clear();
  Run();
  EXPECT_EQ(world.LogMessages().back(), line);
  EXPECT_TRUE(world.files.FindFolder(world.At(R"(\CPR_Temp)")).empty());
}

TEST_F(CprPatternTest, AListingWithoutTheIndexInItsOwnSpellingEndsIt) {
  client.remote["LATEST.INI"] = client.remote["latest.ini"];
  client.remote.erase("latest.ini");
  Run();
  EXPECT_EQ(world.LogMessages().back(), "GET_CPR_PATTERN: Cannot Browse Latest.ini file, verify FTP address");
}

TEST_F(CprPatternTest, TheListingIsSearchedForTheIndexAsAPartOfANameToo) {
  client.remote["old-latest.ini"] = client.remote["latest.ini"];
  client.remote.erase("latest.ini");
  Run();
  EXPECT_EQ(world.LogMessages().back(), "GET_CPR_PATTERN: Error connecting 550 => no such file");
}

TEST_F(CprPatternTest, AFailedIndexEndsItWithoutAMailAndLeavesTheHeldOne) {
  Hold("1.889 v1");
  world.files.Put(R"(\CPR_Temp\whatsnew.txt)", "old news");
  world.files.Fail(test::MemoryFileSystem::Operation::kStage, "latest.ini", 61);
  Run();
  EXPECT_EQ(world.LogMessages().back(), "GET_CPR_PATTERN: Error connecting 61 => Disk full");
  EXPECT_TRUE(world.notifier.mails.empty());
  EXPECT_EQ(ScratchFiles(), Lines{"whatsnew.txt"});
  EXPECT_EQ(world.GetIni(kHeld, "LatestPattern", "PatternVersion"), "1.889 v1");
}

TEST_F(CprPatternTest, AFailedArchiveIsReportedAndTheScratchFolderLeftAsItIs) {
  client.remote.erase("lpt890.zip");
  Run();
  const std::string line = "GET_CPR_PATTERN: Error connecting 550 => no such file";
  EXPECT_EQ(world.LogMessages().back(), line);
  EXPECT_EQ(world.notifier.mails, (Mails{{MailSwitch::kError, line}}));
  EXPECT_EQ(ScratchFiles(), Lines{"latest.ini"});
  EXPECT_EQ(PublishedFiles(), Lines{});
}

TEST_F(CprPatternTest, MissingNewsDoNotStopIt) {
  client.remote.erase("whatsnew.txt");
  viruses.count = "Whatsnew inexistant !";
  Run();
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: Unable to get WhatsNew.txt file.. continue processing"));
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: Found Whatsnew inexistant ! Viruses"));
  EXPECT_EQ(PublishedFiles(), (Lines{"latest.ini", "lpt890.zip"}));
  EXPECT_EQ(world.notifier.mails,
            (Mails{{MailSwitch::kCpr,
                    "1.890 Build 3 at 05/03/2026 10:00 Whatsnew inexistant ! new viruses added"}}));
}

TEST_F(CprPatternTest, NewsOfAnEarlierRunCountWhenNoneCome) {
  client.remote.erase("whatsnew.txt");
  world.files.Put(R"(\CPR_Temp\whatsnew.txt)", "old news");
  Run();
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\CPR\whatsnew.txt)"), "old news");
}

TEST_F(CprPatternTest, ACorruptedArchiveIsReportedAndCleanedAway) {
  client.remote["lpt890.zip"] = "no archive";
  Run();
  const std::string line = "GET_CPR_PATTERN: Error the zip file is corrupted";
  EXPECT_TRUE(world.Logged(line));
  EXPECT_EQ(world.notifier.mails, (Mails{{MailSwitch::kError, line}}));
  EXPECT_EQ(ScratchFiles(), Lines{"whatsnew.txt"});
  EXPECT_EQ(PublishedFiles(), Lines{});
}

TEST_F(CprPatternTest, AnArchiveWithoutAPatternIsTreatedAsCorrupted) {
  client.remote["lpt890.zip"] = ArchiveOf(world, {{"readme.txt", "no pattern"}});
  Run();
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: Error the zip file is corrupted"));
  EXPECT_EQ(PublishedFiles(), Lines{});
  EXPECT_EQ(ScratchFiles(), (Lines{"readme.txt", "whatsnew.txt"}));
}

TEST_F(CprPatternTest, AnUnsafeArchiveNameIsRefused) {
  for (const std::string name : {"..\\..\\evil.zip", "../evil.zip", "/evil.zip", "C:evil.zip", "NUL"}) {
    Publish("1.890 v3", name);
    world.notifier.mails.clear();
    Run();
    EXPECT_TRUE(world.LogMessages().back().starts_with("GET_CPR_PATTERN: Error connecting ")) << name;
    EXPECT_EQ(world.notifier.mails.size(), 1U) << name;
    EXPECT_FALSE(Fetched(name)) << name;
    EXPECT_EQ(PublishedFiles(), Lines{}) << name;
  }
}

TEST_F(CprPatternTest, AnIndexWithoutAnArchiveNameIsAFailedFetch) {
  Publish("1.890 v3", "");
  Run();
  EXPECT_TRUE(world.LogMessages().back().starts_with("GET_CPR_PATTERN: Error connecting "));
  EXPECT_EQ(PublishedFiles(), Lines{});
}

TEST_F(CprPatternTest, AScratchFolderOfAnyCaseIsUsed) {
  world.files.Put(R"(\Cpr_Temp\old.zip)", "x");
  Run();
  EXPECT_FALSE(world.Logged("GET_CPR_PATTERN: Creating CPR_Temp folder"));
  const Lines folders = world.files.Folders();
  EXPECT_EQ(std::count(folders.begin(), folders.end(), R"(\CPR_Temp)"), 0);
  EXPECT_EQ(PublishedFiles().size(), 3U);
}

TEST_F(CprPatternTest, AScratchFolderThatCannotBeMadeIsLogged) {
  world.files.Put(R"(\CPR_Temp)", "a file of that name");
  Run();
  EXPECT_TRUE(world.Logged("GET_CPR_PATTERN: Error 75 Path/File access error"));
}

TEST_F(CprPatternTest, ItWorksWithoutThePublishedTree) {
  EXPECT_TRUE(world.files.FindFolder(world.At(R"(\ActiveUpdate)")).empty());
  Run();
  EXPECT_EQ(PublishedFiles().size(), 3U);
}

TEST_F(CprPatternTest, ThePreviousArchiveOfThatNameIsReplaced) {
  world.files.Put(R"(\ActiveUpdate\CPR\lpt890.zip)", "old");
  Run();
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\CPR\lpt890.zip)"), archive);
  EXPECT_TRUE(world.Logged(R"(DeplaceFile: Kill /app\ActiveUpdate\CPR\lpt890.zip)"));
}

TEST_F(CprPatternTest, CleaningTakesIndexesThenArchivesThenPatternsAndLeavesTexts) {
  for (const std::string name : {"lpt$vpn.890", "b.zip", "a.ini", "A.ZIP", "whatsnew.txt"}) {
    world.files.Put(R"(\CPR_Temp\)" + name, "x");
  }
  cpr.DeleteCprTempFiles();
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\a.ini)",
                                     R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\A.ZIP)",
                                     R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\b.zip)",
                                     R"(DeleteCprTempFiles: Kill file : /app\CPR_Temp\lpt$vpn.890)",
                                 }));
  EXPECT_EQ(ScratchFiles(), Lines{"whatsnew.txt"});
}

TEST_F(CprPatternTest, CleaningGoesOnAfterAFileThatCannotBeDeleted) {
  world.files.Put(R"(\CPR_Temp\a.zip)", "x");
  world.files.Put(R"(\CPR_Temp\b.zip)", "x");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "a.zip", 70);
  cpr.DeleteCprTempFiles();
  EXPECT_EQ(ScratchFiles(), Lines{"a.zip"});
  EXPECT_TRUE(world.Logged("DeleteCprTempFiles: Error 70 Permission denied"));
}

}  // namespace
}  // namespace vlmr::ftpsources
