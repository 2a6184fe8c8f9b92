#include "patterns/increments.h"

#include <gtest/gtest.h>

#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

TEST(GetAllIncrement, EveryListedIncrementIsFetchedAlsoOnAFirstInstall) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "2"},
                       {"Merge.1", "099"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,4"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101,6"}});
  world.Serve("Pattern/v_099.101", "long");
  world.Serve("Pattern/v_100.101", "length");
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_099.101", "Pattern/v_100.101"}));
  EXPECT_EQ(world.files.Text(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)"), "length");
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "GetIncrementUrl: MergeCount=2",
                "GetIncrementUrl: Value=Pattern/v_099.101,4",
                "GetIncrementUrl: Value=Pattern/v_100.101,6",
                "GetAllIncrement: Get increment pattern=Pattern/v_099.101",
                R"(GetAllIncrement: Checking /app\TempDownload\ActiveUpdate\Pattern\v_099.101)",
                "GetAllIncrement: Get http://main.example/au/Pattern/v_099.101",
                "GetAllIncrement: Get increment pattern=Pattern/v_100.101",
                R"(GetAllIncrement: Checking /app\TempDownload\ActiveUpdate\Pattern\v_100.101)",
                "GetAllIncrement: Get http://main.example/au/Pattern/v_100.101",
            }));
}

TEST(GetAllIncrement, TheSizeOfEachFetchedFileIsRecordedAndAFailedDownloadRecordsNothing) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "2"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,4"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101,6"}});
  world.Serve("Pattern/v_100.101", "length");
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.files.Text(R"(\Downloaded.siz)"), "6\r\n");
}

TEST(GetAllIncrement, AStagedFileOfTheRightSizeIsNotFetchedAgain) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "1"}, {"MergePath_VSAPI.1", "Pattern/v_100.101, 4.0"}});
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "long");
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_TRUE(world.Logged(R"(GetAllIncrement: /app\TempDownload\ActiveUpdate\Pattern\v_100.101 Size= 4)"));
  EXPECT_FALSE(world.HasFile(R"(\Downloaded.siz)"));
}

TEST(GetAllIncrement, AStagedFileOfAnotherSizeIsFetchedAgainAndRecorded) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "1"}, {"MergePath_VSAPI.1", "Pattern/v_100.101,4"}});
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "cut");
  world.Serve("Pattern/v_100.101", "long");
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101"}));
  EXPECT_EQ(world.files.Text(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)"), "long");
  EXPECT_EQ(world.files.Text(R"(\Downloaded.siz)"), "4\r\n");
}

TEST(GetAllIncrement, ASizeThatIsNoNumberIsLoggedAndTheFileIsKept) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "1"}, {"MergePath_VSAPI.1", "Pattern/v_100.101,many"}});
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "cut");
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages().back(), "GetAllIncrement: Error 13 Type mismatch");
}

TEST(GetAllIncrement, WithoutACountNothingIsDone) {
  PatternWorld world;
  world.PutFreshIndex({{"MergePath_VSAPI.1", "Pattern/v_100.101,4"}});
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.LogMessages(), (Lines{"GetIncrementUrl: MergeCount=0"}));
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(GetAllIncrement, AnEntryWithoutACommaStopsTheTableAndTheRowsBeforeItAreFetched) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "3"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,4"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101"},
                       {"MergePath_VSAPI.3", "Pattern/v_098.101,4"}});
  world.increments.GetAllIncrement();
  EXPECT_TRUE(world.Logged("GetAllIncrement: Error 5 Invalid procedure call or argument"));
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_099.101"}));
}

TEST(GetAllIncrement, AnEmptyRowIsSkippedSilently) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "2"}, {"MergePath_VSAPI.2", "Pattern/v_100.101,4"}});
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.LogMessages("GetAllIncrement: Get increment pattern="),
            (Lines{"GetAllIncrement: Get increment pattern=Pattern/v_100.101"}));
}

