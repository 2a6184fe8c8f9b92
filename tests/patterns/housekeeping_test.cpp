#include "patterns/housekeeping.h"

#include <gtest/gtest.h>

#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

TEST(Housekeeping, KeepsArchivesInAnyCaseAndTheNamedFileAndDeletesTheRest) {
  PatternWorld world;
  for (const char* name :
       {"vsapi.zip", "VSAPI.ZIP", "lpt$vpn.100", "lpt$vpn.101", "v_100.101", "whatsnew.txt"}) {
    world.files.Put(std::string(R"(\ActiveUpdate\Pattern\)") + name, "x");
  }
  world.files.Put(R"(\ActiveUpdate\Pattern\Backup\old.txt)", "x");
  world.housekeeping.DeleteOldIncrementFiles("lpt$vpn.101");
  EXPECT_EQ(world.PublishedFolder(), (Names{"lpt$vpn.101", "VSAPI.ZIP", "vsapi.zip"}));
  EXPECT_TRUE(world.HasFile(R"(\ActiveUpdate\Pattern\Backup\old.txt)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                R"(DeleteOldIncrementFiles: ROOT=/app\ActiveUpdate\Pattern=> exclude pattern=lpt$vpn.101)",
                R"(DeleteOldIncrementFiles: Kill => /app\ActiveUpdate\Pattern\lpt$vpn.100)",
                R"(DeleteOldIncrementFiles: Kill => /app\ActiveUpdate\Pattern\v_100.101)",
                R"(DeleteOldIncrementFiles: Kill => /app\ActiveUpdate\Pattern\whatsnew.txt)",
            }));
}

TEST(Housekeeping, AnEmptyKeepNameDeletesEveryFileThatIsNoArchive) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\lpt$vpn.101)", "x");
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "x");
  world.housekeeping.DeleteOldIncrementFiles("");
  EXPECT_EQ(world.PublishedFolder(), (Names{"vsapi.zip"}));
}

TEST(Housekeeping, TheKeptNameIsComparedWithRegardToCase) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\LPT$VPN.101)", "x");
  world.housekeeping.DeleteOldIncrementFiles("lpt$vpn.101");
  EXPECT_EQ(world.PublishedFolder(), Names{});
}

TEST(Housekeeping, TheLastThreeLettersMakeAnArchiveEvenWithoutADot) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\unzip)", "x");
  world.files.Put(R"(\ActiveUpdate\Pattern\ip)", "x");
  world.housekeeping.DeleteOldIncrementFiles("");
  EXPECT_EQ(world.PublishedFolder(), (Names{"unzip"}));
}

TEST(Housekeeping, AFileThatCannotBeDeletedStaysAndTheNextOneFollows) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\a.txt)", "x");
  world.files.Put(R"(\ActiveUpdate\Pattern\b.txt)", "x");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "a.txt", 70);
  world.housekeeping.DeleteOldIncrementFiles("");
  EXPECT_EQ(world.PublishedFolder(), (Names{"a.txt"}));
  EXPECT_EQ(world.LogMessages().size(), 3U);
}

TEST(Housekeeping, TheListOfNewVirusesIsFetchedIntoTheMirrorAndReported) {
  PatternWorld world;
  world.Serve("Pattern/whatsnew.txt", "list");
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/whatsnew.txt"}));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Pattern\whatsnew.txt)"), "list");
  EXPECT_EQ(world.viruses.paths, (Names{world.At(R"(\ActiveUpdate\Pattern\whatsnew.txt)")}));
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadWhatsNew: Find 3 new viruses"}));
}

TEST(Housekeeping, AListThatNamesNoVirusLogsNothing) {
  PatternWorld world;
  world.Serve("Pattern/whatsnew.txt", "list");
  world.viruses.count = "";
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.LogMessages(), Lines{});
}

TEST(Housekeeping, ACountOfZeroIsLogged) {
  PatternWorld world;
  world.Serve("Pattern/whatsnew.txt", "list");
  world.viruses.count = "0";
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadWhatsNew: Find 0 new viruses"}));
}

TEST(Housekeeping, AFailedFetchOfTheListIsLoggedAndNothingIsReported) {
  PatternWorld world;
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadWhatsNew: error to get virus list"}));
  EXPECT_EQ(world.viruses.paths, Names{});
}

TEST(Housekeeping, AFetchThatTransfersNothingEndsWithTheNoticeOfTheReader) {
  PatternWorld world;
  world.downloader.transfers_nothing = true;
  world.viruses.count = "Whatsnew inexistant !";
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.Requests().size(), 1U);
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadWhatsNew: Find Whatsnew inexistant ! new viruses"}));
}

TEST(Housekeeping, AnErrorInTheReportEndsTheFetchWithItsLine) {
  PatternWorld world;
  world.Serve("Pattern/whatsnew.txt", "list");
  world.viruses.error = 57;
  world.housekeeping.DownloadWhatsNew();
  EXPECT_EQ(world.LogMessages().size(), 1U);
  EXPECT_EQ(world.LogMessages().front().substr(0, 26), "DownloadWhatsNew: Error 57");
}

}  // namespace
}  // namespace vlmr::patterns
