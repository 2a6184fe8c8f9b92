#include <gtest/gtest.h>

#include "index/index_world.h"

namespace vlmr::index {
namespace {

constexpr const char* kStagedArchive = R"(\TempDownload\ActiveUpdate\Pattern\vsapi.zip)";

TEST(ArchiveRefresh, AnArchiveThatCouldNotBeMovedLeavesTheWorkingFolderAlone) {
  test::IndexWorld world;
  world.files.Put(kStagedArchive, "new archive");
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "old archive, held open by a client");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "vsapi.zip", 70);
  world.files.Fail(test::MemoryFileSystem::Operation::kMove, "vsapi.zip", 70);
  world.writer.CreatingNewPatternServerIni();
  EXPECT_EQ(world.needs.refreshes, 0);
  EXPECT_TRUE(world.files.Has(kStagedArchive));
}

}  // namespace
}  // namespace vlmr::index
