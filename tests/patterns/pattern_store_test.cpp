#include "patterns/pattern_store.h"

#include <gtest/gtest.h>

#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

TEST(PatternStore, AnEmptyFolderWithoutArchiveMeansTheFirstInstall) {
  PatternWorld world;
  EXPECT_EQ(world.store.PatternStored(), "0");
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "PatternStored: Find the Last Pattern stored =================",
                R"(PatternStored: First pattern found= /app\Pattern\lpt$vpn.*=)",
                R"(PatternStored: Try to Uncompress /app\Activeupdate\Pattern\vsapi.zip)",
                R"(UnzipLatestPattern : /app\ActiveUpdate\Pattern\vsapi.zip=)",
                "PatternStored: Uncompress False Pattern=0 this is the first install",
            }));
}

TEST(PatternStore, AnEmptyFolderIsFilledFromTheArchive) {
  PatternWorld world;
  world.PutStoredArchive("101");
  EXPECT_EQ(world.store.PatternStored(), "101");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.101"}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "PatternStored: Find the Last Pattern stored =================",
                R"(PatternStored: First pattern found= /app\Pattern\lpt$vpn.*=)",
                R"(PatternStored: Try to Uncompress /app\Activeupdate\Pattern\vsapi.zip)",
                R"(UnzipLatestPattern : /app\ActiveUpdate\Pattern\vsapi.zip=vsapi.zip)",
                "UnzipLatestPattern =True",
                "PatternStored: Tests=lpt$vpn.101",
                "PatternStored: 101101",
                "CleanPatternFolder: Clean the folder now...",
                "CleanPatternFolder: Verify Pattern to kill => lpt$vpn.101",
                "CleanPatternFolder: Verify Pattern Skip the actual pattern lpt$vpn.101",
                R"(CleanPatternFolder: Found => /app\ActiveUpdate\Pattern\)",
                "PatternStored: Actual pattern version found 101",
                "PatternStored: Find the Last Pattern stored =================",
            }));
}

TEST(PatternStore, Of099And100TheResultIs100AndTheFileEndingIn099IsDeleted) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "old");
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "new");
  EXPECT_EQ(world.store.PatternStored(), "100");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.100"}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "PatternStored: Find the Last Pattern stored =================",
                R"(PatternStored: First pattern found= /app\Pattern\lpt$vpn.*=lpt$vpn.099)",
                "PatternStored: Tests=lpt$vpn.099",
                "PatternStored: Tests=lpt$vpn.100",
                "PatternStored: 9999",
                "PatternStored: 10099",
                "CleanPatternFolder: Clean the folder now...",
                "CleanPatternFolder: Verify Pattern to kill => lpt$vpn.099",
                "CleanPatternFolder: Delete pattern lpt$vpn.099",
                "CleanPatternFolder: Verify Pattern to kill => lpt$vpn.100",
                "CleanPatternFolder: Verify Pattern Skip the actual pattern lpt$vpn.100",
                R"(CleanPatternFolder: Found => /app\ActiveUpdate\Pattern\)",
                "PatternStored: Actual pattern version found 100",
                "PatternStored: Find the Last Pattern stored =================",
            }));
}

TEST(PatternStore, After999ComesNothingTheNumericallyHighestWins) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.000)", "newer in truth");
  world.files.Put(R"(\Pattern\lpt$vpn.999)", "older");
  EXPECT_EQ(world.store.PatternStored(), "999");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.999"}));
}

TEST(PatternStore, EachCallTakesOneUncompressedPatternFromThePublishedFolder) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.files.Put(R"(\ActiveUpdate\Pattern\lpt$vpn.100)", "published");
  world.files.Put(R"(\ActiveUpdate\Pattern\lpt$vpn.101)", "published");
  world.store.PatternStored();
  EXPECT_EQ(world.PublishedFolder(), (Names{"lpt$vpn.101"}));
  EXPECT_TRUE(world.Logged(R"(CleanPatternFolder: Found => /app\ActiveUpdate\Pattern\lpt$vpn.100)"));
  EXPECT_TRUE(world.Logged(R"(CleanPatternFolder: Delete pattern /app\ActiveUpdate\Pattern\lpt$vpn.100)"));
  world.store.PatternStored();
  EXPECT_EQ(world.PublishedFolder(), Names{});
}

TEST(PatternStore, ANameInCapitalsIsNotTheOneToKeepSoTheNextCallUnpacksAgain) {
  PatternWorld world;
  world.PutStoredArchive("101");
  world.files.Put(R"(\Pattern\LPT$VPN.101)", "held");
  EXPECT_EQ(world.store.PatternStored(), "101");
  EXPECT_EQ(world.WorkingFolder(), Names{});
  EXPECT_EQ(world.store.PatternStored(), "101");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.101"}));
}

