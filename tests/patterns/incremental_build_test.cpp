#include "patterns/incremental_build.h"

#include <gtest/gtest.h>

#include "core/number.h"
#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

/// A mirror that holds 100; the service offers 101 with increments from 099 and 100, both of them staged.
class BehindWorld : public PatternWorld {
 public:
  BehindWorld() {
    files.Put(R"(\Pattern\lpt$vpn.100)", "old");
    PutStoredArchive("100");
    SetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "Version", "100");
    PutFreshIndex({{"Version", "101"},
                   {"MergeCount", "2"},
                   {"Merge.1", "099"},
                   {"MergePath_VSAPI.1", "Pattern/v_099.101,3"},
                   {"Merge.2", "100"},
                   {"MergePath_VSAPI.2", "Pattern/v_100.101,3"}});
    files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_099.101)", "ink");
    files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "inc");
    ScriptPatchProgram();
  }
};

TEST(PatchVsapI, TheLogOfAnIncrementalPassIsAsDescribed) {
  BehindWorld world;
  EXPECT_TRUE(world.build.PatchVsapI());
  const auto size = world.files.Length(world.At(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
  EXPECT_EQ(
      world.LogMessages(),
      (Lines{
          "PatchVsapI: !=====>Try to Find new incremental Patterns<====!",
          "PatternStored: Find the Last Pattern stored =================",
          R"(PatternStored: First pattern found= /app\Pattern\lpt$vpn.*=lpt$vpn.100)",
          "PatternStored: Tests=lpt$vpn.100",
          "PatternStored: 100100",
          "CleanPatternFolder: Clean the folder now...",
          "CleanPatternFolder: Verify Pattern to kill => lpt$vpn.100",
          "CleanPatternFolder: Verify Pattern Skip the actual pattern lpt$vpn.100",
          R"(CleanPatternFolder: Found => /app\ActiveUpdate\Pattern\)",
          "PatternStored: Actual pattern version found 100",
          "PatternStored: Find the Last Pattern stored =================",
          "PatchVsapI: MyPattern [old Pattern stored]=100",
          "PatchVsapI: NewPattern [New Pattern downloaded]=101",
          "PatchVsapI: INI version stored=100",
          R"(PatchVsapI: /app\ActiveUpdate\Pattern\Vsapi.zip=vsapi.zip)",
          "PatchVsapI: Count=2",
          "PatchVsapI: Increment BAD=099",
          "PatchVsapI: Found Increment=Pattern/v_100.101,3",
          "PatchVsapI: IncrementFile=Pattern/v_100.101",
          R"(PatchVsapI: /app\TempDownload\ActiveUpdate\Pattern\v_100.101=v_100.101)",
          "PatchIni: found =v_100.101",
          R"(PatchIni: execute /app\Patch.exe)",
          R"(PatchIni: Testing stored new pattern version =>/app\Pattern\lpt$vpn.101)",
          "PatchIni: Tests= lpt$vpn.101",
          R"(DeplaceFile: /app\Pattern\lpt$vpn.101=>)",
          R"(DeplaceFile: Move /app\Pattern\lpt$vpn.101=> to /app\ActiveUpdate\Pattern\lpt$vpn.101)",
          "DeplaceFile: lngRetVal=1",
          "PatchVsapI: successfull creating new pattern version= 101",
          "PatchVsapI: Zip the new pattern file to VSAPI.ZIP",
          R"(PatchVsapI: check /app\ActiveUpdate\Pattern\vsapi.zip=vsapi.zip)",
          R"(PatchVsapI: Kill old Zip file: /app\ActiveUpdate\Pattern\vsapi.zip)",
          R"(PatchVsapI: Find the pattern [/app\ActiveUpdate\Pattern\lpt$vpn.101] Size=[7])",
          "PatchVsapI: Found  [vsapi.zip]",
          "PatchVsapI: Found VSAPI.ZIP Size=[" + core::IntegerText(size) + "]",
          R"(PatchVsapI:/app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.100=)",
          R"(PatchVsapI:/app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.101=)",
          "PatchVsapI: !=====>Move All Increment Pattern Downloaded<=====!",
          "GetIncrementUrl: MergeCount=2",
          "GetIncrementUrl: Value=Pattern/v_099.101,3",
          "GetIncrementUrl: Value=Pattern/v_100.101,3",
          R"(PatchVsapI: Check if Exist: /app\TempDownload\ActiveUpdate\Pattern\v_099.101=v_099.101)",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Pattern\v_099.101=>)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Pattern\v_099.101=> to /app\ActiveUpdate\Pattern\v_099.101)",
          "DeplaceFile: lngRetVal=1",
          R"(PatchVsapI: Check if Exist: /app\TempDownload\ActiveUpdate\Pattern\v_100.101=v_100.101)",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Pattern\v_100.101=>)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Pattern\v_100.101=> to /app\ActiveUpdate\Pattern\v_100.101)",
          "DeplaceFile: lngRetVal=1",
      }));
}

