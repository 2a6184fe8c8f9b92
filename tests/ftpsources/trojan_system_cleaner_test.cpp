#include "ftpsources/trojan_system_cleaner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/version.h"
#include "ftpsources/archives.h"
#include "support/executable_sample.h"
#include "support/fake_ftp_client.h"
#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

using core::MailSwitch;
using Lines = std::vector<std::string>;
using Mails = std::vector<test::RecordingNotifier::Mail>;

TEST(TscVersionPicker, TakesTheGreatestVersionAsText) {
  EXPECT_EQ(PickTscVersion("tsc12344.zip;tsc12345.zip"), "12345");
  EXPECT_EQ(PickTscVersion("tsc12345.zip;tsc12344.zip"), "12345");
  EXPECT_EQ(PickTscVersion("sysclean.zip;tsc00009.zip;readme.txt;tsc00010.zip"), "00010");
}

TEST(TscVersionPicker, NamesQualifyWhateverTheirCase) {
  EXPECT_EQ(PickTscVersion("TSC12345.ZIP"), "12345");
  EXPECT_EQ(PickTscVersion("Tsc1234a.ZiP"), "1234a");
  EXPECT_EQ(PickTscVersion("SYSCLEAN.ZIP;SysClean.zip"), "");
}

TEST(TscVersionPicker, NamesOfAnotherLengthDoNotQualify) {
  EXPECT_EQ(PickTscVersion("tsc1234.zip"), "");
  EXPECT_EQ(PickTscVersion("tsc123456.zip"), "");
  EXPECT_EQ(PickTscVersion("tsc12345.exe"), "");
}

TEST(TscVersionPicker, NeitherPrefixNorDotIsTested) {
  EXPECT_EQ(PickTscVersion("abc99999.zip"), "99999");
  EXPECT_EQ(PickTscVersion("tsc123456zip"), "12345");
}

TEST(TscVersionPicker, WithoutAQualifyingNameTheVersionIsEmpty) {
  EXPECT_EQ(PickTscVersion(""), "");
  EXPECT_EQ(PickTscVersion(";;"), "");
}

class TscPackageTest : public testing::Test {
 protected:
  TscPackageTest() {
    world.SetSetting("SOURCES", "TscFtp", "ftp://ftp.velmora.example/products/tsc");
    client.remote["sysclean.zip"] = "other";
    Offer("tsc12345.zip");
  }

  void Offer(const std::string& name) {
    client.remote[name] = ArchiveOf(world, {{"tsc.exe", test::SampleExecutable({.version = {3, 9, 0, 1020}})},
                                            {"tsc.ptn", "the pattern"}});
  }
  void Hold(const std::string& version) {
    world.files.Put(R"(\ActiveUpdate\TSC\tsc.exe)", "old program");
    world.files.Put(R"(\ActiveUpdate\TSC\old.dll)", "old");
    world.SetIni(R"(\TscVLMR.ini)", "TSC", "PatternBuild", version);
  }
  std::string State(const std::string& key) { return world.GetIni(R"(\TscVLMR.ini)", "TSC", key); }
  Lines Installed() { return world.files.List(world.At(R"(\ActiveUpdate\TSC\*)")); }
  bool Fetched(const std::string& name) const {
    return std::find(client.calls.begin(), client.calls.end(), "get " + name) != client.calls.end();
  }
  void Run() { tsc.TrojanSystemCleaner(); }

  test::World world;
  test::FakeFtpClient client{world.files};
  transfer::ZIP zip{world.runtime};
  TscPackage tsc{world.runtime, world.helpers, client, zip, world.notifier};
};

TEST_F(TscPackageTest, AFirstFetchWritesThisLog) {
  Run();
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "TrojanSystemCleaner version 1.0 [" + core::VersionText() + "]===",
                "TrojanSystemCleaner: New Feature created on 2003.02.21",
                "TrojanSystemCleaner: Switch to FTP Active mode...",
                "TrojanSystemCleaner: FtpServerName=ftp.velmora.example",
                "TrojanSystemCleaner: Connecting...",
                "TrojanSystemCleaner: Connected...",
                "TrojanSystemCleaner: Attempting to read files into products/tsc folder",
                "TrojanSystemCleaner: Find sysclean.zip;tsc12345.zip",
                "TrojanSystemCleaner: =======================",
                "TrojanSystemCleaner: Stored version: [0]",
                "TrojanSystemCleaner: Internet version: [12345]",
                "TrojanSystemCleaner: =======================",
                "TrojanSystemCleaner: New version found [12345]",
                R"(TrojanSystemCleaner: Download [tsc12345.zip] to [/app\TempDownload])",
                R"(DeplaceFile: /app\TempDownload\tsc12345.zip=>)",
                R"(DeplaceFile: Move /app\TempDownload\tsc12345.zip=> to /app\ActiveUpdate\TSC\TSC.zip)",
                "DeplaceFile: lngRetVal=1",
            }));
}

