#include "patterns/reduced_download.h"

#include <gtest/gtest.h>

#include "core/number.h"
#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

using Mail = test::RecordingNotifier::Mail;
using Mails = std::vector<Mail>;
using Operation = test::MemoryFileSystem::Operation;

/// A mirror that holds 100 in its archive only; the service offers 101 with an increment from 100.
class BehindWorld : public PatternWorld {
 public:
  BehindWorld() {
    PutStoredArchive("100");
    SetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "Version", "100");
    PutFreshIndex({{"Version", "101"},
                   {"Path_VSAPI", "Pattern/vsapi.zip,999"},
                   {"MergeCount", "1"},
                   {"Merge.1", "100"},
                   {"MergePath_VSAPI.1", "Pattern/v_100.101,3"}});
    Serve("Pattern/v_100.101", "inc");
    Serve("Pattern/vsapi.zip", ArchiveOf("101", "full"));
    Serve("Pattern/whatsnew.txt", "list");
    ScriptPatchProgram();
  }

  std::string ArchiveSize() {
    return core::IntegerText(files.Length(At(R"(\ActiveUpdate\Pattern\vsapi.zip)")));
  }
};

TEST(DownloadOnlyFirstPattern, OneIncrementBringsTheMirrorUpToDate) {
  BehindWorld world;
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101", "Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.101=pattern+inc"}));
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kPattern, "101 [Method=Increment]"}}));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\server.ini)"),
            "[PATTERN]\r\nVersion=101\r\nPath_Combine=Pattern/vsapi.zip," + world.ArchiveSize() +
                "\r\nPath_VSAPI=Pattern/vsapi.zip," + world.ArchiveSize() + "\r\nMergeCount=0\r\n");
}

TEST(DownloadOnlyFirstPattern, APatternThatAKilledRunMadeButDidNotPublishIsMadeAnew) {
  BehindWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "pattern");
  world.files.Put(R"(\Pattern\lpt$vpn.101)", "half");
  world.files.Put(R"(\Reduced.pending)", "101");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.101=pattern+inc"}));
  EXPECT_EQ(world.StoredKey("Version"), "101");
  EXPECT_FALSE(world.files.Has(R"(\Reduced.pending)"));
}

TEST(DownloadOnlyFirstPattern, AnArchiveThatAKilledRunPublishedGetsItsIndex) {
  BehindWorld world;
  world.PutStoredArchive("101");
  world.files.Put(R"(\Reduced.pending)", "101");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.StoredKey("Version"), "101");
  EXPECT_EQ(world.StoredKey("Path_VSAPI"), "Pattern/vsapi.zip," + world.ArchiveSize());
  EXPECT_EQ(world.Requests(), (Names{"Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kPattern, "101 [Method=Increment]"}}));
  EXPECT_FALSE(world.files.Has(R"(\Reduced.pending)"));
}

TEST(DownloadOnlyFirstPattern, AnIndexThatCouldNotBeWrittenIsWrittenByTheNextRun) {
  BehindWorld world;
  world.files.Fail(Operation::kCommit, "server.ini", 61);
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.StoredKey("Version"), "100");
  world.files.FailNothing();
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.StoredKey("Version"), "101");
  EXPECT_EQ(world.StoredKey("Path_VSAPI"), "Pattern/vsapi.zip," + world.ArchiveSize());
  EXPECT_FALSE(world.files.Has(R"(\Reduced.pending)"));
}

TEST(DownloadOnlyFirstPattern, AMarkThatNamesNoPatternDeletesNothing) {
  BehindWorld world;
  world.files.Put(R"(\Reduced.pending)", "/../../VLMR.ini");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_TRUE(world.files.Has(R"(\VLMR.ini)"));
  EXPECT_EQ(world.StoredKey("Version"), "101");
}

