#include "core/folder_tree.h"

#include <gtest/gtest.h>

#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using test::World;
using Lines = std::vector<std::string>;

int ErrorOf(const Runtime& runtime, FolderTree tree) {
  try {
    TestingFolder(runtime, tree);
    return 0;
  } catch (const platform::RuntimeError& error) {
    return error.Number();
  }
}

TEST(TestingFolder, MakesEveryPublishedFolderInItsOrderOnAFreshInstallation) {
  World world;
  TestingFolder(world.runtime, FolderTree::kPublished);
  EXPECT_EQ(test::Trace(world), (Lines{
                                    "TestingFolder: Verify folders Start",
                                    R"(/app\ActiveUpdate= )",
                                    R"(Create /app\ActiveUpdate= )",
                                    R"(/app\ActiveUpdate\Engine= )",
                                    R"(Create /app\ActiveUpdate\Engine= )",
                                    R"(/app\ActiveUpdate\Pattern= )",
                                    R"(Create /app\ActiveUpdate\Pattern= )",
                                    R"(/app\ActiveUpdate\ServerProtect= )",
                                    R"(Create /app\ActiveUpdate\ServerProtect= )",
                                    R"(/app\ActiveUpdate\Product= )",
                                    R"(Create /app\ActiveUpdate\Product= )",
                                    R"(/app\ActiveUpdate\Source= )",
                                    R"(Create /app\ActiveUpdate\Source= )",
                                    "TestingFolder: Verify folders End",
                                }));
  EXPECT_EQ(world.files.folders_made.size(), 6U);
}

TEST(TestingFolder, MakesTheStagingTreeWithoutASourceFolderAndWithItsOwnTopLine) {
  World world;
  TestingFolder(world.runtime, FolderTree::kStaging);
  EXPECT_EQ(test::Trace(world), (Lines{
                                    "TestingFolder: Verify folders Start",
                                    R"(/app\TempDownload= )",
                                    R"(Create /app\TempDownload=)",
                                    R"(/app\TempDownload\ActiveUpdate= )",
                                    R"(Create /app\TempDownload\ActiveUpdate= )",
                                    R"(/app\TempDownload\ActiveUpdate\Engine= )",
                                    R"(Create /app\TempDownload\ActiveUpdate\Engine= )",
                                    R"(/app\TempDownload\ActiveUpdate\ServerProtect= )",
                                    R"(Create /app\TempDownload\ActiveUpdate\ServerProtect= )",
                                    R"(/app\TempDownload\ActiveUpdate\Pattern= )",
                                    R"(Create /app\TempDownload\ActiveUpdate\Pattern= )",
                                    R"(/app\TempDownload\ActiveUpdate\Product= )",
                                    R"(Create /app\TempDownload\ActiveUpdate\Product= )",
                                    "TestingFolder: Verify folders End",
                                }));
}

TEST(TestingFolder, MakesNothingTheSecondTimeAndNamesWhatItFindsAsItStandsOnDisk) {
  World world;
  world.files.PutFolder(R"(\activeupdate)");
  TestingFolder(world.runtime, FolderTree::kPublished);
  world.files.folders_made.clear();
  world.form.statuses.clear();
  TestingFolder(world.runtime, FolderTree::kPublished);
  EXPECT_TRUE(world.files.folders_made.empty());
  EXPECT_EQ(test::Trace(world), (Lines{
                                    "TestingFolder: Verify folders Start",
                                    R"(/app\ActiveUpdate= activeupdate)",
                                    R"(/app\ActiveUpdate\Engine= Engine)",
                                    R"(/app\ActiveUpdate\Pattern= Pattern)",
                                    R"(/app\ActiveUpdate\ServerProtect= ServerProtect)",
                                    R"(/app\ActiveUpdate\Product= Product)",
                                    R"(/app\ActiveUpdate\Source= Source)",
                                    "TestingFolder: Verify folders End",
                                }));
}

TEST(TestingFolder, RaisesForAFileOfThatNameAndLeavesTheRestOfTheTree) {
  World world;
  world.files.Put(R"(\ActiveUpdate)", "a file");
  EXPECT_EQ(ErrorOf(world.runtime, FolderTree::kPublished), 75);
  EXPECT_EQ(test::Trace(world), (Lines{"TestingFolder: Verify folders Start", R"(/app\ActiveUpdate= )",
                                       R"(Create /app\ActiveUpdate= )"}));
  EXPECT_EQ(ErrorOf(world.runtime, FolderTree::kStaging), 0) << "the other tree is not touched by it";
}

TEST(TestingFolder, LogsItsStartAndEndAsOrdinaryLinesAndFoldersAsDetail) {
  World world;
  TestingFolder(world.runtime, FolderTree::kPublished);
  EXPECT_EQ(world.LogMessages(),
            (Lines{"TestingFolder: Verify folders Start", "TestingFolder: Verify folders End"}));
  world.SetSetting("LOGS", "Level", "1");
  world.ClearLog();
  TestingFolder(world.runtime, FolderTree::kPublished);
  EXPECT_EQ(world.LogMessages().size(), 6U);
}

TEST(TestingFolder, LeavesFoldersOutsideTheTwoTreesToTheirUsers) {
  World world;
  TestingFolder(world.runtime, FolderTree::kPublished);
  TestingFolder(world.runtime, FolderTree::kStaging);
  for (const char* folder :
       {R"(\Pattern)", R"(\CPR_Temp)", R"(\mQueue)", R"(\BackupLogs)", R"(\ActiveUpdate\CPR)",
        R"(\ActiveUpdate\TSC)", R"(\TempDownload\ActiveUpdate\Source)"}) {
    EXPECT_EQ(world.files.FindFolder(world.At(folder)), "") << folder;
  }
}

}  // namespace
}  // namespace vlmr::core
