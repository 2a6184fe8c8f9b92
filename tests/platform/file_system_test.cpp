#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/native.h"
#include "platform/runtime_error.h"
#include "support/error_of.h"
#include "support/memory_file_system.h"
#include "support/scoped_temp_dir.h"

namespace vlmr::platform {
namespace {

using test::ErrorOf;
using Names = std::vector<std::string>;

/// The file system in memory, as the suite sees it.
class InMemory {
 public:
  FileSystem& Files() { return files_; }
  std::string At(const std::string& below) const { return files_.At(below); }
  void Put(const std::string& below, const std::string& bytes) { files_.Put(below, bytes); }
  static bool HoldsTwins() { return true; }

 private:
  test::MemoryFileSystem files_;
};

/// The running system's file system, in a folder of its own.
class OnDisk {
 public:
  FileSystem& Files() { return *files_; }
  std::string At(const std::string& below) const { return folder_.At(below); }
  void Put(const std::string& below, const std::string& bytes) { folder_.Put(below, bytes); }
  /// Whether names that differ in case only are two files on this disk.
  static bool HoldsTwins() {
    const test::ScopedTempDir folder;
    folder.Put("\\twin", "lower");
    folder.Put("\\TWIN", "upper");
    return folder.Text("\\twin") == "lower";
  }

 private:
  test::ScopedTempDir folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem(folder_.Folder());
};

/// What every file system must do. One suite over both, so that the one in memory cannot drift.
template <typename Implementation>
class AnyFileSystem : public testing::Test {
 protected:
  FileSystem& Files() { return implementation_.Files(); }
  std::string At(const std::string& below) const { return implementation_.At(below); }
  void Put(const std::string& below, const std::string& bytes) { implementation_.Put(below, bytes); }
  static bool HoldsTwins() { return Implementation::HoldsTwins(); }
  /// Everything below the application folder's first level that is no folder, temporary files included.
  Names Everything(const std::string& folder = "") { return Files().List(At(folder) + "\\*"); }

 private:
  Implementation implementation_;
};

using Implementations = testing::Types<InMemory, OnDisk>;
TYPED_TEST_SUITE(AnyFileSystem, Implementations);

TYPED_TEST(AnyFileSystem, FindsAFileInAnyCaseAndTellsItsSpellingOnDisk) {
  this->Put("\\ActiveUpdate\\Vsapi.zip", "x");
  EXPECT_EQ(this->Files().FindFile(this->At("\\ActiveUpdate\\Vsapi.zip")), "Vsapi.zip");
  EXPECT_EQ(this->Files().FindFile(this->At("\\activeupdate\\VSAPI.ZIP")), "Vsapi.zip");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\ACTIVEUPDATE\\vsapi.zip")), "x");
}

TYPED_TEST(AnyFileSystem, AnExactSpellingReachesItsOwnFileAmongTwins) {
  if (!this->HoldsTwins()) GTEST_SKIP() << "this system has no names that differ in case only";
  this->Put("\\vsapi.zip", "lower");
  this->Put("\\VSAPI.ZIP", "upper");
  EXPECT_EQ(this->Files().FindFile(this->At("\\vsapi.zip")), "vsapi.zip");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\vsapi.zip")), "lower");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\VSAPI.ZIP")), "upper");
}

TYPED_TEST(AnyFileSystem, FindsMarkedFilesAtEveryDepthDotNamesAmongThem) {
  const std::string mark(kTemporaryMark);
  this->Put("\\Top\\whole", "x");
  this->Put("\\Top\\a" + mark, "x");
  this->Put("\\Top\\Sub\\b" + mark + "-17", "x");
  this->Put("\\Top\\.dot\\.c" + mark, "x");
  this->Put("\\Top\\Marked" + mark + "\\whole", "x");
  this->Put("\\Other\\d" + mark, "x");
  Names found = this->Files().FindMarked(this->At("\\top"), mark);
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, (Names{this->At("\\top\\.dot\\.c" + mark), this->At("\\top\\Sub\\b" + mark + "-17"),
                          this->At("\\top\\a" + mark)}));
  for (const std::string& path : found) this->Files().Delete(path);
  EXPECT_EQ(this->Files().FindMarked(this->At("\\Top"), mark), Names());
}