TEST_F(TscPackageTest, AFetchInstallsRecordsAndReportsThePackage) {
  Run();
  EXPECT_EQ(Installed(), (Lines{"tsc.exe", "tsc.ptn", "TSC.zip"}));
  EXPECT_EQ(world.files.Text(R"(\TscVLMR.ini)"),
            "[TSC]\r\nPatternBuild=12345\r\nBuild=3.9.0.1020\r\nLen=11\r\n");
  EXPECT_EQ(world.notifier.mails, (Mails{{MailSwitch::kTsc, "3.9.0.1020 Pattern 12345"}}));
  EXPECT_EQ(world.files.List(world.At(R"(\TempDownload\*)")), Lines{});
}

TEST_F(TscPackageTest, LogsInAnonymouslyAndShowsNeitherUserNorPassword) {
  Run();
  EXPECT_TRUE(client.calls[2].starts_with("login anonymous ")) << client.calls[2];
  for (const std::string& line : world.LogMessages()) {
    EXPECT_EQ(line.find("Username"), std::string::npos);
    EXPECT_EQ(line.find("Password"), std::string::npos);
  }
}

TEST_F(TscPackageTest, ANewerPackageReplacesTheWholeFolder) {
  Hold("12344");
  Run();
  EXPECT_EQ(Installed(), (Lines{"tsc.exe", "tsc.ptn", "TSC.zip"}));
  EXPECT_EQ(State("PatternBuild"), "12345");
}

TEST_F(TscPackageTest, AnEqualOrGreaterStoredVersionStays) {
  for (const std::string version : {"12345", "12346", "9"}) {
    Hold(version);
    client.calls.clear();
    Run();
    EXPECT_EQ(world.LogMessages().back(),
              "TrojanSystemCleaner: No New version found stay in [" + version + "]");
    EXPECT_EQ(client.calls.back(), "list products/tsc");
    EXPECT_EQ(Installed(), (Lines{"old.dll", "tsc.exe"}));
  }
}

TEST_F(TscPackageTest, StoredNineIsNotLowerThanTenThousandBecauseTextsAreCompared) {
  client.remote.clear();
  Offer("tsc10000.zip");
  Hold("9");
  Run();
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: No New version found stay in [9]");
}

TEST_F(TscPackageTest, WithoutTheProgramThePackageIsFetchedAgain) {
  Hold("12345");
  world.files.Remove(R"(\ActiveUpdate\TSC\tsc.exe)");
  Run();
  EXPECT_TRUE(world.Logged("TrojanSystemCleaner: Stored version: [0]"));
  EXPECT_EQ(Installed(), (Lines{"tsc.exe", "tsc.ptn", "TSC.zip"}));
}

TEST_F(TscPackageTest, WithoutAQualifyingNameNothingIsFetched) {
  client.remote = {{"sysclean.zip", "x"}, {"readme.txt", "x"}};
  Run();
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: No New version found stay in [0]");
  EXPECT_EQ(client.calls.back(), "list products/tsc");
}

TEST_F(TscPackageTest, AnUpperCaseNameIsFetchedByTheNameMadeFromItsVersion) {
  client.remote.clear();
  Offer("TSC12345.ZIP");
  client.remote["tsc12345.zip"] = client.remote["TSC12345.ZIP"];
  Run();
  EXPECT_TRUE(world.Logged(R"(TrojanSystemCleaner: Download [tsc12345.zip] to [/app\TempDownload])"));
  EXPECT_TRUE(world.files.Has(R"(\ActiveUpdate\TSC\TSC.zip)"));
}

TEST_F(TscPackageTest, ANameWithAnotherPrefixIsAskedForUnderTheOwnOneAndFails) {
  client.remote = {{"abc99999.zip", "x"}};
  Run();
  EXPECT_EQ(client.calls.back(), "get tsc99999.zip");
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: Error connecting 550 => no such file");
}