TEST(GetAllIncrement, ACountOfTwoThousandMillionIsRefusedAtOnce) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "2000000000"}});
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.LogMessages().back(), "GetAllIncrement: Error 7 Out of memory");
}

TEST(GetAllIncrement, APathThatLeavesTheTreeIsRefusedBeforeAnyRequest) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "1"}, {"MergePath_VSAPI.1", "../../VLMR.ini,4"}});
  world.increments.GetAllIncrement();
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages("ServiceFetch: Refused path [../../VLMR.ini]").size(), 1U);
}

TEST(GetSingleIncrement, OnlyTheIncrementThatAppliesToTheHeldPatternIsFetched) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "2"},
                       {"Merge.1", "099"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,4"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101,6"}});
  world.Serve("Pattern/v_100.101", "length");
  EXPECT_TRUE(world.increments.GetSingleIncrement());
  EXPECT_EQ(world.Requests(), (Names{"Pattern/v_100.101"}));
  EXPECT_TRUE(world.HasFile(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)"));
  EXPECT_EQ(world.LogMessages("GetSingleIncrement:"),
            (Lines{
                "GetSingleIncrement: try to get the only right increment pattern file",
                "GetSingleIncrement: MyPattern=100",
                "GetSingleIncrement: NewPattern=101",
                "GetSingleIncrement: Find =Pattern/v_100.101,6",
                "GetSingleIncrement: URL =Pattern/v_100.101",
            }));
}

TEST(GetSingleIncrement, OfTwoEqualEntriesTheLaterOneIsUsed) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.PutFreshIndex({{"MergeCount", "2"},
                       {"Merge.1", "100"},
                       {"MergePath_VSAPI.1", "Pattern/first,4"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/second,6"}});
  world.increments.GetSingleIncrement();
  EXPECT_EQ(world.Requests(), (Names{"Pattern/second"}));
}

TEST(GetSingleIncrement, VersionsAreComparedAsTextNotAsNumbers) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "held");
  world.PutFreshIndex({{"MergeCount", "1"}, {"Merge.1", "99"}, {"MergePath_VSAPI.1", "Pattern/v_99.100,4"}});
  EXPECT_FALSE(world.increments.GetSingleIncrement());
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages().back(), "GetSingleIncrement: Find =");
}

TEST(GetSingleIncrement, AFailedDownloadIsLogged) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.PutFreshIndex(
      {{"MergeCount", "1"}, {"Merge.1", "100"}, {"MergePath_VSAPI.1", "Pattern/v_100.101,4"}});
  EXPECT_FALSE(world.increments.GetSingleIncrement());
  EXPECT_EQ(world.LogMessages().back(), "GetSingleIncrement: Error downloading");
}

TEST(GetSingleIncrement, AnEntryWithoutACommaIsAnErrorAndAFailedDownload) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.PutFreshIndex({{"MergeCount", "1"}, {"Merge.1", "100"}, {"MergePath_VSAPI.1", "Pattern/v_100.101"}});
  EXPECT_FALSE(world.increments.GetSingleIncrement());
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages("GetSingleIncrement: Error"),
            (Lines{"GetSingleIncrement: Error 5 Invalid procedure call or argument",
                   "GetSingleIncrement: Error downloading"}));
}

TEST(GetSingleIncrement, ACountThatIsNoNumberOrFarTooLargeSkipsTheLoopWithOneLine) {
  PatternWorld world;
  world.PutFreshIndex({{"MergeCount", "x"}});
  EXPECT_FALSE(world.increments.GetSingleIncrement());
  world.PutFreshIndex({{"MergeCount", "2000000000"}});
  EXPECT_FALSE(world.increments.GetSingleIncrement());
  EXPECT_EQ(
      world.LogMessages("GetSingleIncrement: Error"),
      (Lines{"GetSingleIncrement: Error 13 Type mismatch", "GetSingleIncrement: Error 7 Out of memory"}));
}

}  // namespace
}  // namespace vlmr::patterns