TEST(DownloadOnlyFirstPattern, TheLogOfAnIncrementIsAsDescribed) {
  BehindWorld world;
  world.reduced.DownloadOnlyFirstPattern();
  Lines own;
  for (const std::string& line : world.LogMessages()) {
    if (!line.starts_with("PatchIni:") && !line.starts_with("DeplaceFile:")) {
      own.push_back(line);
    }
  }
  EXPECT_EQ(
      own,
      (Lines{
          "DownloadOnlyFirstPattern: Starting....",
          "DownloadOnlyFirstPattern: Try to test Server.ini file....",
          "DownloadOnlyFirstPattern: ======================================",
          "DownloadOnlyFirstPattern: Pattern Stored = [100]",
          "DownloadOnlyFirstPattern: Pattern on Web = [101]",
          "DownloadOnlyFirstPattern: ======================================",
          "DownloadOnlyFirstPattern: new Pattern need version [101]",
          "DownloadOnlyFirstPattern: Find the new increment pattern",
          "DownloadOnlyFirstPattern: UrlIncrement=[Pattern/v_100.101]",
          R"(GET_INCREMENT: Try To Download http://main.example/au/Pattern/v_100.101=> /app\ActiveUpdate\TempDownload\Pattern/v_100.101)",
          "DownloadOnlyFirstPattern: Incerment=True",
          R"(DownloadOnlyFirstPattern: FileIncrement=[/app\TempDownload\ActiveUpdate\Pattern\v_100.101])",
          "DownloadOnlyFirstPattern: Launch Patch Function",
          "DownloadOnlyFirstPattern: Incerment=True",
          R"(DownloadOnlyFirstPattern: ZIP VSAPI/app\ActiveUpdate\Pattern\lpt$vpn.101 to /app\ActiveUpdate\Pattern\vsapi.zip)",
          "DownloadOnlyFirstPattern: Writing new server.ini file",
          "DownloadOnlyFirstPattern: File size=" + world.ArchiveSize(),
          "DownloadWhatsNew: Find 3 new viruses",
      }));
}

TEST(DownloadOnlyFirstPattern, ASecondRunWithNothingNewSaysSoAndDownloadsNothing) {
  BehindWorld world;
  world.reduced.DownloadOnlyFirstPattern();
  world.downloader.requests.clear();
  world.notifier.mails.clear();
  world.ClearLog();
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.LogMessages().back(), "DownloadOnlyFirstPattern: No new Pattern need.. Aborting");
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.notifier.mails, Mails{});
}

TEST(DownloadOnlyFirstPattern, NothingIsFetchedForAnEqualVersionEvenWithoutAnArchive) {
  BehindWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.101)", "held");
  world.files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_TRUE(world.Logged("DownloadOnlyFirstPattern: No new Pattern need.. Aborting"));
}

TEST(DownloadOnlyFirstPattern, AHeld99IsHigherAsTextThan100AndNothingIsDownloaded) {
  BehindWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.99.)", "held");
  world.PutFreshIndex({{"Version", "100"}, {"Path_VSAPI", "Pattern/vsapi.zip,999"}});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages().back(), "DownloadOnlyFirstPattern: No new Pattern need.. Aborting");
}

TEST(DownloadOnlyFirstPattern, AFirstInstallFetchesTheFullArchive) {
  BehindWorld world;
  world.files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/vsapi.zip", "Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kPattern, "101 [Method=Big VSAPI]"}}));
  EXPECT_EQ(world.LogMessages("DownloadOnlyFirstPattern: "),
            (Lines{
                "DownloadOnlyFirstPattern: Starting....",
                "DownloadOnlyFirstPattern: Try to test Server.ini file....",
                "DownloadOnlyFirstPattern: ======================================",
                "DownloadOnlyFirstPattern: Pattern Stored = [0]",
                "DownloadOnlyFirstPattern: Pattern on Web = [101]",
                "DownloadOnlyFirstPattern: ======================================",
                "DownloadOnlyFirstPattern: new Pattern need version [101]",
                "DownloadOnlyFirstPattern: Find the new increment pattern",
                "DownloadOnlyFirstPattern: UrlIncrement=[]",
                "DownloadOnlyFirstPattern: No increment found try [BigVsapi]",
                "DownloadOnlyFirstPattern: Incerment=False",
                "DownloadOnlyFirstPattern: Try to get BigVsapi",
                "DownloadOnlyFirstPattern: Writing new server.ini file",
                "DownloadOnlyFirstPattern: File size=" + world.ArchiveSize(),
            }));
}

