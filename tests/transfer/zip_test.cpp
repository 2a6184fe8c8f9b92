#include "transfer/zip.h"

#include <gtest/gtest.h>

#include "support/raw_zip.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using test::RawZip;
using test::RawZipEntry;
using Lines = std::vector<std::string>;
using Operation = test::MemoryFileSystem::Operation;

constexpr const char* kCorrupted = "Dezipfiles: error 1 DezipFiles: GetEntryNum=0, Zip file seems corrupted";

class ZipTest : public testing::Test {
 protected:
  ZipTest() { world.files.PutFolder(R"(\in)"); }

  bool Unpack() { return zip.DezipFiles(world.At(R"(\in\a.zip)"), world.At(R"(\out)"), "", ""); }
  bool Unpack(const std::vector<RawZipEntry>& entries) {
    world.files.Put(R"(\in\a.zip)", RawZip(entries));
    return Unpack();
  }
  bool Pack(const std::string& list) {
    return zip.ZipFiles(world.At(R"(\in)"), "a.zip", world.At(R"(\source)"), list);
  }
  /// All files but the source and the archive.
  Lines Unpacked() const {
    Lines files = world.files.Files();
    std::erase_if(files, [](const std::string& file) { return !file.starts_with(R"(\out)"); });
    return files;
  }

  test::World world;
  ZIP zip{world.runtime};
};

using DezipFiles = ZipTest;
using ZipFiles = ZipTest;

TEST_F(DezipFiles, ExtractsEveryEntryWithItsStoredFoldersOverExistingFiles) {
  world.files.Put(R"(\out\A.TXT)", "an older and longer text");
  EXPECT_TRUE(Unpack({{.name = "a.txt", .data = "one"},
                      {.name = "sub/deep/b.txt", .data = "two"},
                      {.name = "sub\\c.txt", .data = "three"}}));
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\A.TXT)", R"(\out\sub\c.txt)", R"(\out\sub\deep\b.txt)"}));
  EXPECT_EQ(world.files.Text(R"(\out\a.txt)"), "one");
  EXPECT_EQ(world.files.Text(R"(\out\sub\deep\b.txt)"), "two");
  EXPECT_EQ(world.LogMessages(), Lines{});
}

TEST_F(DezipFiles, TheMissingTargetFolderIsMade) {
  EXPECT_TRUE(Unpack({{.name = "lpt$vpn.100", .data = "pattern"}}));
  EXPECT_EQ(world.files.FindFolder(world.At(R"(\out)")), "out");
}

