#include "ftpsources/intelligent_ftp.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/number.h"
#include "core/version.h"
#include "ftpsources/archives.h"
#include "ftpsources/held_pattern_stand_in.h"
#include "support/fake_ftp_client.h"
#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

using core::MailSwitch;
using Lines = std::vector<std::string>;
using Mails = std::vector<test::RecordingNotifier::Mail>;

class IntelligentFtpTest : public testing::Test {
 protected:
  IntelligentFtpTest() {
    world.SetSetting("FTP", "IntelligentTarget", "ftp://share.velmora.example/mirrors");
    world.SetSetting("FTP", "IntelligentUsername", "mirror");
    world.SetSetting("FTP", "IntelligentPassword", "secret");
    world.files.Put(R"(\Pattern\lpt$vpn.101)", "pattern 101");
    world.files.PutFolder(R"(\ActiveUpdate\Pattern)");
  }
  void Run() { intelligent.StartIntelligentFTP(); }
  Lines Opening() const {
    return {
        "StartIntelligentFTP: Starting... " + core::VersionText(),
        "StartIntelligentFTP: FTP Username=mirror",
        "StartIntelligentFTP: FTP Password=secret",
        "StartIntelligentFTP: FtpServerName=share.velmora.example",
        "StartIntelligentFTP: Connecting...",
        "StartIntelligentFTP: Connected...",
        "StartIntelligentFTP: Attempting to read Pattern files into mirrors folder",
    };
  }
  Lines WithOpening(const Lines& rest) const {
    Lines lines = Opening();
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
  }

  test::World world;
  test::FakeFtpClient client{world.files};
  transfer::ZIP zip{world.runtime};
  HeldPatternStandIn held{"101"};
  IntelligentFtp intelligent{world.runtime, client, zip, world.notifier, held};
};

TEST_F(IntelligentFtpTest, AnUploadWritesThisLog) {
  client.remote["lpt$vpn.100"] = "pattern 100";
  Run();
  EXPECT_EQ(world.LogMessages(), WithOpening({
                                     "GetLastPatternFromList: Found 1 Pattern Files",
                                     "GetLastPatternFromList: Found 100 Pattern version",
                                     "StartIntelligentFTP: Last Pattern version found on FTP folder= 100",
                                     "StartIntelligentFTP: Try to put last pattern to remote folder",
                                 }));
  EXPECT_EQ(client.calls.back(), "put lpt$vpn.101");
  EXPECT_EQ(client.remote["lpt$vpn.101"], "pattern 101");
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST_F(IntelligentFtpTest, ADownloadWritesThisLog) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  Run();
  EXPECT_EQ(world.LogMessages(),
            WithOpening({
                "GetLastPatternFromList: Found 1 Pattern Files",
                "GetLastPatternFromList: Found 102 Pattern version",
                "StartIntelligentFTP: Last Pattern version found on FTP folder= 102",
                "StartIntelligentFTP: Try to Get last pattern from remote folder",
                R"(StartIntelligentFTP: Zip /app\Pattern\lpt$vpn.102 To /app\ActiveUpdate\Pattern\vsapi.zip)",
                "StartIntelligentFTP: Writing server.ini file",
            }));
}

TEST_F(IntelligentFtpTest, ADownloadPublishesArchiveAndIndexAndMails) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "old archive");
  world.files.Put(R"(\ActiveUpdate\server.ini)", "[PATTERN]\r\nVersion=101\r\nMergeCount=5\r\nP.2=x\r\n");
  Run();
  const std::string archive = world.files.Text(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  const std::string size = core::IntegerText(static_cast<std::int64_t>(archive.size()));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\server.ini)"),
            "[PATTERN]\r\nVersion=102\r\nMergeCount=0\r\nP.2=x\r\nPath_Combine=Pattern/vsapi.zip," + size +
                "\r\nPath_VSAPI=Pattern/vsapi.zip," + size + "\r\n");
  EXPECT_EQ(world.notifier.mails, (Mails{{MailSwitch::kPattern, "[Intelligent FTP Function]102"}}));
  EXPECT_TRUE(zip.DezipFiles(world.At(R"(\ActiveUpdate\Pattern\vsapi.zip)"), world.At(R"(\look)"), "", ""));
  EXPECT_EQ(world.files.Text(R"(\look\lpt$vpn.102)"), "pattern 102");
  EXPECT_TRUE(world.LogMessages("CreatingNewPatternServerIni:").empty());
}

TEST_F(IntelligentFtpTest, TheOldArchiveStaysUntilTheNewOneTakesItsPlace) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "old archive");
  Run();
  EXPECT_EQ(world.files.files_deleted, Lines{world.At(R"(\Exchange.pending)")});
}