TEST_F(TscPackageTest, AFailedFetchLeavesTheFolderEmptyAndTheNextRunMendsIt) {
  Hold("12344");
  const std::string package = client.remote["tsc12345.zip"];
  client.remote = {{"abc12345.zip", "x"}};
  Run();
  EXPECT_EQ(Installed(), Lines{});
  EXPECT_EQ(State("PatternBuild"), "12344");
  EXPECT_TRUE(world.notifier.mails.empty());
  client.remote = {{"tsc12344.zip", package}};
  Run();
  EXPECT_EQ(State("PatternBuild"), "12344");
  EXPECT_EQ(Installed(), (Lines{"tsc.exe", "tsc.ptn", "TSC.zip"}));
}

TEST_F(TscPackageTest, TheOldPackageStaysUntilTheNewOneIsThere) {
  Hold("12344");
  client.on_get = [&] { EXPECT_EQ(Installed(), (Lines{"old.dll", "tsc.exe"})); };
  Run();
  EXPECT_EQ(Installed(), (Lines{"tsc.exe", "tsc.ptn", "TSC.zip"}));
  EXPECT_NE(world.files.Text(R"(\ActiveUpdate\TSC\tsc.exe)"), "old program");
}

TEST_F(TscPackageTest, APackageThatCannotBeUnpackedIsReported) {
  client.remote["tsc12345.zip"] = "no archive";
  Run();
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: unable to uncompress [tsc12345.zip]");
  EXPECT_EQ(State("PatternBuild"), "0");
  EXPECT_FALSE(world.files.Has(R"(\ActiveUpdate\TSC\TSC.zip)"));
}

TEST_F(TscPackageTest, APackageWithoutItsPatternHasNoLengthButIsMailed) {
  client.remote["tsc12345.zip"] = ArchiveOf(world, {{"tsc.exe", "a dummy"}});
  Run();
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: Error 53 File not found");
  EXPECT_EQ(world.files.Text(R"(\TscVLMR.ini)"), "[TSC]\r\nPatternBuild=12345\r\nBuild=\r\n");
  EXPECT_EQ(world.notifier.mails, (Mails{{MailSwitch::kTsc, " Pattern 12345"}}));
}

TEST_F(TscPackageTest, BuildIsWrittenBeforePatternBuildAndLen) {
  Hold("12344");
  world.files.Remove(R"(\TscVLMR.ini)");
  Run();
  EXPECT_EQ(world.files.Text(R"(\TscVLMR.ini)"),
            "[TSC]\r\nBuild=3.9.0.1020\r\nPatternBuild=12345\r\nLen=11\r\n");
}

TEST_F(TscPackageTest, AFileThatCannotBeDeletedIsLoggedAndTheFetchGoesOn) {
  Hold("12344");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "old.dll", 70);
  Run();
  EXPECT_TRUE(world.Logged("TrojanSystemCleaner: Error 70 Permission denied"));
  EXPECT_EQ(Installed(), (Lines{"old.dll", "tsc.exe", "tsc.ptn", "TSC.zip"}));
}

TEST_F(TscPackageTest, AnEmptyListingEndsItWithAdvice) {
  const std::string line =
      "TrojanSystemCleaner: Cannot list files, try to change the PASSIVE mode or verify the FTP address";
  client.remote.clear();
  Run();
  EXPECT_EQ(world.LogMessages().back(), line);
  world.ClearLog();
  client.list_result = {425, "no data connection"};
  Run();
  EXPECT_EQ(world.LogMessages().back(), line);
}

TEST_F(TscPackageTest, AFailedConnectionEndsIt) {
  client.connect_result = {111, "Connection refused"};
  Run();
  EXPECT_EQ(world.LogMessages().back(), "TrojanSystemCleaner: Error connecting 111 => Connection refused");
}

TEST_F(TscPackageTest, ItMakesItsFoldersInTheVeryFirstRun) {
  client.connect_result = {111, "Connection refused"};
  Run();
  EXPECT_EQ(world.files.Folders(), (Lines{R"(\ActiveUpdate)", R"(\ActiveUpdate\TSC)", R"(\TempDownload)"}));
  EXPECT_EQ(State("PatternBuild"), "0");
}

}  // namespace
}  // namespace vlmr::ftpsources
