#include "ftpsources/latest_ini.h"

#include <gtest/gtest.h>

#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

constexpr std::string_view kFile = R"(\CPR_Temp\latest.ini)";

TEST(LatestIni, ReadsVersionAndBuildOutOfThePatternVersion) {
  struct Row {
    std::string value, version, build;
  };
  const std::vector<Row> rows = {
      {"1.890 v3", "1.890", "3"},
      {"1.890", "1.890", "0"},           // no build
      {"1.890v3", "1.890v3", "3"},       // no blank: all of it is the version
      {"1.890 build 3", "1.890", "0"},   // no "v"
      {"1.890 v", "1.890", ""},          // a mark with nothing behind it
      {"1.890 v3 v4", "1.890", "3 v4"},  // behind the first "v"
      {"1.890 V3", "1.890", "0"},        // the mark is a small letter
      {"v12", "v12", "12"},
      {"", "0", "0"},
      {"   ", "0", "0"},
  };
  for (const Row& row : rows) {
    test::World world;
    world.SetIni(kFile, "LatestPattern", "PatternVersion", row.value);
    EXPECT_EQ(ReadCprVersion(world.ini, world.At(kFile)), row.version) << row.value;
    EXPECT_EQ(ReadCprBuild(world.ini, world.At(kFile)), row.build) << row.value;
  }
}

TEST(LatestIni, AMissingFileReadsAsZeroAndZero) {
  test::World world;
  EXPECT_EQ(ReadCprVersion(world.ini, world.At(kFile)), "0");
  EXPECT_EQ(ReadCprBuild(world.ini, world.At(kFile)), "0");
}

TEST(LatestIni, SurvivesAnyBytes) {
  test::World world;
  world.files.Put(kFile, std::string("[LatestPattern]\0=\r[[[PatternVersion=\xff\xfe", 38));
  EXPECT_EQ(ReadCprVersion(world.ini, world.At(kFile)), "0");
}

TEST(LatestIni, WritesSixKeysInTheirOrderInOneReplacement) {
  test::World world;
  world.files.PutFolder(R"(\ActiveUpdate\CPR)");
  const std::string file = world.At(R"(\ActiveUpdate\CPR\latest.ini)");
  const LatestIni latest{.version = "1.890",
                         .build = "3",
                         .pattern_created = "05/03/2026 10:00",
                         .pattern_size = "4096",
                         .zip_file = "lpt890.zip",
                         .zip_created = "05/03/2026 10:05",
                         .zip_size = "2048"};
  EXPECT_TRUE(WriteLatestIni(world.ini, latest, file));
  EXPECT_EQ(world.files.Text(file),
            "[LatestPattern]\r\n"
            "PatternVersion=1.890 v3\r\n"
            "PatternCreated=05/03/2026 10:00\r\n"
            "PatternSize=4096\r\n"
            "[Zip]\r\n"
            "ZipFile=lpt890.zip\r\n"
            "ZipCreated=05/03/2026 10:05\r\n"
            "ZipSize=2048\r\n");
  EXPECT_EQ(world.files.files_written, std::vector<std::string>{file});
}

TEST(LatestIni, WritesOverWhatIsThereAndKeepsTheRest) {
  test::World world;
  const std::string file = world.At(R"(\ActiveUpdate\CPR\latest.ini)");
  world.files.Put(file, "; ours\r\n[LatestPattern]\r\nPatternVersion=1.0 v1\r\nOther=x\r\n");
  LatestIni latest;
  latest.version = "2";
  latest.build = "0";
  EXPECT_TRUE(WriteLatestIni(world.ini, latest, file));
  EXPECT_TRUE(
      world.files.Text(file).starts_with("; ours\r\n[LatestPattern]\r\nPatternVersion=2 v0\r\nOther=x\r\n"));
}

}  // namespace
}  // namespace vlmr::ftpsources
