#include "ftpsources/pattern_cleanup.h"

#include <gtest/gtest.h>

#include <vector>

#include "ftpsources/held_pattern_stand_in.h"
#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

using Lines = std::vector<std::string>;

class PatternCleanupTest : public testing::Test {
 protected:
  void Kill() { cleanup.KillPatternServer(world.At(R"(\ActiveUpdate\Pattern)")); }
  void Put(const std::string& name) { world.files.Put(R"(\ActiveUpdate\Pattern\)" + name, "x"); }
  Lines Left() { return world.files.List(world.At(R"(\ActiveUpdate\Pattern\*)")); }

  test::World world;
  HeldPatternStandIn held{"101"};
  PatternCleanup cleanup{world.runtime, held};
};

TEST_F(PatternCleanupTest, DeletesAllPatternsButTheHeldOne) {
  for (const std::string name : {"lpt$vpn.099", "lpt$vpn.101", "lpt$vpn.100", "vsapi.zip", "whatsnew.txt"})
    Put(name);
  Kill();
  EXPECT_EQ(Left(), (Lines{"lpt$vpn.101", "vsapi.zip", "whatsnew.txt"}));
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "KillPatternServer: Executed",
                                     R"(Path to clean:[/app\ActiveUpdate\Pattern])",
                                     "KillPatternServer: Last Pattern [101]",
                                     R"(KillPatternServer: Delete [/app\ActiveUpdate\Pattern\lpt$vpn.099])",
                                     R"(KillPatternServer: Delete [/app\ActiveUpdate\Pattern\lpt$vpn.100])",
                                 }));
}

TEST_F(PatternCleanupTest, AFolderThatHoldsOnlyTheNewestPatternLosesNothing) {
  Put("lpt$vpn.101");
  Kill();
  EXPECT_EQ(Left(), Lines{"lpt$vpn.101"});
  EXPECT_EQ(world.LogMessages().size(), 3U);
}

TEST_F(PatternCleanupTest, WithoutAHeldPatternEveryPatternOfTheFolderGoes) {
  for (const std::string version : {"0", ""}) {
    held.version = version;
    Put("lpt$vpn.100");
    Put("LPT$VPN.101");
    Kill();
    EXPECT_EQ(Left(), Lines{}) << version;
    EXPECT_TRUE(world.Logged("KillPatternServer: Last Pattern [" + version + "]"));
  }
}

TEST_F(PatternCleanupTest, AFileThatCannotBeDeletedIsLoggedAndTheLoopGoesOn) {
  for (const std::string name : {"lpt$vpn.098", "lpt$vpn.099", "lpt$vpn.100"}) Put(name);
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "lpt$vpn.099", 70);
  Kill();
  EXPECT_EQ(Left(), Lines{"lpt$vpn.099"});
  EXPECT_TRUE(world.Logged("KillPatternServer: Error [70] [Permission denied]"));
  EXPECT_TRUE(world.Logged(R"(KillPatternServer: Delete [/app\ActiveUpdate\Pattern\lpt$vpn.100])"));
}

TEST_F(PatternCleanupTest, ANameInUpperCaseIsDeletedUnderItsOwnSpelling) {
  Put("LPT$VPN.100");
  Kill();
  EXPECT_EQ(Left(), Lines{});
  EXPECT_TRUE(world.Logged(R"(KillPatternServer: Delete [/app\ActiveUpdate\Pattern\lpt$vpn.100])"));
}

TEST_F(PatternCleanupTest, AMissingFolderIsAnEmptyOne) {
  Kill();
  EXPECT_EQ(world.LogMessages().size(), 3U);
}

}  // namespace
}  // namespace vlmr::ftpsources