TEST_F(IntelligentFtpTest, APatternThatAKilledRunFetchedButDidNotPublishIsFetchedAnew) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  world.files.Put(R"(\Exchange.pending)", "102");
  world.files.Put(R"(\Pattern\lpt$vpn.102)", "fetched by a killed run");
  Run();
  EXPECT_EQ(world.files.Text(R"(\Pattern\lpt$vpn.102)"), "pattern 102");
  EXPECT_TRUE(world.files.Has(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
  EXPECT_FALSE(world.files.Has(R"(\Exchange.pending)"));
}

TEST_F(IntelligentFtpTest, AnIndexThatCouldNotBeWrittenIsWrittenByTheNextRun) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  world.files.Put(R"(\ActiveUpdate\server.ini)", "[PATTERN]\r\nVersion=101\r\n");
  world.files.Fail(test::MemoryFileSystem::Operation::kCommit, "server.ini", 61);
  Run();
  EXPECT_EQ(world.files.Text(R"(\Exchange.pending)"), "102");
  EXPECT_EQ(world.GetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "Version"), "101");
  world.files.FailNothing();
  held.version = "102";
  Run();
  EXPECT_EQ(world.GetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "Version"), "102");
  EXPECT_FALSE(world.files.Has(R"(\Exchange.pending)"));
}

TEST_F(IntelligentFtpTest, AMarkOfAKilledRunThatNamesNoPatternDeletesNothing) {
  world.files.Put(R"(\Exchange.pending)", "/../../VLMR.ini");
  client.remote["lpt$vpn.101"] = "pattern 101";
  Run();
  EXPECT_TRUE(world.files.Has(R"(\VLMR.ini)"));
  EXPECT_FALSE(world.files.Has(R"(\Exchange.pending)"));
}

TEST_F(IntelligentFtpTest, TheIndexIsReplacedOnce) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  Run();
  int replaced = 0;
  for (const std::string& file : world.files.files_written) {
    if (file == world.paths.StoredIndex()) ++replaced;
  }
  EXPECT_EQ(replaced, 1);
}

TEST_F(IntelligentFtpTest, EqualVersionsDoNothing) {
  client.remote["lpt$vpn.101"] = "pattern 101";
  Run();
  EXPECT_EQ(world.LogMessages().back(), "StartIntelligentFTP: No new Pattern found..Aborting");
  EXPECT_EQ(client.calls.back(), "list mirrors");
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST_F(IntelligentFtpTest, AnEmptySharedFolderGetsTheHeldPattern) {
  Run();
  EXPECT_EQ(world.LogMessages(), WithOpening({
                                     "GetLastPatternFromList: Nothing is stored into the target server",
                                     "StartIntelligentFTP: Last Pattern version found on FTP folder= ",
                                     "StartIntelligentFTP: Try to put last pattern to remote folder",
                                 }));
  EXPECT_EQ(client.remote["lpt$vpn.101"], "pattern 101");
}

TEST_F(IntelligentFtpTest, AFailedListingStopsItWithoutAnUpload) {
  client.list_result = {550, "no such folder"};
  Run();
  EXPECT_EQ(world.LogMessages(),
            WithOpening({"StartIntelligentFTP: Error connecting 550 => no such folder"}));
}

TEST_F(IntelligentFtpTest, AFailedConnectionStopsIt) {
  client.connect_result = {530, "Login incorrect."};
  Run();
  EXPECT_EQ(world.LogMessages().back(), "StartIntelligentFTP: Error connecting 530 => Login incorrect.");
}

TEST_F(IntelligentFtpTest, PassiveModeIsLoggedAndActiveModeIsNot) {
  world.SetSetting("FTP", "IntelligentPassive", "1");
  Run();
  EXPECT_EQ(world.LogMessages()[1], "StartIntelligentFTP: Switch to FTP passive mode...");
  EXPECT_EQ(client.calls.front(), "passive");
  world.ClearLog();
  world.SetSetting("FTP", "IntelligentPassive", "0");
  Run();
  EXPECT_TRUE(world.LogMessages("StartIntelligentFTP: Switch").empty());
}

TEST_F(IntelligentFtpTest, TheGatewayOfTheOtherCallersIsNotUsed) {
  world.SetSetting("FTP", "CprProxy", "1");
  Run();
  EXPECT_EQ(client.calls[1], "proxy ");
}

TEST_F(IntelligentFtpTest, WithoutAHeldPatternAndARemoteOneTheUploadFindsNothing) {
  held.version = "0";
  Run();
  EXPECT_EQ(world.LogMessages().back(), R"(StartIntelligentFTP: ERROR TO FIND /app\Pattern\lpt$vpn.0)");
  EXPECT_EQ(client.calls.back(), "list mirrors");
}

TEST_F(IntelligentFtpTest, WithoutAHeldPatternAnyRemoteOneIsDownloaded) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  for (const std::string version : {"0", ""}) {
    held.version = version;
    client.calls.clear();
    Run();
    EXPECT_EQ(client.calls.back(), "get lpt$vpn.102") << version;
  }
}