TEST_F(DezipFiles, ADeflatedEntryIsInflated) {
  world.files.Put(R"(\source\big.txt)", std::string(500'000, 'x') + "end");
  EXPECT_TRUE(Pack("big.txt"));
  EXPECT_LT(world.files.Length(world.At(R"(\in\a.zip)")), 10'000);
  EXPECT_TRUE(Unpack());
  EXPECT_EQ(world.files.Text(R"(\out\big.txt)"), std::string(500'000, 'x') + "end");
}

TEST_F(DezipFiles, AZeroByteOrNonZipOrTruncatedOrMissingFileYieldsFalseAndExactlyOneLine) {
  const std::string good = RawZip({{.name = "a.txt", .data = std::string(1000, 'x')}});
  const std::string bad[] = {"",
                             "no archive at all",
                             std::string(1'000'000, '\0'),
                             "PK\x05\x06",
                             good.substr(0, good.size() / 2),
                             good.substr(0, good.size() - 10)};
  for (const std::string& bytes : bad) {
    world.ClearLog();
    world.files.Put(R"(\in\a.zip)", bytes);
    EXPECT_FALSE(Unpack()) << bytes.size();
    EXPECT_EQ(world.LogMessages(), (Lines{kCorrupted})) << bytes.size();
  }
  world.ClearLog();
  world.files.Remove(R"(\in\a.zip)");
  EXPECT_FALSE(Unpack());
  EXPECT_EQ(world.LogMessages(), (Lines{kCorrupted}));
  world.ClearLog();
  EXPECT_FALSE(zip.DezipFiles(world.At(R"(\nowhere\a.zip)"), world.At(R"(\out)"), "", ""));
  EXPECT_EQ(world.LogMessages(), (Lines{kCorrupted}));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, AnArchiveWithoutEntriesIsCorruptToo) {
  EXPECT_FALSE(Unpack({}));
  EXPECT_EQ(world.LogMessages(), (Lines{kCorrupted}));
}

TEST_F(DezipFiles, AnArchiveThatCannotBeReadIsReportedByTheSameLine) {
  world.files.Fail(Operation::kRead, "a.zip", 70);
  EXPECT_FALSE(Unpack({{.name = "a.txt", .data = "one"}}));
  EXPECT_EQ(world.LogMessages(), (Lines{kCorrupted}));
}

TEST_F(DezipFiles, EntriesWithEmptyNamesExtractNothingWithoutTheCorruptionLine) {
  EXPECT_FALSE(Unpack({{.name = "", .data = "one"}, {.name = "", .data = "two"}}));
  EXPECT_EQ(world.LogMessages(), Lines{});
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, FolderEntriesAreMadeAndNotCounted) {
  EXPECT_FALSE(Unpack({{.name = "empty/inner/", .data = ""}}));
  EXPECT_EQ(world.files.FindFolder(world.At(R"(\out\empty\inner)")), "inner");
  EXPECT_EQ(world.LogMessages(), Lines{});
  EXPECT_TRUE(Unpack({{.name = "empty/", .data = ""}, {.name = "empty/a.txt", .data = "one"}}));
}

TEST_F(DezipFiles, AnEntryThatWouldLeaveItsFolderIsRefusedWithALineAndNotCounted) {
  const Lines evil = {"../evil.txt",
                      "sub/../../evil.txt",
                      "/evil.txt",
                      "\\evil.txt",
                      "C:\\evil.txt",
                      "..\\evil.txt",
                      "//host/share/evil",
                      "a:b",
                      "sub//x",
                      "../",
                      "/",
                      "nul",
                      "sub/con.txt/x",
                      "dot./x",
                      "new\nline",
                      "x.vlmr-tmp",
                      "..",
                      "sub/..",
                      "blank /x",
                      "a\x7f/..\\x"};
  for (const std::string& name : evil) {
    world.ClearLog();
    EXPECT_FALSE(Unpack({{.name = name, .data = "evil"}})) << name;
    const Lines lines = world.LogMessages();
    ASSERT_EQ(lines.size(), 1U) << name;
    EXPECT_TRUE(lines[0].starts_with("Dezipfiles: error 75 Path/File access error: ")) << lines[0];
  }
  Lines files = world.files.Files();
  std::erase_if(files,
                [](const std::string& file) { return file == R"(\in\a.zip)" || file.starts_with(R"(\V)"); });
  EXPECT_EQ(files, Lines{});
  EXPECT_EQ(world.files.Folders(), (Lines{R"(\in)", R"(\out)"}));
}

TEST_F(DezipFiles, ARefusedEntryDoesNotHinderTheOthers) {
  EXPECT_TRUE(Unpack({{.name = "../evil.txt", .data = "evil"}, {.name = "a.txt", .data = "one"}}));
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\a.txt)"}));
  EXPECT_EQ(world.LogMessages().size(), 1U);
}

TEST_F(DezipFiles, AnUnknownMethodOrEncryptionIsOneLineEachAndNotCounted) {
  EXPECT_FALSE(Unpack({{.name = "a.txt", .data = "one", .method = 77},
                       {.name = "b.txt", .data = std::string(20, 'x'), .flags = 1}}));
  EXPECT_EQ(world.LogMessages(), (Lines{"Dezipfiles: error 16 Compression method not supported",
                                        "Dezipfiles: error 26 No password provided"}));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, ADamagedEntryIsNotExtractedAndLeavesNoHalfFile) {
  world.files.Put(R"(\out\a.txt)", "old");
  EXPECT_TRUE(
      Unpack({{.name = "a.txt", .data = "one", .checksum = 12345}, {.name = "b.txt", .data = "two"}}));
  EXPECT_EQ(world.files.Text(R"(\out\a.txt)"), "old");
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\a.txt)", R"(\out\b.txt)"}));
  EXPECT_EQ(world.LogMessages(), (Lines{"Dezipfiles: error 7 CRC error"}));
}

TEST_F(DezipFiles, AnEntryThatHoldsMoreThanItDeclaresIsRefused) {
  world.files.Put(R"(\source\zeros)", std::string(3'000'000, '\0'));
  ASSERT_TRUE(Pack("zeros"));
  std::string archive = world.files.Text(R"(\in\a.zip)");
  // The declared size stands at byte 24 behind the directory entry's mark.
  const auto declared = archive.find("PK\x01\x02") + 24;
  archive.replace(declared, 4, std::string("\x0A\0\0\0", 4));
  world.files.Put(R"(\in\a.zip)", archive);
  EXPECT_FALSE(Unpack());
  EXPECT_EQ(world.LogMessages().size(), 1U);
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, MoreThanTheAllowedEntriesOrBytesAreRefusedBeforeAnythingIsUnpacked) {
  ZIP small(world.runtime, {.entries = 2, .unpacked_bytes = 10});
  const auto unpack = [&](const std::vector<RawZipEntry>& entries) {
    world.files.Put(R"(\in\a.zip)", RawZip(entries));
    return small.DezipFiles(world.At(R"(\in\a.zip)"), world.At(R"(\out)"), "", "");
  };
  EXPECT_TRUE(unpack({{.name = "a", .data = "12345"}, {.name = "b", .data = "12345"}}));
  world.files.Remove(R"(\out)");
  EXPECT_FALSE(unpack({{.name = "a", .data = ""}, {.name = "b", .data = ""}, {.name = "c", .data = ""}}));
  EXPECT_FALSE(unpack({{.name = "a", .data = "12345"}, {.name = "b", .data = "123456"}}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 1 DezipFiles: refused, more than 2 entries",
                   "Dezipfiles: error 1 DezipFiles: refused, unpacks to more than 10 bytes"}));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, FourGigabytesAreTheMostThatAnArchiveMayDeclare) {
  EXPECT_FALSE(
      Unpack({{.name = "a", .data = "x", .size = 0xFFFFFFF0}, {.name = "b", .data = "x", .size = 100}}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 1 DezipFiles: refused, unpacks to more than 4294967296 bytes"}));
}

TEST_F(DezipFiles, MoreThanIsFreeWhereItUnpacksIsRefusedBeforeAnythingIsUnpacked) {
  world.files.free_space = 9;
  EXPECT_FALSE(Unpack({{.name = "a", .data = "12345"}, {.name = "b", .data = "12345"}}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 61 DezipFiles: refused, unpacks to 10 bytes, 9 bytes are free"}));
  EXPECT_EQ(Unpacked(), Lines{});
  world.files.free_space = 10;
  EXPECT_TRUE(Unpack({{.name = "a", .data = "12345"}, {.name = "b", .data = "12345"}}));
}

TEST_F(DezipFiles, ADirectoryThatIsTooLargeToBeReadIsRefusedAndCountsNoEntries) {
  ZIP small(world.runtime, {.directory_bytes = 150});
  const std::string path = world.At(R"(\in\a.zip)");
  world.files.Put(path, RawZip({{.name = "a", .data = "x"}, {.name = "b", .data = "x"}}));
  EXPECT_TRUE(small.DezipFiles(path, world.At(R"(\out)"), "", ""));
  EXPECT_EQ(small.EntryCount(path), 2);
  world.files.Remove(R"(\out)");
  world.files.Put(path, RawZip({{.name = std::string(150, 'a'), .data = "x"}}));
  EXPECT_FALSE(small.DezipFiles(path, world.At(R"(\out)"), "", ""));
  EXPECT_EQ(small.EntryCount(path), 0);
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 1 DezipFiles: refused, its directory is over 150 bytes"}));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(DezipFiles, AHundredThousandEntriesAreTheMost) {
  std::vector<RawZipEntry> entries(100'001);
  for (std::size_t n = 0; n < entries.size(); ++n) entries[n].name = std::to_string(n);
  EXPECT_FALSE(Unpack(entries));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 1 DezipFiles: refused, more than 100000 entries"}));
}

TEST_F(DezipFiles, AFileThatCannotBeWrittenIsReportedAndTheOthersAreExtracted) {
  world.files.PutFolder(R"(\out\a.txt)");
  world.files.Fail(Operation::kStage, "b.txt", 70);
  EXPECT_TRUE(Unpack(
      {{.name = "a.txt", .data = "one"}, {.name = "b.txt", .data = "two"}, {.name = "c.txt", .data = ""}}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"Dezipfiles: error 75 Path/File access error", "Dezipfiles: error 70 Permission denied"}));
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\c.txt)"}));
}

TEST_F(DezipFiles, ATargetFolderThatCannotBeMadeIsOneLine) {
  world.files.Put(R"(\out)", "a file");
  EXPECT_FALSE(Unpack({{.name = "a.txt", .data = "one"}, {.name = "b.txt", .data = "two"}}));
  EXPECT_EQ(world.LogMessages(), (Lines{"Dezipfiles: error 75 Path/File access error"}));
}

TEST_F(DezipFiles, AFullDiskEndsTheExtraction) {
  world.files.Fail(Operation::kWrite, "b.txt", 61);
  EXPECT_TRUE(Unpack(
      {{.name = "a.txt", .data = "one"}, {.name = "b.txt", .data = "two"}, {.name = "c.txt", .data = "x"}}));
  EXPECT_EQ(world.LogMessages(), (Lines{"Dezipfiles: error 61 Disk full"}));
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\a.txt)"}));
}

TEST_F(ZipFiles, PacksTheListedFilesUnderTheirNamesAlone) {
  world.files.Put(R"(\source\lpt$vpn.101)", "pattern");
  world.files.Put(R"(\source\sub\b.txt)", "two");
  EXPECT_TRUE(Pack(R"(lpt$vpn.101,sub\b.txt)"));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\in\a.zip)")), 2);
  EXPECT_TRUE(Unpack());
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\b.txt)", R"(\out\lpt$vpn.101)"}));
  EXPECT_EQ(world.files.Text(R"(\out\lpt$vpn.101)"), "pattern");
  EXPECT_EQ(world.LogMessages(), Lines{});
}

TEST_F(ZipFiles, AnExistingArchiveIsReplacedAndItsEntriesDoNotSurvive) {
  world.files.Put(R"(\source\old.txt)", "old");
  world.files.Put(R"(\source\new.txt)", "new");
  EXPECT_TRUE(Pack("old.txt"));
  world.files.files_deleted.clear();
  EXPECT_TRUE(Pack("new.txt"));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\in\a.zip)")), 1);
  EXPECT_TRUE(Unpack());
  EXPECT_EQ(Unpacked(), (Lines{R"(\out\new.txt)"}));
  // Readers of the published folder never find it missing.
  EXPECT_EQ(world.files.files_deleted, Lines{});
}

TEST_F(ZipFiles, AMissingFileIsOneLineAndTheArchiveIsBuiltFromTheOthers) {
  world.files.Put(R"(\source\a.txt)", "one");
  EXPECT_TRUE(Pack("gone.txt,a.txt,also gone.txt"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"ZipFiles: error 53 File not found", "ZipFiles: error 53 File not found"}));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\in\a.zip)")), 1);
}