TYPED_TEST(AnyFileSystem, FindsNoMarkedFilesInAMissingOrRefusedFolderOrAFile) {
  const std::string mark(kTemporaryMark);
  this->Put("\\Top\\a" + mark, "x");
  EXPECT_EQ(this->Files().FindMarked(this->At("\\missing"), mark), Names());
  EXPECT_EQ(this->Files().FindMarked(this->At("\\Top\\..\\Top"), mark), Names());
  EXPECT_EQ(this->Files().FindMarked(this->At("\\Top\\a" + mark), mark), Names());
  EXPECT_EQ(this->Files().FindMarked("", mark), Names());
}

TYPED_TEST(AnyFileSystem, AnotherSpellingReachesTheFirstOfTheTwinsInTheOrderOfListings) {
  if (!this->HoldsTwins()) GTEST_SKIP() << "this system has no names that differ in case only";
  this->Put("\\vsapi.zip", "lower");
  this->Put("\\VSAPI.ZIP", "upper");
  EXPECT_EQ(this->Files().FindFile(this->At("\\Vsapi.Zip")), "VSAPI.ZIP");
}

TYPED_TEST(AnyFileSystem, AnExactFolderGoesBeforeATwinThatHoldsTheFile) {
  if (!this->HoldsTwins()) GTEST_SKIP() << "this system has no names that differ in case only";
  this->Put("\\Pattern\\a.txt", "x");
  this->Put("\\PATTERN\\b.txt", "x");
  EXPECT_EQ(this->Files().FindFile(this->At("\\Pattern\\b.txt")), "");
  EXPECT_EQ(this->Files().FindFile(this->At("\\pattern\\b.txt")), "b.txt");
}

TYPED_TEST(AnyFileSystem, AFileLookUpOfAFolderOrNothingOrAPathEndIsEmpty) {
  this->Put("\\Pattern\\a.txt", "x");
  for (const char* below : {"\\Pattern", "\\pattern", "\\Pattern\\", "\\absent.txt", "\\absent\\a.txt",
                            "\\Pattern\\a.txt\\b", "\\Pattern\\a.txt\\", "\\"}) {
    EXPECT_EQ(this->Files().FindFile(this->At(below)), "") << below;
  }
  EXPECT_EQ(this->Files().FindFile(""), "");
}

TYPED_TEST(AnyFileSystem, AFolderLookUpSeesFoldersOnly) {
  this->Put("\\ActiveUpdate\\Pattern\\a.txt", "x");
  EXPECT_EQ(this->Files().FindFolder(this->At("\\activeupdate\\PATTERN")), "Pattern");
  EXPECT_NE(this->Files().FindFolder(this->At("")), "");
  for (const char* below : {"\\ActiveUpdate\\Pattern\\a.txt", "\\ActiveUpdate\\", "\\absent"}) {
    EXPECT_EQ(this->Files().FindFolder(this->At(below)), "") << below;
  }
  EXPECT_EQ(this->Files().FindFolder(""), "");
}

TYPED_TEST(AnyFileSystem, ADoubledBackslashCountsAsOne) {
  this->Put("\\TempDownload\\server.ini", "x");
  EXPECT_EQ(this->Files().FindFile(this->At("\\TempDownload\\\\server.ini")), "server.ini");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\TempDownload\\\\Server.ini")), "x");
}

TYPED_TEST(AnyFileSystem, ListsFilesInOrderWithoutFoldersAndDotFiles) {
  for (const char* below : {"\\P\\lpt$vpn.101", "\\P\\LPT$VPN.100", "\\P\\lpt$vpn", "\\P\\.lpt$vpn.1",
                            "\\P\\lpt$vpn.099", "\\P\\lpt$vpn.d\\inner", "\\P\\other.txt"}) {
    this->Put(below, "x");
  }
  EXPECT_EQ(this->Files().List(this->At("\\p\\Lpt$vpn.*")),
            (Names{"lpt$vpn.099", "LPT$VPN.100", "lpt$vpn.101"}));
  EXPECT_EQ(this->Files().List(this->At("\\P\\*.*")).size(), 5U);
  EXPECT_EQ(this->Files().List(this->At("\\P\\*")).size(), 5U);
  EXPECT_EQ(this->Files().List(this->At("\\P\\")), Names());
  EXPECT_EQ(this->Files().List(this->At("\\absent\\*")), Names());
  EXPECT_EQ(this->Files().List(""), Names());
}