TEST(PatternStore, AnArchiveWithoutAPatternGivesAnEmptyResultAndError9) {
  PatternWorld world;
  world.files.Put(R"(\packing\readme.txt)", "no pattern");
  world.zip.ZipFiles(world.At(R"(\ActiveUpdate\Pattern)"), "vsapi.zip", world.At(R"(\packing)"),
                     "readme.txt");
  EXPECT_EQ(world.store.PatternStored(), "");
  EXPECT_EQ(world.LogMessages().back(), "PatternStored: Errors ! 9 Subscript out of range");
}

TEST(PatternStore, AnExtensionThatIsNoNumberEndsItWithAnEmptyResult) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  world.files.Put(R"(\Pattern\lpt$vpn.bak)", "somebody's copy");
  EXPECT_EQ(world.store.PatternStored(), "");
  EXPECT_EQ(world.LogMessages().back(), "PatternStored: Errors ! 13 Type mismatch");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.100", "lpt$vpn.bak"}));
}

TEST(PatternStore, ADamagedArchiveIsAFirstInstall) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "no archive");
  EXPECT_EQ(world.store.PatternStored(), "0");
  EXPECT_EQ(world.LogMessages("CleanPatternFolder:"), Lines{});
}

TEST(PatternStore, AFileThatCannotBeDeletedStaysWithoutAWord) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.098)", "in use");
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "old");
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "new");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "lpt$vpn.098", 70);
  EXPECT_EQ(world.store.PatternStored(), "100");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.098", "lpt$vpn.100"}));
  EXPECT_EQ(world.LogMessages("CleanPatternFolder: Delete"),
            (Lines{"CleanPatternFolder: Delete pattern lpt$vpn.099"}));
}

/// A file system whose second listing finds no memory.
class ForgetfulFiles : public test::MemoryFileSystem {
 public:
  using test::MemoryFileSystem::MemoryFileSystem;
  Names List(const std::string& pattern) const override {
    if (++listings_ == 2) {
      throw platform::RuntimeError(7);
    }
    return test::MemoryFileSystem::List(pattern);
  }

 private:
  mutable int listings_ = 0;
};

TEST(PatternStore, WithoutMemoryForTheListItGoesOnWithAnEmptyOne) {
  PatternWorld world;
  ForgetfulFiles files("/app");
  files.Put(R"(\Pattern\lpt$vpn.100)", "held");
  const core::Runtime runtime{world.paths,    files,       world.clock, world.ini,
                              world.settings, world.state, world.log};
  PatternStore store(runtime, world.zip);
  EXPECT_EQ(store.PatternStored(), "");
  EXPECT_EQ(world.LogMessages("PatternStored: Errors"),
            (Lines{"PatternStored: Errors Memory, Clear the cache",
                   "PatternStored: Errors ! 9 Subscript out of range"}));
  EXPECT_TRUE(files.Has(R"(\Pattern\lpt$vpn.100)"));
}

TEST(PatternStore, TheLastStoredExtensionIsTheGreatestTextAndIsFoundWithoutALine) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "x");
  world.files.Put(R"(\Pattern\lpt$vpn.100)", "x");
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "100");
  world.files.Put(R"(\Pattern\lpt$vpn.1a0)", "x");
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "1a0");
  EXPECT_EQ(world.LogMessages(), Lines{});
  EXPECT_EQ(world.WorkingFolder().size(), 3U);
}

TEST(PatternStore, TheLastStoredExtensionComesFromTheArchiveWhenTheFolderIsEmpty) {
  PatternWorld world;
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "0");
  world.PutStoredArchive("102");
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "102");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.102"}));
}

TEST(PatternStore, TheLastStoredExtensionOfADamagedArchiveIs0) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "no archive");
  EXPECT_EQ(world.store.GetLastStoredPatternExtension(), "0");
}

TEST(PatternStore, ANewArchiveEmptiesTheWorkingFolderSoThatItIsUnpackedNext) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "old");
  world.files.Put(R"(\Pattern\LPT$VPN.100)", "old");
  world.files.Put(R"(\Pattern\notes.txt)", "somebody's");
  world.PutStoredArchive("101");
  world.store.RefreshPatternFolder();
  EXPECT_EQ(world.LogMessages(), (Lines{"RefreshPatternFolder: Delete pattern lpt$vpn.099",
                                        "RefreshPatternFolder: Delete pattern LPT$VPN.100"}));
  EXPECT_EQ(world.WorkingFolder(), (Names{"notes.txt"}));
  EXPECT_EQ(world.store.PatternStored(), "101");
}

TEST(PatternStore, AnArchiveThatDoesNotOpenLeavesTheWorkingFolderAlone) {
  PatternWorld world;
  world.files.Put(R"(\Pattern\lpt$vpn.099)", "old");
  world.store.RefreshPatternFolder();
  EXPECT_EQ(world.LogMessages(), Lines{});
  world.files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", "no archive");
  world.store.RefreshPatternFolder();
  EXPECT_EQ(world.LogMessages(),
            (Lines{"RefreshPatternFolder: Error /app\\ActiveUpdate\\Pattern\\vsapi.zip cannot be "
                   "read, the pattern held stays"}));
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.099"}));
}

}  // namespace
}  // namespace vlmr::patterns