TEST(PatchVsapI, TheNewArchiveHoldsTheNewPatternAlone) {
  BehindWorld world;
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.101=old+inc"}));
  EXPECT_EQ(world.LogMessages("ZipFiles:"), Lines{});
  EXPECT_EQ(world.PublishedFolder(), (Names{"lpt$vpn.101", "vsapi.zip", "v_099.101", "v_100.101"}));
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST(PatchVsapI, AnOldPatternThatTheProgramLeftGoesWhenTheNewArchiveIsInPlace) {
  BehindWorld world;
  world.ScriptPatchProgram(PatternWorld::Patch::kLeavesOld);
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_EQ(world.WorkingFolder(), Names{});
  EXPECT_EQ(world.LogMessages("RefreshPatternFolder:"),
            (Lines{"RefreshPatternFolder: Delete pattern lpt$vpn.100"}));
  EXPECT_EQ(world.store.PatternStored(), "101");
}

TEST(PatchVsapI, AResultInTheSourceFolderIsPublishedToo) {
  BehindWorld world;
  world.ScriptPatchProgram(PatternWorld::Patch::kWritesIntoSource);
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.101=old+inc"}));
}

TEST(PatchVsapI, AFirstInstallTriesMissesTheIncrementTwiceAndCleansStaging) {
  PatternWorld world;
  world.PutFreshIndex({{"Version", "100"},
                       {"MergeCount", "1"},
                       {"Merge.1", "099"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.100,3"}});
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\lpt$vpn.0)", "x");
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\lpt$vpn.100)", "x");
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_099.100)", "inc");
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.LogMessages("PatchVsapI:"),
            (Lines{
                "PatchVsapI: !=====>Try to Find new incremental Patterns<====!",
                "PatchVsapI: MyPattern [old Pattern stored]=0",
                "PatchVsapI: NewPattern [New Pattern downloaded]=100",
                "PatchVsapI: INI version stored=",
                R"(PatchVsapI: /app\ActiveUpdate\Pattern\Vsapi.zip=)",
                "PatchVsapI: Count=1",
                "PatchVsapI: Increment BAD=099",
                "PatchVsapI: didn't found increment file",
                R"(PatchVsapI: /app\TempDownload\ActiveUpdate\=)",
                "PatchVsapI: didn't found increment file",
                R"(PatchVsapI:/app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.0=lpt$vpn.0)",
                R"(PatchVsapI: Kill /app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.0)",
                R"(PatchVsapI:/app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.100=lpt$vpn.100)",
                R"(PatchVsapI: Kill /app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.100)",
                "PatchVsapI: !=====>Move All Increment Pattern Downloaded<=====!",
                R"(PatchVsapI: Check if Exist: /app\TempDownload\ActiveUpdate\Pattern\v_099.100=v_099.100)",
            }));
  EXPECT_EQ(world.PublishedFolder(), (Names{"v_099.100"}));
  EXPECT_EQ(world.processes.starts.size(), 0U);
}

