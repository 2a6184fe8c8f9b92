#include "index/index_writer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/text.h"
#include "index/index_world.h"

namespace vlmr::index {
namespace {

using test::IndexWorld;
using Messages = std::vector<std::string>;

const char* const kServiceIndex =
    "; update index\r\n[Common]\r\nVersion=1.0\r\nCertVer=1\r\n\r\n[Server]\r\nAvailableServer=3\r\n"
    "Server.1=http://other\r\n[PATTERN]\r\nVersion=101.00\r\nPath_Combine=Pattern/vsapi.zip,7\r\n";

struct IndexWriterTest : testing::Test, IndexWorld {
  IndexWriterTest() {
    Fresh(kServiceIndex);
    files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "archive");
  }
  void PutIncrements() {
    files.Put(R"(\ActiveUpdate\Pattern\v_100.101)", "12345");
    files.Put(R"(\ActiveUpdate\Pattern\V_099.101)", "123");
    files.Put(R"(\ActiveUpdate\Pattern\v_099.100)", "1");
  }
  Messages Errors() const { return LogMessages("CreatingNewPatternServerIni: !! Error !! code "); }
};

TEST_F(IndexWriterTest, FirstIndexIsWrittenWholeAndItsLogIsWhole) {
  PutIncrements();
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\whatsnew.txt)", "news");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(
      StoredText(),
      "; update index\r\n[Common]\r\nVersion=1.2\r\nCertVer=1\r\n\r\n[Server]\r\nAvailableServer=0\r\n"
      "\r\n"
      "[PATTERN]\r\nVersion=101\r\nPath_Combine=Pattern/vsapi.zip,7\r\nPath_VSAPI=Pattern/vsapi.zip,7\r\n"
      "MergeCount=2\r\nMerge.1=099.101\r\nMerge.2=100.101\r\n"
      "MergePath_VSAPI.1=Pattern/V_099.101,3\r\nMergePath_VSAPI.2=Pattern/v_100.101,5\r\n"
      "MergePath_Combine.1=Pattern/V_099.101,3\r\nMergePath_Combine.2=Pattern/v_100.101,5\r\n"
      "P.2=Pattern/vsapi.zip,101,7\r\nP.4=Pattern/vsapi.zip,101,7\r\n"
      "\r\n\r\n\r\n\r\n");
  EXPECT_EQ(
      LogMessages(),
      (Messages{
          "CreatingNewPatternServerIni: Testing if server.ini is present..",
          "CreatingNewPatternServerIni: Testing dir server.ini=",
          "CreatingNewPatternServerIni: Create header first..",
          "CreatingNewPatternServerIni: Copy New downloaded files",
          "CreatingNewPatternServerIni: Copy whatsnew.txt",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Pattern\whatsnew.txt=>)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Pattern\whatsnew.txt=> to /app\ActiveUpdate\Pattern\whatsnew.txt)",
          "DeplaceFile: lngRetVal=1",
          "VerifLocalPatternVersion: Start",
          R"(VerifLocalPatternVersion: Check /app\TempDownload\ActiveUpdate\server.ini=server.ini)",
          "VerifLocalPatternVersion: Tests Value=101.00",
      }));
}

TEST_F(IndexWriterTest, EverythingAppearsInOneReplacement) {
  PutIncrements();
  files.files_written.clear();
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 1);
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 2);
}

TEST_F(IndexWriterTest, HeaderIsTheFirstSevenLinesAndOneEmptyLine) {
  Fresh("a\nb\nc\nd\ne\nf\ng\nh\n[PATTERN]\nVersion=101\n");
  writer.CreatingNewPatternServerIni();
  EXPECT_TRUE(StoredText().starts_with("a\r\nb\r\nc\r\nd\r\ne\r\nf\r\ng\r\n\r\n")) << StoredText();
  EXPECT_FALSE(core::Lines(StoredText())[8] == "h");
}