TYPED_TEST(AnyFileSystem, TwinsAreListedInTheOrderOfTheirBytes) {
  if (!this->HoldsTwins()) GTEST_SKIP() << "this system has no names that differ in case only";
  for (const char* below : {"\\b", "\\a", "\\B", "\\A_", "\\AB"}) this->Put(below, "x");
  EXPECT_EQ(this->Everything(), (Names{"a", "AB", "A_", "B", "b"}));
}

TYPED_TEST(AnyFileSystem, ListsFoldersInTheSameOrder) {
  for (const char* below :
       {"\\A\\zeta\\x", "\\A\\Beta\\x", "\\A\\alpha\\x", "\\A\\.hidden\\x", "\\A\\file"}) {
    this->Put(below, "x");
  }
  EXPECT_EQ(this->Files().ListFolders(this->At("\\a")), (Names{"alpha", "Beta", "zeta"}));
  EXPECT_EQ(this->Files().ListFolders(this->At("\\absent")), Names());
}

TYPED_TEST(AnyFileSystem, TellsTheLengthOrRaises53) {
  this->Put("\\a\\five", "12345");
  EXPECT_EQ(this->Files().Length(this->At("\\A\\FIVE")), 5);
  for (const char* below : {"\\a\\six", "\\b\\five", "\\a", "\\a\\five\\"}) {
    EXPECT_EQ(ErrorOf([&] { (void)this->Files().Length(this->At(below)); }), 53) << below;
  }
}

TYPED_TEST(AnyFileSystem, AStampChangesWithTheFileAndIsAbsentWithoutOne) {
  EXPECT_FALSE(this->Files().Stamp(this->At("\\a.ini")));
  this->Put("\\a.ini", "one");
  const auto first = this->Files().Stamp(this->At("\\a.ini"));
  ASSERT_TRUE(first);
  EXPECT_EQ(first->size, 3);
  EXPECT_EQ(this->Files().Stamp(this->At("\\A.INI")), first);
  this->Files().Replace(this->At("\\a.ini"), "two");
  const auto second = this->Files().Stamp(this->At("\\a.ini"));
  ASSERT_TRUE(second);
  EXPECT_NE(second, first);
  EXPECT_FALSE(this->Files().Stamp(this->At("")));
}

TYPED_TEST(AnyFileSystem, ReadingRaises53ForTheFileAnd76ForItsFolder) {
  this->Put("\\a\\file", "x");
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(this->At("\\a\\absent")); }), 53);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(this->At("\\a")); }), 53);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(this->At("\\absent\\file")); }), 76);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(this->At("\\a\\file\\x")); }), 76);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(""); }), 53);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().OpenRead(this->At("\\a\\absent")); }), 53);
}