TEST(DownloadOnlyFirstPattern, WithoutAnEntryForTheHeldVersionTheFullArchiveIsFetchedAndNamedInTheMail) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"Path_VSAPI", "Pattern/vsapi.zip,999"},
                       {"MergeCount", "1"},
                       {"Merge.1", "099"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,3"}});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/vsapi.zip", "Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kPattern, "101 [Method=Big VSAPI]"}}));
}

TEST(DownloadOnlyFirstPattern, OfTwoEqualEntriesTheFirstIsUsed) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "2"},
                       {"Merge.1", "100"},
                       {"MergePath_VSAPI.1", "Pattern/v_100.101,3"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/other,3"}});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101", "Pattern/whatsnew.txt"}));
}

TEST(DownloadOnlyFirstPattern, AFailedIncrementDownloadIsFollowedByTheFullArchive) {
  BehindWorld world;
  world.downloader.Fail(std::string(PatternWorld::kMaster) + "/Pattern/v_100.101");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"}));
  EXPECT_TRUE(world.Logged("DownloadOnlyFirstPattern: No increment found try [BigVsapi]"));
}

TEST(DownloadOnlyFirstPattern, AFailedPatchIsNotifiedAndFollowedByTheFullArchiveInTheSameRun) {
  BehindWorld world;
  world.processes.Script("Patch.exe", {.exit_code = 1});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kError, "Unable to Patch new pattern"},
                                         {core::MailSwitch::kPattern, "101 [Method=Big VSAPI]"}}));
  EXPECT_EQ(world.LogMessages("DownloadOnlyFirstPattern: Incerment="),
            (Lines{"DownloadOnlyFirstPattern: Incerment=True", "DownloadOnlyFirstPattern: Incerment=False"}));
}

TEST(DownloadOnlyFirstPattern, AFailedPackingIsNotifiedAndFollowedByTheFullArchive) {
  BehindWorld world;
  world.files.Fail(Operation::kWrite, "vsapi.zip", 61);
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"}));
  EXPECT_TRUE(world.Logged("DownloadOnlyFirstPattern: Unable to ZIP VSAPI"));
  EXPECT_EQ(world.notifier.mails.front(), (Mail{core::MailSwitch::kError, "Unable to ZIP Big VSAPI"}));
}

TEST(DownloadOnlyFirstPattern, AFailedFullArchiveIsNotifiedAndTheIndexStaysAsItWas) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"}, {"Path_VSAPI", "Pattern/absent.zip,999"}});
  const std::string index = world.files.Text(R"(\ActiveUpdate\server.ini)");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\server.ini)"), index);
  EXPECT_EQ(world.notifier.mails, (Mails{{core::MailSwitch::kError, "Unable to Get Big VSAPI"}}));
  EXPECT_EQ(world.LogMessages().back(), "DownloadOnlyFirstPattern: Unable to Get Big VSAPI");
  EXPECT_EQ(world.Requests(), (Names{"Pattern/absent.zip"}));
}