TEST(PatchVsapI, A99HeldAgainst100IsHigherAsTextAndStopsAtOnce) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.99.)", "held");
  world.PutFreshIndex({{"Version", "100"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.LogMessages().back(), "PatchVsapI: NewPattern [New Pattern downloaded]=100");
}

TEST(PatchVsapI, AnEqualVersionStopsAtOnce) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "100"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.LogMessages().back(), "PatchVsapI: NewPattern [New Pattern downloaded]=100");
}

TEST(PatchVsapI, OfTwoEntriesThatMatchTheLaterOneIsUsed) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "2"},
                       {"Merge.1", "100"},
                       {"MergePath_VSAPI.1", "Pattern/absent,3"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101,3"}});
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: IncrementFile=Pattern/v_100.101"));
}

TEST(PatchVsapI, TheVersionOfAnIncrementIsComparedAsANumber) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "1"},
                       {"Merge.1", "0100.0"},
                       {"MergePath_VSAPI.1", "Pattern/v_100.101,3"}});
  EXPECT_TRUE(world.build.PatchVsapI());
}

TEST(PatchVsapI, AnEmptyVersionOfAnIncrementNeverMatches) {
  PatternWorld world;
  world.PutFreshIndex({{"Version", "100"}, {"MergeCount", "1"}, {"MergePath_VSAPI.1", "Pattern/v_0.100,3"}});
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_0.100)", "inc");
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Increment BAD="));
}

TEST(PatchVsapI, AVersionThatIsNoNumberIsReportedMailedAndBad) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "2"},
                       {"Merge.1", "099.101x"},
                       {"Merge.2", "100"},
                       {"MergePath_VSAPI.2", "Pattern/v_100.101,3"}});
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Error code 13 Type mismatch"));
  EXPECT_TRUE(world.Logged("PatchVsapI: Increment BAD=099.101x"));
  EXPECT_EQ(world.notifier.mails,
            (std::vector<test::RecordingNotifier::Mail>{
                {core::MailSwitch::kError, "Error PatchVsapI => !! Error !! code 13 Type mismatch"}}));
}

TEST(PatchVsapI, TheFromAndToFormThatAMirrorPublishesNeverMatches) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "1"},
                       {"Merge.1", "099.101"},
                       {"MergePath_VSAPI.1", "Pattern/v_099.101,3"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Increment BAD=099.101"));
}

TEST(PatchVsapI, AnEntryWithoutACommaIsReportedAndNoIncrementIsFound) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "1"},
                       {"Merge.1", "100"},
                       {"MergePath_VSAPI.1", "Pattern/v_100.101"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.LogMessages("PatchVsapI: Error"),
            (Lines{"PatchVsapI: Error code 5 Invalid procedure call or argument",
                   "PatchVsapI: Error code 5 Invalid procedure call or argument"}));
  EXPECT_TRUE(world.Logged("PatchVsapI: IncrementFile="));
  EXPECT_EQ(world.processes.starts.size(), 0U);
}

TEST(PatchVsapI, ACountOfTwoThousandMillionIsRefusedAtOnce) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"}, {"MergeCount", "2000000000"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Count=2E+09"));
  EXPECT_TRUE(world.Logged("PatchVsapI: Error code 7 Out of memory"));
  EXPECT_LT(world.LogMessages().size(), 40U);
}

TEST(PatchVsapI, AMissingIncrementLeavesTheArchiveAsItWas) {
  BehindWorld world;
  world.files.Remove(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)");
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.100=pattern"}));
  EXPECT_EQ(world.processes.starts.size(), 0U);
}