TEST_F(IndexWriterTest, SecondRunLeavesTheHeaderButSetsVersionAndServerBack) {
  Stored(
      "; mine\r\n[Common]\r\nVersion=9\r\nx=y\r\n[Server]\r\nAvailableServer=7\r\n; "
      "six\r\n[Extra]\r\nk=v\r\n");
  writer.CreatingNewPatternServerIni();
  EXPECT_TRUE(StoredText().starts_with(
      "; mine\r\n[Common]\r\nVersion=1.2\r\nx=y\r\n[Server]\r\nAvailableServer=0\r\n; "
      "six\r\n[Extra]\r\nk=v\r\n"))
      << StoredText();
  EXPECT_FALSE(Logged("CreatingNewPatternServerIni: Create header first.."));
  EXPECT_TRUE(Logged("CreatingNewPatternServerIni: Testing dir server.ini=server.ini"));
}

TEST_F(IndexWriterTest, EachRunAppendsFourEmptyLines) {
  PutIncrements();
  writer.CreatingNewPatternServerIni();
  const std::string first = StoredText();
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(StoredText(), first + "\r\n\r\n\r\n\r\n");
}

TEST_F(IndexWriterTest, IndexOfFewerThanSevenLinesGivesItsLinesAndOneError) {
  Fresh("[PATTERN]\nVersion=101\n");
  PutIncrements();
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors(), (Messages{"CreatingNewPatternServerIni: !! Error !! code 62"}));
  EXPECT_TRUE(StoredText().starts_with("[PATTERN]\r\nVersion=101\r\n")) << StoredText();
}

TEST_F(IndexWriterTest, AbsentFreshIndexIsOneErrorAndTheRestFollows) {
  files.Remove(R"(\TempDownload\ActiveUpdate\server.ini)");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors().at(0), "CreatingNewPatternServerIni: !! Error !! code 53");
  EXPECT_EQ(StoredValue("Common", "Version"), "1.2");
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "0");
  EXPECT_EQ(StoredValue("PATTERN", "P.2"), "Pattern/vsapi.zip,0,7");
}

TEST_F(IndexWriterTest, NoIncrementsIsErrorNineForTheCountAndEachLoopAndTheRestIsWritten) {
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors(), Messages(4, "CreatingNewPatternServerIni: !! Error !! code 9"));
  EXPECT_FALSE(core::IniDocument(StoredText()).HasKey("PATTERN", "MergeCount"));
  EXPECT_EQ(StoredValue("PATTERN", "P.2"), "Pattern/vsapi.zip,101,7");
  EXPECT_EQ(StoredValue("PATTERN", "P.4"), "Pattern/vsapi.zip,101,7");
  EXPECT_TRUE(StoredText().ends_with("P.4=Pattern/vsapi.zip,101,7\r\n\r\n\r\n\r\n\r\n"));
}

TEST_F(IndexWriterTest, WithoutIncrementsOldMergeKeysStay) {
  Stored("[PATTERN]\r\nMergeCount=1\r\nMerge.1=098.100\r\n");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(StoredValue("PATTERN", "MergeCount"), "1");
  EXPECT_EQ(StoredValue("PATTERN", "Merge.1"), "098.100");
}

TEST_F(IndexWriterTest, OldKeysAboveTheNewCountStay) {
  PutIncrements();
  Stored("[PATTERN]\r\nMergeCount=3\r\nMerge.3=097.100\r\nMergePath_VSAPI.3=Pattern/v_097.100,9\r\n");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(StoredValue("PATTERN", "MergeCount"), "2");
  EXPECT_EQ(StoredValue("PATTERN", "Merge.3"), "097.100");
}

TEST_F(IndexWriterTest, AbsentArchiveLeavesItsFourKeysUnwritten) {
  files.Remove(R"(\ActiveUpdate\Pattern\vsapi.zip)");
  PutIncrements();
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors(), Messages(4, "CreatingNewPatternServerIni: !! Error !! code 53"));
  const core::IniDocument index(StoredText());
  for (const char* key : {"Path_Combine", "Path_VSAPI", "P.2", "P.4"}) {
    EXPECT_FALSE(index.HasKey("PATTERN", key)) << key;
  }
  EXPECT_EQ(StoredValue("PATTERN", "MergeCount"), "2");
}

TEST_F(IndexWriterTest, VersionThatIsNoNumberIsNotWritten) {
  Fresh("1\n2\n3\n4\n5\n6\n7\n[PATTERN]\nVersion=abc\n");
  Stored("[PATTERN]\r\nVersion=100\r\n");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors().at(0), "CreatingNewPatternServerIni: !! Error !! code 13");
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "100");
  EXPECT_EQ(StoredValue("PATTERN", "P.2"), "Pattern/vsapi.zip,100,7") << "taken from the mirror's version";
}