TYPED_TEST(AnyFileSystem, ReadsAnyBytesWholeAndInPieces) {
  std::string bytes(70'000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i % 251);
  this->Put("\\big", bytes);
  this->Put("\\empty", "");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\big")), bytes);
  EXPECT_EQ(this->Files().ReadAll(this->At("\\empty")), "");
  const auto input = this->Files().OpenRead(this->At("\\Big"));
  EXPECT_EQ(input->Length(), 70'000);
  std::array<char, 16> buffer = {};
  EXPECT_EQ(input->ReadAt(69'990, buffer), 10U);
  EXPECT_EQ(std::string(buffer.data(), 10), bytes.substr(69'990));
  EXPECT_EQ(input->ReadAt(70'000, buffer), 0U);
}

TYPED_TEST(AnyFileSystem, AppendMakesTheFileAsWrittenAndUsesAnExistingSpelling) {
  this->Files().Append(this->At("\\VlMR.log"), "one\r\n");
  this->Files().Append(this->At("\\Vlmr.log"), "two\r\n");
  EXPECT_EQ(this->Everything(), (Names{"VlMR.log"}));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\VlMR.log")), "one\r\ntwo\r\n");
}

TYPED_TEST(AnyFileSystem, WritingRaises76WithoutTheFolderAnd75OntoAFolder) {
  this->Put("\\a\\file", "x");
  for (const auto& [below, number] :
       {std::pair("\\absent\\file", 76), std::pair("\\a", 75), std::pair("\\A", 75), std::pair("", 75)}) {
    const std::string path = this->At(below);
    EXPECT_EQ(ErrorOf([&] { this->Files().Append(path, "x"); }), number) << below;
    EXPECT_EQ(ErrorOf([&] { this->Files().Replace(path, "x"); }), number) << below;
    EXPECT_EQ(ErrorOf([&] { (void)this->Files().Stage(path); }), number) << below;
    EXPECT_EQ(ErrorOf([&] { this->Files().AppendLimited(path, "x", 10, Access::kEverybody); }), number)
        << below;
  }
  EXPECT_EQ(this->Everything(), Names());
}

TYPED_TEST(AnyFileSystem, AppendLimitedStartsAnewOnlyAboveTheLimit) {
  const std::string log = this->At("\\VlMR.log");
  this->Files().AppendLimited(log, "12345", 5, Access::kOwnerAndGroup);
  this->Files().AppendLimited(log, "6", 5, Access::kOwnerAndGroup);
  EXPECT_EQ(this->Files().ReadAll(log), "123456");
  this->Files().AppendLimited(this->At("\\vlmr.LOG"), "7", 5, Access::kOwnerAndGroup);
  EXPECT_EQ(this->Everything().size(), 1U);
  EXPECT_EQ(this->Files().ReadAll(log), "7");
}

TYPED_TEST(AnyFileSystem, AStagedFileAppearsAtCommitAndNotBefore) {
  this->Put("\\index", "old");
  const auto staged = this->Files().Stage(this->At("\\index"));
  staged->Write("new");
  EXPECT_EQ(staged->Length(), 3);
  EXPECT_EQ(this->Files().ReadAll(this->At("\\index")), "old");
  staged->Commit();
  EXPECT_EQ(this->Files().ReadAll(this->At("\\index")), "new");
  EXPECT_EQ(this->Everything(), (Names{"index"}));
}

TYPED_TEST(AnyFileSystem, AStagedFileStandsBesideItsTargetUnderARecognisableName) {
  const auto staged = this->Files().Stage(this->At("\\index"));
  EXPECT_EQ(this->Everything(), (Names{"index" + std::string(kTemporaryMark)}));
}

TYPED_TEST(AnyFileSystem, AStagedFileThatIsDroppedLeavesNothing) {
  this->Put("\\index", "old");
  { this->Files().Stage(this->At("\\index"))->Write("half"); }
  { this->Files().Stage(this->At("\\other"))->Write("half"); }
  EXPECT_EQ(this->Everything(), (Names{"index"}));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\index")), "old");
}

TYPED_TEST(AnyFileSystem, AStagedFileIsWrittenAndReadAtAnyPlace) {
  const auto staged = this->Files().Stage(this->At("\\archive"));
  staged->Write("....body");
  staged->WriteAt(0, "head");
  staged->Write("+");
  std::array<char, 20> buffer = {};
  EXPECT_EQ(staged->ReadAt(2, buffer), 7U);
  EXPECT_EQ(std::string(buffer.data(), 7), "adbody+");
  EXPECT_EQ(staged->ReadAt(9, buffer), 0U);
  staged->Commit();
  EXPECT_EQ(this->Files().ReadAll(this->At("\\archive")), "headbody+");
}

TYPED_TEST(AnyFileSystem, AStagedFileReplacesALeftOverOfAKilledRun) {
  this->Put("\\index" + std::string(kTemporaryMark), "a long rest of long ago");
  this->Files().Replace(this->At("\\index"), "new");
  EXPECT_EQ(this->Everything(), (Names{"index"}));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\index")), "new");
}

TYPED_TEST(AnyFileSystem, ACommitReplacesTheEntryThatDiffersInCase) {
  this->Put("\\Server.ini", "old");
  this->Files().Replace(this->At("\\server.INI"), "new");
  EXPECT_EQ(this->Everything(), (Names{"Server.ini"}));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\Server.ini")), "new");
}

TYPED_TEST(AnyFileSystem, ACommitFindsAnEntryThatAppearedSinceTheStart) {
  const auto staged = this->Files().Stage(this->At("\\server.ini"));
  this->Put("\\SERVER.INI", "from elsewhere");
  this->Files().ForgetNames();
  staged->Write("ours");
  staged->Commit();
  EXPECT_EQ(this->Everything(), (Names{"SERVER.INI"}));
}

TYPED_TEST(AnyFileSystem, DeletesInAnyCaseAndRaises53ForWhatIsNoFile) {
  this->Put("\\a\\file", "x");
  for (const char* below : {"\\a", "\\a\\absent", "\\absent\\file", "\\a\\file\\", "\\a\\file\\x"}) {
    EXPECT_EQ(ErrorOf([&] { this->Files().Delete(this->At(below)); }), 53) << below;
  }
  this->Files().Delete(this->At("\\A\\FILE"));
  EXPECT_EQ(this->Everything("\\a"), Names());
  EXPECT_EQ(ErrorOf([&] { this->Files().Delete(this->At("\\a\\file")); }), 53);
}

TYPED_TEST(AnyFileSystem, CopiesAndReplacesInOneStep) {
  this->Put("\\from", std::string(600'000, 'b'));
  this->Put("\\To", "old");
  this->Files().Copy(this->At("\\FROM"), this->At("\\to"));
  EXPECT_EQ(this->Everything(), (Names{"from", "To"}));
  EXPECT_EQ(this->Files().Length(this->At("\\To")), 600'000);
  EXPECT_EQ(ErrorOf([&] { this->Files().Copy(this->At("\\absent"), this->At("\\To")); }), 53);
  EXPECT_EQ(ErrorOf([&] { this->Files().Copy(this->At("\\from"), this->At("\\absent\\to")); }), 76);
  EXPECT_EQ(this->Files().Length(this->At("\\To")), 600'000);
}

TYPED_TEST(AnyFileSystem, MovesIntoAnotherFolderUnderTheNameAsWritten) {
  this->Put("\\Temp\\v_100.101", "x");
  this->Files().MakeFolder(this->At("\\Mirror"));
  EXPECT_TRUE(this->Files().Move(this->At("\\temp\\V_100.101"), this->At("\\mirror\\V_100.101")));
  EXPECT_EQ(this->Everything("\\Temp"), Names());
  EXPECT_EQ(this->Everything("\\Mirror"), (Names{"V_100.101"}));
}

TYPED_TEST(AnyFileSystem, AFileThatCanBeDeletedIsToldFromOneThatIsNotThere) {
  this->Put("\\dir\\a", "a");
  EXPECT_NO_THROW(this->Files().RequireDeletable(this->At("\\Dir\\A")));
  EXPECT_NO_THROW(this->Files().RequireDeletable(this->At("\\dir\\a")));
  for (const char* path : {"\\dir\\b", "\\dir", "\\absent\\a", "\\dir\\a\\"}) {
    EXPECT_EQ(ErrorOf([&] { this->Files().RequireDeletable(this->At(path)); }), 53) << path;
  }
  EXPECT_EQ(this->Files().ReadAll(this->At("\\dir\\a")), "a");
}

TYPED_TEST(AnyFileSystem, AMoveOverPutsOneFileIntoThePlaceOfAnother) {
  this->Put("\\temp\\a.zip", "new");
  this->Put("\\mirror\\a.zip", "old");
  EXPECT_TRUE(this->Files().MoveOver(this->At("\\temp\\a.zip"), this->At("\\mirror\\a.zip")));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\mirror\\a.zip")), "new");
  EXPECT_EQ(this->Everything("\\temp"), Names());
  EXPECT_EQ(this->Everything("\\mirror"), (Names{"a.zip"}));
}

TYPED_TEST(AnyFileSystem, AMoveOverFailsWhenOneOfTheFilesIsMissingOrAFolder) {
  this->Put("\\a", "a");
  this->Put("\\dir\\c", "c");
  for (const auto& [from, to] :
       {std::pair("\\a", "\\new"), std::pair("\\a", "\\dir"), std::pair("\\absent", "\\a"),
        std::pair("\\dir", "\\a"), std::pair("\\a", "\\dir\\c\\")}) {
    EXPECT_FALSE(this->Files().MoveOver(this->At(from), this->At(to))) << from << " over " << to;
  }
  EXPECT_EQ(this->Files().ReadAll(this->At("\\a")), "a");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\dir\\c")), "c");
}

TYPED_TEST(AnyFileSystem, AMoveFailsWhenTheTargetIsThereOrAFolderOrTheSourceIsMissing) {
  this->Put("\\a", "a");
  this->Put("\\b", "b");
  this->Put("\\dir\\c", "c");
  for (const auto& [from, to] :
       {std::pair("\\a", "\\b"), std::pair("\\a", "\\B"), std::pair("\\a", "\\dir"),
        std::pair("\\a", "\\absent\\a"), std::pair("\\absent", "\\new"), std::pair("\\dir", "\\new"),
        std::pair("\\a", "\\a"), std::pair("\\a", "\\new\\")}) {
    EXPECT_FALSE(this->Files().Move(this->At(from), this->At(to))) << from << " to " << to;
  }
  EXPECT_EQ(this->Files().ReadAll(this->At("\\a")), "a");
  EXPECT_EQ(this->Files().ReadAll(this->At("\\b")), "b");
  EXPECT_EQ(this->Everything(), (Names{"a", "b"}));
}

TYPED_TEST(AnyFileSystem, MakesOneFolderAsWritten) {
  this->Files().MakeFolder(this->At("\\CPR_Temp"));
  EXPECT_EQ(this->Files().FindFolder(this->At("\\Cpr_Temp")), "CPR_Temp");
  this->Put("\\file", "x");
  for (const auto& [below, number] :
       {std::pair("\\CPR_Temp", 75), std::pair("\\cpr_temp", 75), std::pair("\\FILE", 75),
        std::pair("\\absent\\new", 76), std::pair("\\file\\new", 76), std::pair("\\CPR_Temp\\", 75)}) {
    EXPECT_EQ(ErrorOf([&] { this->Files().MakeFolder(this->At(below)); }), number) << below;
  }
  EXPECT_EQ(this->Files().ListFolders(this->At("")), (Names{"CPR_Temp"}));
}

TYPED_TEST(AnyFileSystem, MakesEveryMissingFolderAndKeepsThoseThatDifferInCase) {
  this->Files().MakeFolder(this->At("\\Product"));
  this->Files().MakeFolders(this->At("\\product\\A\\b\\"));
  EXPECT_EQ(this->Files().ListFolders(this->At("")), (Names{"Product"}));
  EXPECT_EQ(this->Files().FindFolder(this->At("\\Product\\A\\b")), "b");
  this->Files().MakeFolders(this->At("\\PRODUCT\\a\\B"));
  EXPECT_EQ(this->Files().ListFolders(this->At("\\Product")), (Names{"A"}));
  this->Put("\\file", "x");
  EXPECT_EQ(ErrorOf([&] { this->Files().MakeFolders(this->At("\\file\\x\\y")); }), 75);
}

TYPED_TEST(AnyFileSystem, APathThatClimbsOutIsRefusedWith75AndNeverFound) {
  this->Put("\\a\\file", "x");
  const std::string path = this->At("\\a\\..\\a\\file");
  EXPECT_EQ(this->Files().FindFile(path), "");
  EXPECT_EQ(this->Files().FindFolder(this->At("\\a\\..")), "");
  EXPECT_FALSE(this->Files().Stamp(path));
  EXPECT_EQ(this->Files().List(this->At("\\a\\..\\a\\*")), Names());
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().ReadAll(path); }), 75);
  EXPECT_EQ(ErrorOf([&] { (void)this->Files().Length(path); }), 75);
  EXPECT_EQ(ErrorOf([&] { this->Files().Append(path, "x"); }), 75);
  EXPECT_EQ(ErrorOf([&] { this->Files().Replace(path, "x"); }), 75);
  EXPECT_EQ(ErrorOf([&] { this->Files().Delete(path); }), 75);
  EXPECT_EQ(ErrorOf([&] { this->Files().MakeFolder(this->At("\\a\\..\\b")); }), 75);
  EXPECT_FALSE(this->Files().Move(path, this->At("\\new")));
  EXPECT_FALSE(this->Files().Move(this->At("\\a\\file"), this->At("\\a\\..\\new")));
  EXPECT_EQ(this->Files().ReadAll(this->At("\\a\\file")), "x");
}

TYPED_TEST(AnyFileSystem, NamesThatItMakesAndRemovesItselfAreKnownAtOnce) {
  for (int i = 0; i < 50; ++i) {
    const std::string written = this->At("\\File" + std::to_string(i));
    const std::string other = this->At("\\fILE" + std::to_string(i));
    EXPECT_EQ(this->Files().FindFile(other), "");
    this->Files().Replace(written, "x");
    EXPECT_EQ(this->Files().FindFile(other), "File" + std::to_string(i));
    EXPECT_TRUE(this->Files().Move(other, this->At("\\Moved" + std::to_string(i))));
    EXPECT_EQ(this->Files().FindFile(written), "");
    EXPECT_EQ(this->Files().FindFile(this->At("\\mOVED" + std::to_string(i))), "Moved" + std::to_string(i));
    this->Files().Delete(this->At("\\moved" + std::to_string(i)));
  }
  EXPECT_EQ(this->Everything(), Names());
}

TYPED_TEST(AnyFileSystem, NamesThatAnotherProgramMakesAreKnownAfterForgetting) {
  EXPECT_EQ(this->Files().FindFile(this->At("\\a\\PATCHED")), "");
  this->Put("\\a\\patched", "x");
  this->Files().ForgetNames();
  EXPECT_EQ(this->Files().FindFile(this->At("\\A\\PATCHED")), "patched");
}

struct WildcardCase {
  const char* name;
  const char* pattern;
  bool matches;
};

TEST(MatchesWildcardTest, FollowsTheTable) {
  const WildcardCase cases[] = {
      {"lpt$vpn.101", "lpt$vpn.*", true},
      {"LPT$VPN.101", "lpt$vpn.*", true},
      {"lpt$vpn", "lpt$vpn.*", false},
      {"lpt$vpn.", "lpt$vpn.*", true},
      {"no_dot", "*.*", true},
      {"no_dot", "*", true},
      {"no_dot", "*.", false},
      {"v_100.101", "V_*.101", true},
      {"v_100.1011", "V_*.101", false},
      {"v_101.101.101", "v_*.101", true},
      {"a.zip", "?.zip", true},
      {".zip", "?.zip", false},
      {"ab.zip", "?.zip", false},
      {"aaab", "*a?b", true},
      {"aaab", "*aab*", true},
      {"abc", "abcd", false},
      {"abc", "ab", false},
      {"abc", "", false},
      {"abc", "abc**", true},
      {"[x]", "[x]", true},
      {"x", "[x]", false},
      {"\xC4"
       "b",
       "\xE4"
       "b",
       false},
  };
  for (const WildcardCase& c : cases) {
    EXPECT_EQ(MatchesWildcard(c.name, c.pattern), c.matches) << c.name << " against " << c.pattern;
  }
}

TEST(MatchesWildcardTest, ManyStarsDoNotMakeItSlow) {
  const std::string name(5'000, 'a');
  std::string pattern;
  for (int i = 0; i < 200; ++i) pattern += "*a";
  EXPECT_FALSE(MatchesWildcard(name, pattern + "b"));
  EXPECT_TRUE(MatchesWildcard(name, pattern));
}

TEST(ListsBeforeTest, OrdersByUpperCasedNameThenByBytes) {
  const Names ordered = {"", "A", "a", "A.B", "a1", "AB", "Ab", "aB", "ab", "a_", "B", "\x80"};
  for (std::size_t l = 0; l < ordered.size(); ++l) {
    for (std::size_t r = 0; r < ordered.size(); ++r) {
      EXPECT_EQ(ListsBefore(ordered[l], ordered[r]), l < r) << ordered[l] << " before " << ordered[r];
    }
  }
}

TEST(PathTextTest, AreTakenApartAtTheLastBackslash) {
  EXPECT_EQ(FolderOf("/opt/x\\a\\b.txt"), "/opt/x\\a");
  EXPECT_EQ(NameOf("/opt/x\\a\\b.txt"), "b.txt");
  EXPECT_EQ(NameOf("/opt/x\\a\\"), "");
  EXPECT_EQ(FolderOf("name"), "");
  EXPECT_EQ(NameOf("name"), "name");
}

}  // namespace
}  // namespace vlmr::platform
