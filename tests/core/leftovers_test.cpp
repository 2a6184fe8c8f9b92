#include "core/leftovers.h"

#include <gtest/gtest.h>

#include "support/test_world.h"

namespace vlmr::core {
namespace {

using test::World;
const std::string kMark(platform::kTemporaryMark);

TEST(Leftovers, OfAKilledRunAreRemovedFromTheProgramsOwnTreesAtEveryDepth) {
  World world;
  for (const std::string path :
       {R"(\VLMR.ini)", R"(\ActiveUpdate\server.ini)", R"(\ActiveUpdate\Product\a\b\c\f.zip)",
        R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", R"(\Pattern\lpt$vpn.101)", R"(\CPR_Temp\lpt.zip)",
        R"(\mQueue\12.mai)", R"(\BackupLogs\05-03-2026_14-07_logs.logs)"}) {
    world.files.Put(path, "whole");
    world.files.Put(path + kMark, "half");
    world.files.Put(path + kMark + "-17", "half");
  }
  RemoveLeftovers(world.paths, world.files);
  const auto left = world.files.Files();
  EXPECT_EQ(left.size(), 8U);
  for (const std::string& file : left) {
    EXPECT_EQ(file.find(kMark), std::string::npos) << file;
  }
}

TEST(Leftovers, OfAKilledPatchJobGoAndNothingElseOfItsFolder) {
  World world;
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\Backup\lpt$vpn.100)", "old pattern");
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\Backup\notes)", "the patch program's");
  world.files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "fetched");
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  RemoveLeftovers(world.paths, world.files);
  EXPECT_EQ(world.files.Files(),
            (std::vector<std::string>{R"(\Pattern\lpt$vpn.100)",
                                      R"(\TempDownload\ActiveUpdate\Pattern\Backup\notes)",
                                      R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)"}));
}

TEST(Leftovers, OfAPackageThatWasNotInstalledGo) {
  World world;
  world.files.Put(R"(\TempDownload\tsc12344.zip)", "fetched");
  world.files.Put(R"(\TempDownload\ActiveUpdate\Engine\tsc.zip)", "another's");
  RemoveLeftovers(world.paths, world.files);
  EXPECT_EQ(world.files.Files(), std::vector<std::string>{R"(\TempDownload\ActiveUpdate\Engine\tsc.zip)"});
}

TEST(Leftovers, InFoldersThatAreNotTheProgramsOwnStay) {
  World world;
  world.files.Put(R"(\Operator\notes)" + kMark, "mine");
  RemoveLeftovers(world.paths, world.files);
  EXPECT_TRUE(world.files.Has(R"(\Operator\notes)" + kMark));
}

TEST(Leftovers, ThatCannotBeRemovedAreLeftWithoutAWordAndTheOthersGo) {
  World world;
  world.files.Put(R"(\Pattern\a)" + kMark, "half");
  world.files.Put(R"(\Pattern\b)" + kMark, "half");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "a*", 70);
  EXPECT_NO_THROW(RemoveLeftovers(world.paths, world.files));
  EXPECT_EQ(world.files.Files(), std::vector<std::string>{R"(\Pattern\a)" + kMark});
}

TEST(Leftovers, CostOneWalkForEachTreeAndOneLookForEachOtherPlace) {
  World world;
  for (int i = 0; i < 100; ++i) {
    world.files.Put(R"(\ActiveUpdate\Product\)" + std::to_string(i) + R"(\f.zip)", "x");
  }
  RemoveLeftovers(world.paths, world.files);
  constexpr std::size_t kTrees = 6;
  constexpr std::size_t kOtherPlaces = 2;
  EXPECT_EQ(world.files.listed.size(), kTrees + 1 + kOtherPlaces)
      << "the application folder's folders are not walked";
}

TEST(Leftovers, OfAnEmptyFolderAreNoMatter) {
  World world;
  EXPECT_NO_THROW(RemoveLeftovers(world.paths, world.files));
}

}  // namespace
}  // namespace vlmr::core
