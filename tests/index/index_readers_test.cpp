#include "index/index_readers.h"

#include <gtest/gtest.h>

#include "index/index_world.h"
#include "support/error_of.h"

namespace vlmr::index {
namespace {

using test::ErrorOf;
using test::IndexWorld;
using Messages = std::vector<std::string>;

struct IndexReadersTest : testing::Test, IndexWorld {};

TEST_F(IndexReadersTest, VersionOfAnIndexIsReadAsANumberAndEachStepIsLogged) {
  Fresh("[PATTERN]\r\nVersion=1234.00\r\n");
  EXPECT_EQ(readers.VerifLocalPatternVersion(paths.FreshIndex()), 1234.0F);
  EXPECT_EQ(LogMessages(),
            (Messages{
                "VerifLocalPatternVersion: Start",
                R"(VerifLocalPatternVersion: Check /app\TempDownload\ActiveUpdate\server.ini=server.ini)",
                "VerifLocalPatternVersion: Tests Value=1234.00",
            }));
}

TEST_F(IndexReadersTest, VersionOfAnAbsentIndexIsZeroWithoutAValueLine) {
  EXPECT_EQ(readers.VerifLocalPatternVersion(paths.StoredIndex()), 0.0F);
  EXPECT_EQ(LogMessages(), (Messages{
                               "VerifLocalPatternVersion: Start",
                               R"(VerifLocalPatternVersion: Check /app\ActiveUpdate\server.ini=)",
                           }));
}

TEST_F(IndexReadersTest, VersionThatIsNoNumberIsATypeMismatch) {
  Fresh("[PATTERN]\nVersion=abc\n");
  EXPECT_EQ(ErrorOf([&] { readers.VerifLocalPatternVersion(paths.FreshIndex()); }), 13);
}

TEST_F(IndexReadersTest, DownloadedVersionIsTheTextOrZero) {
  EXPECT_EQ(readers.GetDownloadedPatternVersion(), "0");
  Fresh("[PATTERN]\nVersion= 1.10 \n");
  EXPECT_EQ(readers.GetDownloadedPatternVersion(), "1.10");
}

TEST_F(IndexReadersTest, IncrementForAVersionIsTheFirstThatEqualsItExactly) {
  Fresh(
      "[PATTERN]\nMergeCount=3\nMerge.1=099\nMergePath_VSAPI.1=Pattern/v_099.101,10\n"
      "Merge.2=100\nMergePath_VSAPI.2=Pattern/first,20\nMerge.3=100\nMergePath_VSAPI.3=Pattern/second,30\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "Pattern/first");
  EXPECT_EQ(readers.GetIncrementPathForVersion("099"), "Pattern/v_099.101");
}

TEST_F(IndexReadersTest, IncrementForAVersionThatNoMergeKeyEqualsIsEmpty) {
  Fresh(
      "[PATTERN]\nMergeCount=2\nMerge.1=100\nMergePath_VSAPI.1=Pattern/a,1\nMerge.2=A\n"
      "MergePath_VSAPI.2=Pattern/b,1\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("10"), "");
  EXPECT_EQ(readers.GetIncrementPathForVersion("a"), "") << "the comparison knows case";
}

TEST_F(IndexReadersTest, IncrementsBehindMergeCountAreNotSeen) {
  Fresh("[PATTERN]\nMergeCount=1\nMerge.2=100\nMergePath_VSAPI.2=Pattern/a,1\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "");
}

TEST_F(IndexReadersTest, MissingMergeValueNeverMatchesTheEmptyVersion) {
  Fresh("[PATTERN]\nMergeCount=1\nMergePath_VSAPI.1=Pattern/a,1\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion(""), "");
}

TEST_F(IndexReadersTest, IncrementWithoutAPathIsEmptyAndOneWithoutACommaIsAnInvalidCall) {
  Fresh("[PATTERN]\nMergeCount=2\nMerge.1=100\nMerge.2=101\nMergePath_VSAPI.2=nocomma\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "");
  EXPECT_EQ(ErrorOf([&] { readers.GetIncrementPathForVersion("101"); }), 5);
}

TEST_F(IndexReadersTest, MergeCountOfTwoThousandMillionEndsSoon) {
  Fresh("[PATTERN]\nMergeCount=2000000000\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "");
}

TEST_F(IndexReadersTest, AMillionIncrementsThatAreNotThereMakeAShortTableAndAShortLog) {
  Fresh("[PATTERN]\nMergeCount=1000000\nMerge.900000=100\nMergePath_VSAPI.900000=Pattern/a,1\n");
  EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "Pattern/a");
  std::vector<Increment> table;
  readers.GetIncrementUrl(table);
  ASSERT_EQ(table.size(), 1001U);
  EXPECT_EQ(table.back().path, "Pattern/a");
  EXPECT_EQ(table.back().from, "100");
  EXPECT_EQ(LogMessages("GetIncrementUrl: Value=").size(), 1001U);
}

TEST_F(IndexReadersTest, NegativeMergeCountFindsNoIncrement) {
  for (const char* count : {"-5", "-1e300"}) {
    Fresh("[PATTERN]\nMergeCount=" + std::string(count) +
          "\nMerge.1=100\nMergePath_VSAPI.1=Pattern/v_100.101,1\n");
    EXPECT_EQ(readers.GetIncrementPathForVersion("100"), "") << count;
  }
}

TEST_F(IndexReadersTest, IncrementTableHoldsPathSizeAndFromVersionOfEachRow) {
  Fresh(
      "[PATTERN]\nMergeCount=2\nMerge.1=099\nMergePath_VSAPI.1=Pattern/v_099.101,10\n"
      "MergePath_VSAPI.2=Pattern/v_100.101,20,x\nMerge.2=100\n");
  std::vector<Increment> table;
  readers.GetIncrementUrl(table);
  ASSERT_EQ(table.size(), 2U);
  EXPECT_EQ(table[0].path, "Pattern/v_099.101");
  EXPECT_EQ(table[0].size, "10");
  EXPECT_EQ(table[0].from, "099");
  EXPECT_EQ(table[1].path, "Pattern/v_100.101");
  EXPECT_EQ(table[1].size, "20,x");
  EXPECT_EQ(table[1].from, "100");
  EXPECT_EQ(LogMessages(), (Messages{
                               "GetIncrementUrl: MergeCount=2",
                               "GetIncrementUrl: Value=Pattern/v_099.101,10",
                               "GetIncrementUrl: Value=Pattern/v_100.101,20,x",
                           }));
}

TEST_F(IndexReadersTest, AbsentMergeCountLeavesTheIncrementTableAsItIs) {
  Fresh("[PATTERN]\nVersion=1\n");
  std::vector<Increment> empty;
  readers.GetIncrementUrl(empty);
  EXPECT_TRUE(empty.empty());
  std::vector<Increment> filled{{.path = "p", .size = "s", .from = "f"}};
  readers.GetIncrementUrl(filled);
  ASSERT_EQ(filled.size(), 1U);
  EXPECT_EQ(filled[0].path, "p");
  EXPECT_EQ(LogMessages(), (Messages{"GetIncrementUrl: MergeCount=0", "GetIncrementUrl: MergeCount=0"}));
}

TEST_F(IndexReadersTest, IncrementWithoutACommaFailsAtItsRowAndTheRowsBeforeItStayFilled) {
  Fresh(
      "[PATTERN]\nMergeCount=3\nMerge.1=099\nMergePath_VSAPI.1=Pattern/a,1\nMergePath_VSAPI.2=nocomma\n"
      "MergePath_VSAPI.3=Pattern/c,3\n");
  std::vector<Increment> table;
  EXPECT_EQ(ErrorOf([&] { readers.GetIncrementUrl(table); }), 5);
  ASSERT_EQ(table.size(), 3U);
  EXPECT_EQ(table[0].path, "Pattern/a");
  EXPECT_EQ(table[1].path, "");
  EXPECT_EQ(table[2].path, "");
}

TEST_F(IndexReadersTest, MissingIncrementIsAnEmptyRow) {
  Fresh("[PATTERN]\nMergeCount=1\nMerge.1=099\n");
  std::vector<Increment> table;
  readers.GetIncrementUrl(table);
  ASSERT_EQ(table.size(), 1U);
  EXPECT_EQ(table[0].path, "");
  EXPECT_EQ(table[0].from, "099");
}

TEST_F(IndexReadersTest, CountsThatNoTableCanHaveAreErrorsAtItsSizing) {
  struct Case {
    const char* count;
    int error;
  };
  for (const Case& c : {Case{"2000000000", 7}, Case{"1000001", 7}, Case{"-1", 9}, Case{"x", 13},
                        Case{"1,5", 13}, Case{"1e400", 6}}) {
    Fresh("[PATTERN]\nMergeCount=" + std::string(c.count) + "\n");
    std::vector<Increment> table(1);
    EXPECT_EQ(ErrorOf([&] { readers.GetIncrementUrl(table); }), c.error) << c.count;
    EXPECT_EQ(table.size(), 1U) << c.count;
  }
}

TEST_F(IndexReadersTest, PathOfTheFullArchiveStandsBeforeTheFirstComma) {
  EXPECT_EQ(readers.GetCombinedPatternPath(), "");
  Fresh("[PATTERN]\nPath_Combine=Pattern/vsapi.zip,4096\n");
  EXPECT_EQ(readers.GetCombinedPatternPath(), "Pattern/vsapi.zip");
  Fresh("[PATTERN]\nPath_Combine=Pattern/vsapi.zip\n");
  EXPECT_EQ(ErrorOf([&] { readers.GetCombinedPatternPath(); }), 5);
}

TEST_F(IndexReadersTest, AuxiliaryVersionsComeFromTheMirrorsIndex) {
  Fresh("[PATTERN]\nP.10=f,99,1\n");
  Stored(
      "[PATTERN]\nP.10=Pattern/mpp.zip, 3.5 ,10\nP.20=Pattern/opp.zip,4,20\nP.40=Pattern/spam.zip,5\n"
      "P.80=nocomma\n");
  EXPECT_EQ(readers.GetMirrorPatternVersion(AuxiliaryPattern::kMpp), "3.5 ");
  EXPECT_EQ(readers.GetMirrorPatternVersion(AuxiliaryPattern::kOpp), "4");
  EXPECT_EQ(readers.GetMirrorPatternVersion(AuxiliaryPattern::kSpam), "5");
  EXPECT_EQ(ErrorOf([&] { readers.GetMirrorPatternVersion(AuxiliaryPattern::kRedAlert); }), 5);
  Stored("");
  EXPECT_EQ(readers.GetMirrorPatternVersion(AuxiliaryPattern::kRedAlert), "");
}

TEST_F(IndexReadersTest, IndexWithBareLineFeedsIsReadLikeAnyOther) {
  Fresh("[PATTERN]\nVersion=101\nPath_Combine=Pattern/vsapi.zip,1\n");
  EXPECT_EQ(readers.GetDownloadedPatternVersion(), "101");
}

}  // namespace
}  // namespace vlmr::index