TEST_F(ZipFiles, AnEmptyPieceAsksForTheFolderItselfAndPiecesAreNotTrimmed) {
  world.files.Put(R"(\source\a)", "one");
  world.files.Put(R"(\source\b)", "two");
  EXPECT_TRUE(Pack("a,,b"));
  EXPECT_EQ(world.LogMessages(), (Lines{"ZipFiles: error 53 File not found"}));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\in\a.zip)")), 2);
  world.ClearLog();
  EXPECT_TRUE(Pack("a, b"));
  EXPECT_EQ(world.LogMessages(), (Lines{"ZipFiles: error 53 File not found"}));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\in\a.zip)")), 1);
}

TEST_F(ZipFiles, WithNothingToAddNoArchiveIsCreatedAndTheOldOneIsGone) {
  world.files.Put(R"(\in\a.zip)", "old");
  world.files.PutFolder(R"(\source\folder)");
  for (const char* list : {"", "gone", "folder"}) {
    world.ClearLog();
    EXPECT_FALSE(Pack(list)) << list;
    EXPECT_EQ(world.LogMessages(), (Lines{"ZipFiles: error 53 File not found"})) << list;
  }
  Lines files = world.files.Files();
  std::erase_if(files, [](const std::string& file) { return file.starts_with(R"(\V)"); });
  EXPECT_EQ(files, Lines{});
}