TEST(DownloadOnlyFirstPattern, AnIndexWithoutAVersionIsCorrupted) {
  BehindWorld world;
  world.PutFreshIndex({{"Path_VSAPI", "Pattern/vsapi.zip,999"}});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.LogMessages().back(), "DownloadOnlyFirstPattern: Server.ini file =Corrupted.. Exit");
  EXPECT_EQ(world.notifier.mails,
            (Mails{{core::MailSwitch::kError, "Downloaded server.ini file is corrupted"}}));
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(DownloadOnlyFirstPattern, AVersionThatIsNoFileNameCountsAsCorrupted) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", R"(9\..\..\x)"}, {"Path_VSAPI", "Pattern/vsapi.zip,999"}});
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.LogMessages().back(), "DownloadOnlyFirstPattern: Server.ini file =Corrupted.. Exit");
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(DownloadOnlyFirstPattern, AnIndexThatIsThereIsNotFetchedAgainAndAMissingOneIsFetchedOnce) {
  BehindWorld world;
  const std::string index = world.files.Text(R"(\TempDownload\ActiveUpdate\server.ini)");
  world.files.Remove(R"(\TempDownload\ActiveUpdate\server.ini)");
  world.Serve("server.ini", index);
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.Requests(), (Names{"server.ini", "Pattern/v_100.101", "Pattern/whatsnew.txt"}));
}

TEST(DownloadOnlyFirstPattern, AnIndexThatCannotBeFetchedIsNotified) {
  BehindWorld world;
  world.files.Remove(R"(\TempDownload\ActiveUpdate\server.ini)");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "DownloadOnlyFirstPattern: Starting....",
                                     "DownloadOnlyFirstPattern: Try to test Server.ini file....",
                                     "DownloadOnlyFirstPattern: TestingServerINI=False.. Exit",
                                 }));
  EXPECT_EQ(
      world.notifier.mails,
      (Mails{{core::MailSwitch::kError, "Unable to get server.ini file VLMR think the bandwith is broken"}}));
}

TEST(DownloadOnlyFirstPattern, NoIncrementIsPublishedAndNoOtherKeyIsTouched) {
  BehindWorld world;
  world.files.Put(
      R"(\ActiveUpdate\server.ini)",
      "[Common]\r\nVersion=1.2\r\n\r\n[PATTERN]\r\nVersion=100\r\nP.2=old\r\nMergeCount=1\r\nMerge.1=x\r\n");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(
      world.files.Text(R"(\ActiveUpdate\server.ini)"),
      "[Common]\r\nVersion=1.2\r\n\r\n[PATTERN]\r\nVersion=101\r\nP.2=old\r\nMergeCount=0\r\nMerge.1=x\r\n"
      "Path_Combine=Pattern/vsapi.zip," +
          world.ArchiveSize() + "\r\nPath_VSAPI=Pattern/vsapi.zip," + world.ArchiveSize() + "\r\n");
  EXPECT_FALSE(world.HasFile(R"(\ActiveUpdate\Pattern\v_100.101)"));
}

TEST(DownloadOnlyFirstPattern, WithoutAnArchiveAtTheIndexWriteNoKeyIsWritten) {
  BehindWorld world;
  world.files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  world.files.Fail(Operation::kMove, "vsapi.zip", 70);
  const std::string index = world.files.Text(R"(\ActiveUpdate\server.ini)");
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.LogMessages("DownloadOnlyFirstPattern: Error"),
            (Lines{"DownloadOnlyFirstPattern: Error 53 File not found"}));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\server.ini)"), index);
}

TEST(DownloadOnlyFirstPattern, TheWorkingFolderFollowsTheNewArchiveWhateverThePatchProgramLeft) {
  BehindWorld world;
  world.ScriptPatchProgram(PatternWorld::Patch::kLeavesOld);
  world.reduced.DownloadOnlyFirstPattern();
  EXPECT_EQ(world.WorkingFolder(), Names{});
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "101");
}