TEST(PatchVsapI, AFailedPatchLeavesTheArchiveAndStillPublishesTheIncrements) {
  BehindWorld world;
  world.processes.Script("Patch.exe", {.exit_code = 1});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.100=pattern"}));
  EXPECT_FALSE(world.Logged("PatchVsapI: successfull creating new pattern version= 101"));
  EXPECT_EQ(world.PublishedFolder(), (Names{"vsapi.zip", "v_099.101", "v_100.101"}));
}

TEST(PatchVsapI, AFailedMoveOfTheNewPatternEndsWithoutAnArchive) {
  BehindWorld world;
  world.files.Fail(test::MemoryFileSystem::Operation::kMove, "lpt$vpn.101", 70);
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged(R"(PatchVsapI: Unable to find /app\ActiveUpdate\Pattern\lpt$vpn.101)"));
  EXPECT_FALSE(world.HasFile(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
  EXPECT_EQ(world.LogMessages("PatchVsapI: Found  ["), Lines{});
}

TEST(PatchVsapI, AFullDiskWhilePackingEndsWithoutAnArchiveAndSaysSo) {
  BehindWorld world;
  world.files.Fail(test::MemoryFileSystem::Operation::kWrite, "vsapi.zip", 61);
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Unable to compress the file"));
  EXPECT_TRUE(world.Logged("PatchVsapI: Found  []"));
  EXPECT_EQ(world.LogMessages("PatchVsapI: Found VSAPI.ZIP"), Lines{});
  EXPECT_FALSE(world.HasFile(R"(\ActiveUpdate\Pattern\vsapi.zip)"));
  EXPECT_EQ(world.LogMessages("RefreshPatternFolder:"), Lines{});
}

TEST(PatchVsapI, AnOldArchiveThatCannotBeReplacedIsReported) {
  BehindWorld world;
  world.files.Fail(test::MemoryFileSystem::Operation::kCommit, "vsapi.zip", 70);
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "vsapi.zip", 70);
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Error code 70 Permission denied"));
  EXPECT_TRUE(world.Logged("PatchVsapI: Found  [vsapi.zip]"));
}

TEST(PatchVsapI, WithOfficeScanOnlyTheIncrementsAreNotPublished) {
  BehindWorld world;
  world.SetSetting("SOURCES", "OfficeScanOnly", "1");
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_EQ(world.PublishedFolder(), (Names{"lpt$vpn.101", "vsapi.zip"}));
  EXPECT_FALSE(world.Logged("PatchVsapI: !=====>Move All Increment Pattern Downloaded<=====!"));
}

TEST(PatchVsapI, ASwitchThatIsNoNumberCountsAsOff) {
  BehindWorld world;
  world.SetSetting("SOURCES", "OfficeScanOnly", "yes");
  EXPECT_TRUE(world.build.PatchVsapI());
  EXPECT_TRUE(world.Logged("PatchVsapI: Error code 13 Type mismatch"));
  EXPECT_TRUE(world.Logged("PatchVsapI: !=====>Move All Increment Pattern Downloaded<=====!"));
}

TEST(PatchVsapI, AVersionThatIsNoFileNameIsRefused) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", R"(9\..\..\VLMR.ini)"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_EQ(world.LogMessages(R"(PatchVsapI: Refused pattern version [9\..\..\VLMR.ini]: )").size(), 1U);
  EXPECT_TRUE(world.HasFile(R"(\VLMR.ini)"));
}

TEST(PatchVsapI, AnIncrementPathThatLeavesTheTreeIsRefusedAndNotLookedFor) {
  BehindWorld world;
  world.PutFreshIndex({{"Version", "101"},
                       {"MergeCount", "1"},
                       {"Merge.1", "100"},
                       {"MergePath_VSAPI.1", "../../VLMR.ini,3"}});
  EXPECT_FALSE(world.build.PatchVsapI());
  EXPECT_TRUE(world.HasFile(R"(\VLMR.ini)"));
  EXPECT_EQ(world.processes.starts.size(), 0U);
}

}  // namespace
}  // namespace vlmr::patterns