TEST_F(IndexWriterTest, LeadingZerosOfTheVersionAreLostAndSuchIncrementsAreNotListed) {
  Fresh("1\n2\n3\n4\n5\n6\n7\n[PATTERN]\nVersion=005\n");
  files.Put(R"(\ActiveUpdate\Pattern\v_004.005)", "1");
  files.Put(R"(\ActiveUpdate\Pattern\v_004.5)", "1");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(StoredValue("PATTERN", "Version"), "5");
  EXPECT_EQ(StoredValue("PATTERN", "MergeCount"), "1");
  EXPECT_EQ(StoredValue("PATTERN", "Merge.1"), "004.5");
}

TEST_F(IndexWriterTest, IncrementsAreSortedByBytes) {
  Stored("[PATTERN]\nVersion=101\n");
  for (const char* name : {"v_9.101", "V_10.101", "v_100.101", "V_9.101x"}) {
    files.Put(R"(\ActiveUpdate\Pattern\)" + std::string(name), "1");
  }
  EXPECT_EQ(writer.ListMergeFiles(), (Messages{"V_10.101", "v_100.101", "v_9.101"}));
}

TEST_F(IndexWriterTest, EmptyStagingFolderGivesOnlyItsHeadline) {
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(LogMessages("CreatingNewPatternServerIni: Copy "),
            (Messages{"CreatingNewPatternServerIni: Copy New downloaded files"}));
}

TEST_F(IndexWriterTest, StagedFilesReplaceTheMirrorsInTheOrderOfNamesAndFoldersStay) {
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\v_100.101)", "inc");
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\VSAPI.ZIP)", "new archive");
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\Backup\old.zip)", "kept");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(LogMessages("CreatingNewPatternServerIni: Copy "),
            (Messages{"CreatingNewPatternServerIni: Copy New downloaded files",
                      "CreatingNewPatternServerIni: Copy VSAPI.ZIP",
                      "CreatingNewPatternServerIni: Copy v_100.101"}));
  EXPECT_EQ(files.List(At(R"(\ActiveUpdate\Pattern\vsapi.zip)")).size(), 1U);
  EXPECT_EQ(StoredValue("PATTERN", "Path_VSAPI"), "Pattern/vsapi.zip,11");
  EXPECT_TRUE(files.Has(R"(\TempDownload\ActiveUpdate\Pattern\Backup\old.zip)"));
}

TEST_F(IndexWriterTest, WorkingFolderIsRefreshedOnlyWhenANewArchiveWasMoved) {
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\whatsnew.txt)", "news");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(needs.refreshes, 0);
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\Vsapi.zip)", "new archive");
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(needs.refreshes, 1);
}

TEST_F(IndexWriterTest, ArchiveThatCouldNotBeMovedLeavesTheWorkingFolderAlone) {
  files.Put(R"(\TempDownload\ActiveUpdate\Pattern\vsapi.zip)", "new archive");
  files.Fail(test::MemoryFileSystem::Operation::kMove, "vsapi.zip", 70);
  writer.CreatingNewPatternServerIni();
  EXPECT_TRUE(Logged("DeplaceFile: lngRetVal=0"));
  EXPECT_EQ(needs.refreshes, 0);
}

TEST_F(IndexWriterTest, IndexThatCannotBeWrittenIsLoggedAndTheOldOneStays) {
  Stored("[PATTERN]\r\nVersion=100\r\n");
  PutIncrements();
  files.Fail(test::MemoryFileSystem::Operation::kCommit, "server.ini", 70);
  writer.CreatingNewPatternServerIni();
  EXPECT_EQ(Errors(), (Messages{"CreatingNewPatternServerIni: !! Error !! code 75"}));
  EXPECT_EQ(StoredText(), "[PATTERN]\r\nVersion=100\r\n");
}

TEST_F(IndexWriterTest, BlankLineIsAppendedToTheMirrorsIndex) {
  Stored("a=b");
  writer.AppendBlankLine();
  EXPECT_TRUE(StoredText().ends_with("\r\n")) << StoredText();
}

}  // namespace
}  // namespace vlmr::index