TEST(GetIncrement, AnEmptyPathIsRefusedWithItsLine) {
  PatternWorld world;
  EXPECT_FALSE(world.reduced.GET_INCREMENT(""));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"GET_INCREMENT: The String <URL> sended was null: Abort the function"}));
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(GetIncrement, AMissingStagingFolderIsMade) {
  PatternWorld world;
  world.files.Remove(R"(\TempDownload)");
  world.Serve("Pattern/v_100.101", "inc");
  EXPECT_TRUE(world.reduced.GET_INCREMENT("Pattern/v_100.101"));
  EXPECT_EQ(world.LogMessages().front(), "GET_INCREMENT: Creating Pattern Folder");
  EXPECT_EQ(world.files.Text(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)"), "inc");
}

TEST(GetIncrement, AStagingFolderThatCannotBeMadeIsReported) {
  PatternWorld world;
  world.files.Remove(R"(\TempDownload)");
  world.files.Fail(Operation::kMakeFolder, "TempDownload", 75);
  world.reduced.GET_INCREMENT("Pattern/v_100.101");
  EXPECT_TRUE(world.Logged("GET_INCREMENT: Error 75 Path/File access error"));
}

TEST(GetBigVsapi, TheArchiveIsUnpackedIntoSourcePublishedAndEnteredInTheIndex) {
  BehindWorld world;
  EXPECT_TRUE(world.reduced.GET_BIG_VSAPI());
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Source\lpt$vpn.101)"), "full");
  EXPECT_FALSE(world.HasFile(R"(\Pattern\lpt$vpn.101)"));
  EXPECT_FALSE(world.files.FindFolder(world.At(R"(\Pattern)")).empty());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.101=full"}));
  EXPECT_EQ(world.StoredKey("Version"), "101");
  EXPECT_EQ(world.StoredKey("Path_VSAPI"), "Pattern/vsapi.zip," + world.ArchiveSize());
  EXPECT_EQ(world.StoredKey("MergeCount"), "0");
  EXPECT_EQ(
      world.LogMessages(),
      (Lines{
          "GET_BIG_VSAPI: --------------------------------------------",
          "GET_BIG_VSAPI: GETFirstUrl=http://main.example/au/Pattern/vsapi.zip",
          R"(GET_BIG_VSAPI: Unzip /app\TempDownload\ActiveUpdate\Pattern\vsapi.zip to /app\ActiveUpdate\Source)",
          "GET_BIG_VSAPI: Unzip Latest Pattern =True",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Pattern\vsapi.zip=>vsapi.zip)",
          R"(DeplaceFile: Kill /app\ActiveUpdate\Pattern\vsapi.zip)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Pattern\vsapi.zip=> to /app\ActiveUpdate\Pattern\vsapi.zip)",
          "DeplaceFile: lngRetVal=1",
          "GET_BIG_VSAPI: File size=" + world.ArchiveSize(),
      }));
}

TEST(GetBigVsapi, AnArchiveThatDoesNotUnpackIsPublishedAllTheSame) {
  BehindWorld world;
  world.Serve("Pattern/vsapi.zip", "no archive");
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  EXPECT_TRUE(world.reduced.GET_BIG_VSAPI());
  EXPECT_TRUE(world.Logged("GET_BIG_VSAPI: Unzip Latest Pattern =False !!"));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Pattern\vsapi.zip)"), "no archive");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.100"}));
}

TEST(GetBigVsapi, AGoodArchiveEmptiesTheWorkingFolder) {
  BehindWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  EXPECT_TRUE(world.reduced.GET_BIG_VSAPI());
  EXPECT_EQ(world.LogMessages().back(), "RefreshPatternFolder: Delete pattern lpt$vpn.100");
  EXPECT_EQ(world.store.PatternStored(), "101");
}

TEST(GetBigVsapi, AFailedDownloadAndAMissingPathEndIt) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"}});
  EXPECT_FALSE(world.reduced.GET_BIG_VSAPI());
  EXPECT_EQ(world.LogMessages().back(), "GET_BIG_VSAPI: Unable to get Path_VSAPI file");
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(GetBigVsapi, APathWithoutACommaIsReportedAndCountsAsAFailedDownload) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"}, {"Path_VSAPI", "Pattern/vsapi.zip"}});
  EXPECT_FALSE(world.reduced.GET_BIG_VSAPI());
  EXPECT_TRUE(world.Logged("GET_BIG_VSAPI: Error 5 Invalid procedure call or argument"));
  EXPECT_EQ(world.Requests(), Names{});
}

}  // namespace
}  // namespace vlmr::patterns
