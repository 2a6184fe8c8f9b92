#include <gtest/gtest.h>

#include "core/number.h"
#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

/// A service that publishes one version after the other, and a mirror that follows it as a run does.
class FollowingWorld : public PatternWorld {
 public:
  explicit FollowingWorld(Patch kind) { ScriptPatchProgram(kind); }

  /// The service publishes `version` with an increment from `from`.
  void Publish(int version, int from) {
    const std::string to = core::IntegerText(version);
    const std::string increment = "Pattern/v_" + core::IntegerText(from) + "." + to;
    PutFreshIndex({{"Version", to},
                   {"Path_VSAPI", "Pattern/vsapi.zip,999"},
                   {"MergeCount", "1"},
                   {"Merge.1", core::IntegerText(from)},
                   {"MergePath_VSAPI.1", increment + ",3"}});
    Serve(increment, "inc");
    Serve("Pattern/vsapi.zip", ArchiveOf(to, "full"));
    Serve("Pattern/whatsnew.txt", "list");
  }

  /// A normal pass as far as the pattern goes, the clean-up at its end and the next run's first look.
  bool FollowByIncrement() {
    increments.GetAllIncrement();
    const bool is_built = build.PatchVsapI();
    housekeeping.DeleteOldIncrementFiles(
        GetIni(R"(\TempDownload\ActiveUpdate\server.ini)", "PATTERN", "Version"));
    store.PatternStored();
    return is_built;
  }
};

class UpdatesInARow : public ::testing::TestWithParam<PatternWorld::Patch> {};

TEST_P(UpdatesInARow, TenOfThemStayIncrementalWhereverThePatchProgramLeavesItsFiles) {
  FollowingWorld world(GetParam());
  world.PutStoredArchive("100");
  for (int version = 101; version <= 110; ++version) {
    SCOPED_TRACE(version);
    world.Publish(version, version - 1);
    EXPECT_TRUE(world.FollowByIncrement());
    EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn." + core::IntegerText(version)}));
    EXPECT_EQ(world.PublishedFolder(), (Names{"vsapi.zip"}));
  }
  EXPECT_EQ(world.processes.StartsOf("Patch.exe"), 10);
  EXPECT_EQ(world.downloader.RequestsOf("http://main.example/au/Pattern/vsapi.zip"), 0);
  EXPECT_EQ(world.StoredArchiveEntries(),
            (Names{"lpt$vpn.110=pattern+inc+inc+inc+inc+inc+inc+inc+inc+inc+inc"}));
}

TEST_P(UpdatesInARow, TenOfThemStayIncrementalInTheReducedMode) {
  FollowingWorld world(GetParam());
  world.PutStoredArchive("100");
  for (int version = 101; version <= 110; ++version) {
    world.Publish(version, version - 1);
    world.reduced.DownloadOnlyFirstPattern();
  }
  EXPECT_EQ(world.processes.StartsOf("Patch.exe"), 10);
  EXPECT_EQ(world.downloader.RequestsOf("http://main.example/au/Pattern/vsapi.zip"), 0);
  EXPECT_EQ(world.StoredKey("Version"), "110");
  EXPECT_EQ(world.notifier.mails.back().second, "110 [Method=Increment]");
}

TEST_P(UpdatesInARow, AfterAFullArchiveTheNextOneIsIncrementalAgain) {
  FollowingWorld world(GetParam());
  world.PutStoredArchive("100");
  world.store.PatternStored();
  world.Publish(103, 102);
  EXPECT_FALSE(world.FollowByIncrement());
  EXPECT_TRUE(world.reduced.GET_BIG_VSAPI());
  world.store.PatternStored();
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.103"}));
  world.Publish(104, 103);
  EXPECT_TRUE(world.FollowByIncrement());
  EXPECT_EQ(world.StoredArchiveEntries(), (Names{"lpt$vpn.104=full+inc"}));
}

INSTANTIATE_TEST_SUITE_P(Programs, UpdatesInARow,
                         ::testing::Values(PatternWorld::Patch::kMovesOldToBackup,
                                           PatternWorld::Patch::kLeavesOld,
                                           PatternWorld::Patch::kWritesIntoSource));

}  // namespace
}  // namespace vlmr::patterns