TEST_F(ZipFiles, AnOldArchiveThatCannotBeDeletedIsReported) {
  world.files.Put(R"(\in\a.zip)", "old");
  world.files.Fail(Operation::kDelete, "a.zip", 70);
  EXPECT_FALSE(Pack("gone"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"ZipFiles: error 53 File not found", "ZipFiles: error 70 Permission denied"}));
}

TEST_F(ZipFiles, AnArchiveThatCannotBeCreatedIsOneLine) {
  world.files.Put(R"(\source\a.txt)", "one");
  world.files.Remove(R"(\in)");
  EXPECT_FALSE(Pack("a.txt"));
  EXPECT_EQ(world.LogMessages(), (Lines{"ZipFiles: error 76 Path not found"}));
}

TEST_F(ZipFiles, AFailureMidwayLeavesNothingUnderTheArchivesName) {
  const struct {
    Operation operation;
    const char* name;
    int number;
  } failures[] = {
      {Operation::kWrite, "a.zip", 61}, {Operation::kCommit, "a.zip", 70}, {Operation::kRead, "a.txt", 70}};
  for (const auto& failure : failures) {
    world.ClearLog();
    world.files.FailNothing();
    world.files.Put(R"(\source\a.txt)", std::string(100'000, 'x'));
    world.files.Put(R"(\in\a.zip)", "old");
    world.files.Fail(failure.operation, failure.name, failure.number);
    EXPECT_FALSE(Pack("a.txt"));
    const Lines lines = world.LogMessages();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("ZipFiles: error " + std::to_string(failure.number) + " ")) << lines[0];
    EXPECT_EQ(world.files.List(world.At(R"(\in\*)")), Lines{});
  }
}

TEST_F(ZipTest, EntryCountIsZeroForWhatIsNoArchiveAndLogsNothing) {
  EXPECT_EQ(zip.EntryCount(world.At(R"(\gone.zip)")), 0);
  world.files.Put(R"(\a.zip)", "none");
  EXPECT_EQ(zip.EntryCount(world.At(R"(\a.zip)")), 0);
  world.files.Put(R"(\a.zip)", RawZip({{.name = "a", .data = ""}, {.name = "b/", .data = ""}}));
  EXPECT_EQ(zip.EntryCount(world.At(R"(\a.zip)")), 2);
  EXPECT_EQ(world.LogMessages(), Lines{});
}

}  // namespace
}  // namespace vlmr::transfer