TEST_F(IntelligentFtpTest, VersionsAreComparedAsText) {
  held.version = "99";
  world.files.Put(R"(\Pattern\lpt$vpn.99)", "pattern 99");
  client.remote["lpt$vpn.100"] = "pattern 100";
  Run();
  EXPECT_EQ(client.calls.back(), "put lpt$vpn.99");
}

TEST_F(IntelligentFtpTest, AFailedUploadIsLoggedAndLeavesBothSidesAsTheyWere) {
  client.put_result = {552, "quota"};
  Run();
  EXPECT_EQ(world.LogMessages().back(), "StartIntelligentFTP: Error connecting 552 => quota");
  EXPECT_TRUE(client.remote.empty());
  EXPECT_EQ(world.files.Text(R"(\Pattern\lpt$vpn.101)"), "pattern 101");
}

TEST_F(IntelligentFtpTest, AFailedDownloadTouchesNothing) {
  client.remote["LPT$VPN.102"] = "the fake serves exact names only";
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "old archive");
  Run();
  EXPECT_EQ(world.LogMessages().back(), "StartIntelligentFTP: Error connecting 550 => no such file");
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Pattern\vsapi.zip)"), "old archive");
  EXPECT_FALSE(world.files.Has(R"(\ActiveUpdate\server.ini)"));
}

TEST_F(IntelligentFtpTest, AVersionThatMakesNoFileNameIsRefused) {
  client.remote["lpt$vpn.z/."] = "x";
  Run();
  EXPECT_TRUE(world.LogMessages().back().starts_with("StartIntelligentFTP: Error connecting "));
  EXPECT_EQ(client.calls.back(), "list mirrors");
}

TEST_F(IntelligentFtpTest, ADownloadThatCannotBePackedIsDeletedAgain) {
  client.remote["lpt$vpn.102"] = "pattern 102";
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "old archive");
  world.files.Fail(test::MemoryFileSystem::Operation::kStage, "vsapi.zip", 61);
  Run();
  EXPECT_EQ(world.LogMessages().back(), "StartIntelligentFTP: Error to compress");
  EXPECT_FALSE(world.files.Has(R"(\Pattern\lpt$vpn.102)"));
  EXPECT_FALSE(world.files.Has(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
  EXPECT_FALSE(world.files.Has(R"(\ActiveUpdate\server.ini)"));
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST_F(IntelligentFtpTest, ThePatternListKeepsTheGreatestVersionAsText) {
  EXPECT_EQ(intelligent.GetLastPatternFromList("lpt$vpn.099;readme.txt;lpt$vpn.101;lpt$vpn.100"), "101");
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "GetLastPatternFromList: Found 3 Pattern Files",
                                     "GetLastPatternFromList: Found 099 Pattern version",
                                     "GetLastPatternFromList: Found 101 Pattern version",
                                 }));
}

TEST_F(IntelligentFtpTest, ThePatternListCountsNamesInUpperCase) {
  EXPECT_EQ(intelligent.GetLastPatternFromList("LPT$VPN.101;Lpt$Vpn.abc"), "ABC");
}

TEST_F(IntelligentFtpTest, ThePatternListCountsThreeCharactersUpToTheSeparator) {
  EXPECT_EQ(intelligent.GetLastPatternFromList(
                "lpt$vpn.9;lpt$vpn.99;lpt$vpn.;lpt$vpn.1015;x-lpt$vpn.100;lpt$vpn.9"),
            "101");
  EXPECT_EQ(world.LogMessages().front(), "GetLastPatternFromList: Found 2 Pattern Files");
}

TEST_F(IntelligentFtpTest, AnEmptyPatternListHasNoVersion) {
  EXPECT_EQ(intelligent.GetLastPatternFromList(""), "");
  EXPECT_EQ(world.LogMessages(), Lines{"GetLastPatternFromList: Nothing is stored into the target server"});
}

TEST_F(IntelligentFtpTest, APatternListWithoutPatternsHasNoVersion) {
  EXPECT_EQ(intelligent.GetLastPatternFromList("readme.txt;vsapi.zip"), "");
  EXPECT_EQ(world.LogMessages(), Lines{"GetLastPatternFromList: Found 0 Pattern Files"});
}

}  // namespace
}  // namespace vlmr::ftpsources
