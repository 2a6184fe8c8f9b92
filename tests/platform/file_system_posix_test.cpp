#include "platform/file_system_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/native.h"
#include "support/error_of.h"
#include "support/scoped_temp_dir.h"
#include "support/system_call_count.h"

namespace vlmr::platform {
namespace {

using test::CountSystemCalls;
using test::ErrorOf;

class PosixFileSystemTest : public testing::Test {
 protected:
  std::string At(const std::string& below) const { return folder_.At(below); }
  mode_t Mode(const std::string& below) const {
    struct stat found = {};
    EXPECT_EQ(::stat(folder_.Real(below).c_str(), &found), 0) << below;
    return found.st_mode & 07777;
  }
  /// Makes a folder look as if nothing had changed in it lately.
  void Age(const std::string& below) const {
    const timespec long_ago[2] = {{.tv_sec = 1'000'000, .tv_nsec = 0}, {.tv_sec = 1'000'000, .tv_nsec = 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder_.Real(below).c_str(), long_ago, 0), 0);
  }

  test::ScopedTempDir folder_;
  PosixFileSystem files_{folder_.Folder()};
  FileSystem& any_ = files_;
};

TEST_F(PosixFileSystemTest, ManyLookUpsOfMissingNamesReadTheFolderOnce) {
  for (int i = 0; i < 2'000; ++i) folder_.Put("\\Product\\there" + std::to_string(i), "");
  Age("\\Product");
  for (int i = 0; i < 20'000; ++i) {
    ASSERT_EQ(files_.FindFile(At("\\Product\\missing" + std::to_string(i))), "");
  }
  EXPECT_EQ(files_.FolderScans(), 1U);
}

TEST_F(PosixFileSystemTest, MakingAsManyFilesAsOneLooksForReadsTheFolderAFewTimes) {
  any_.MakeFolder(At("\\Product"));
  for (int i = 0; i < 3'000; ++i) {
    const std::string path = At("\\Product\\File" + std::to_string(i));
    ASSERT_EQ(files_.FindFile(path), "");
    any_.Replace(path, "x");
    ASSERT_EQ(files_.FindFile(At("\\product\\FILE" + std::to_string(i))), "File" + std::to_string(i));
  }
  EXPECT_LE(files_.FolderScans(), 6U);
}

TEST_F(PosixFileSystemTest, AFolderThatWeMadeNeedNotBeReadBeforeFilesAreMadeInIt) {
  any_.MakeFolder(At("\\Product"));
  const std::uint64_t scans = files_.FolderScans();
  for (int i = 0; i < 1'000; ++i) {
    const std::string folder = At("\\Product\\" + std::to_string(i) + "\\Sub");
    any_.MakeFolders(folder);
    any_.Replace(folder + "\\File", "x");
    ASSERT_TRUE(files_.Move(folder + "\\File", folder + "\\Moved"));
    ASSERT_EQ(files_.FindFile(folder + "\\MOVED"), "Moved");
  }
  EXPECT_EQ(files_.FolderScans(), scans);
}

TEST_F(PosixFileSystemTest, WhatAnotherProgramPutsIntoAFolderThatWeMadeIsSeen) {
  any_.MakeFolders(At("\\Product\\1"));
  Age("\\Product\\1");
  folder_.Put("\\Product\\1\\theirs", "x");
  EXPECT_EQ(files_.FindFile(At("\\Product\\1\\THEIRS")), "theirs");
}

TEST_F(PosixFileSystemTest, MakingAFileCostsTenSystemCallsAndMovingItSeven) {
  any_.MakeFolders(At("\\Product\\1"));
  any_.MakeFolders(At("\\Product\\2"));
  const std::string here = At("\\Product\\1\\file");
  const std::string there = At("\\Product\\2\\file");
  // Open, write, close and rename, with three looks each at the open and the rename.
  const auto made = CountSystemCalls([&, n = 0]() mutable { any_.Replace(here + std::to_string(++n), "x"); });
  if (!made) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_EQ(made, 10);
  any_.Replace(here, "x");
  EXPECT_EQ(CountSystemCalls([&] {
              (void)files_.Move(here, there);
              (void)files_.Move(there, here);
            }),
            14);
}

TEST_F(PosixFileSystemTest, AnExactlySpelledPathCostsOneSystemCall) {
  folder_.Put("\\ActiveUpdate\\server.ini", "x");
  const std::string path = At("\\ActiveUpdate\\server.ini");
  const auto stamp = CountSystemCalls([&] { (void)files_.Stamp(path); });
  if (!stamp) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_EQ(stamp, 1);
  EXPECT_EQ(CountSystemCalls([&] { (void)files_.FindFile(path); }), 1);
  EXPECT_EQ(CountSystemCalls([&] { (void)files_.Length(path); }), 1);
}

TEST_F(PosixFileSystemTest, ALookUpOfAMissingNameCostsTwoSystemCalls) {
  folder_.Put("\\ActiveUpdate\\server.ini", "x");
  Age("\\ActiveUpdate");
  const auto miss = CountSystemCalls([&] { (void)files_.FindFile(At("\\ActiveUpdate\\missing")); });
  if (!miss) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_EQ(miss, 2);
}

TEST_F(PosixFileSystemTest, ALogLineCostsFourSystemCallsAndAWholeFileFour) {
  folder_.Put("\\VlMR.log", "x");
  const std::string log = At("\\VlMR.log");
  const auto append =
      CountSystemCalls([&] { files_.AppendLimited(log, "line\r\n", 1e6, Access::kOwnerAndGroup); });
  if (!append) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_EQ(append, 4);
  EXPECT_EQ(CountSystemCalls([&] { (void)files_.ReadAll(log); }), 4);
}

TEST_F(PosixFileSystemTest, AChangeByAnotherProgramInASettledFolderIsSeenAtOnce) {
  folder_.Put("\\Pattern\\one", "x");
  Age("\\Pattern");
  EXPECT_EQ(files_.FindFile(At("\\Pattern\\TWO")), "");
  folder_.Put("\\Pattern\\two", "x");
  EXPECT_EQ(files_.FindFile(At("\\Pattern\\TWO")), "two");
  std::filesystem::remove(folder_.Real("\\Pattern\\two"));
  EXPECT_EQ(files_.FindFile(At("\\Pattern\\TWO")), "");
}

TEST_F(PosixFileSystemTest, AChangeByAnotherProgramBeforeOurOwnIsSeen) {
  folder_.Put("\\Pattern\\one", "x");
  Age("\\Pattern");
  EXPECT_EQ(files_.FindFile(At("\\Pattern\\TWO")), "");
  folder_.Put("\\Pattern\\two", "x");
  files_.Delete(At("\\Pattern\\one"));
  EXPECT_EQ(files_.FindFile(At("\\Pattern\\TWO")), "two");
}

TEST_F(PosixFileSystemTest, AFolderThatWasReplacedIsReadAgain) {
  folder_.Put("\\a\\old", "x");
  folder_.Put("\\b\\new", "x");
  Age("\\a");
  Age("\\b");
  EXPECT_EQ(files_.FindFile(At("\\a\\OLD")), "old");
  std::filesystem::rename(folder_.Real("\\a"), folder_.Real("\\c"));
  std::filesystem::rename(folder_.Real("\\b"), folder_.Real("\\a"));
  EXPECT_EQ(files_.FindFile(At("\\a\\OLD")), "");
  EXPECT_EQ(files_.FindFile(At("\\a\\NEW")), "new");
}

TEST_F(PosixFileSystemTest, NewFilesGetTheRightsOfTheirAccessUnderTheUmask) {
  const mode_t former = ::umask(0027);
  files_.Append(At("\\everybody"), "x", Access::kEverybody);
  files_.Append(At("\\group"), "x", Access::kOwnerAndGroup);
  any_.Replace(At("\\owner"), "x", Access::kOwner);
  ::umask(former);
  EXPECT_EQ(Mode("\\everybody"), 0640U);
  EXPECT_EQ(Mode("\\group"), 0640U);
  EXPECT_EQ(Mode("\\owner"), 0600U);
}

TEST_F(PosixFileSystemTest, AReplacedFileKeepsItsRights) {
  folder_.Put("\\VLMR.ini", "old");
  ::chmod(folder_.Real("\\VLMR.ini").c_str(), 0604);
  any_.Replace(At("\\vlmr.INI"), "new", Access::kEverybody);
  EXPECT_EQ(Mode("\\VLMR.ini"), 0604U);
  EXPECT_EQ(folder_.Text("\\VLMR.ini"), "new");
}

TEST_F(PosixFileSystemTest, ATemporaryFileOfAReplacedSecretIsNeverMoreOpenThanIt) {
  folder_.Put("\\VLMR.key", "old");
  ::chmod(folder_.Real("\\VLMR.key").c_str(), 0600);
  const auto staged = files_.Stage(At("\\VLMR.key"), Access::kEverybody);
  EXPECT_EQ(Mode("\\VLMR.key" + std::string(kTemporaryMark)), 0600U);
}

TEST_F(PosixFileSystemTest, ALeftOverDoesNotPassItsRightsOn) {
  const std::string left_over = "\\VLMR.key" + std::string(kTemporaryMark);
  folder_.Put(left_over, "old");
  ::chmod(folder_.Real(left_over).c_str(), 0666);
  any_.Replace(At("\\VLMR.key"), "new", Access::kOwner);
  EXPECT_EQ(Mode("\\VLMR.key"), 0600U);
}

TEST_F(PosixFileSystemTest, AnOperatorsLinkIsFollowed) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\real.log", "one\n");
  std::filesystem::create_symlink(elsewhere.Real("\\real.log"), folder_.Real("\\VlMR.log"));
  std::filesystem::create_symlink(elsewhere.Real("\\new.log"), folder_.Real("\\new.log"));
  std::filesystem::create_directory_symlink(elsewhere.Real(), folder_.Real("\\BackupLogs"));
  files_.Append(At("\\vlmr.log"), "two\n", Access::kEverybody);
  files_.Append(At("\\new.log"), "three\n", Access::kEverybody);
  EXPECT_EQ(elsewhere.Text("\\real.log"), "one\ntwo\n");
  EXPECT_EQ(elsewhere.Text("\\new.log"), "three\n");
  EXPECT_EQ(files_.FindFolder(At("\\backuplogs")), "BackupLogs");
  EXPECT_EQ(files_.FindFile(At("\\backuplogs\\REAL.log")), "real.log");
  EXPECT_EQ(files_.List(At("\\*")), (std::vector<std::string>{"new.log", "VlMR.log"}));
}

/// What every operation does with a path that a link leads out of its tree.
void ExpectRefused(PosixFileSystem& files, FileSystem& any, const std::string& folder,
                   const std::string& source) {
  const std::string file = folder + "\\f";
  EXPECT_EQ(files.FindFile(file), "");
  EXPECT_EQ(files.FindFolder(folder), "");
  EXPECT_FALSE(files.Stamp(file));
  EXPECT_TRUE(files.List(folder + "\\*").empty());
  EXPECT_EQ(ErrorOf([&] { (void)files.ReadAll(file); }), 75);
  EXPECT_EQ(ErrorOf([&] { (void)files.OpenRead(file); }), 75);
  EXPECT_EQ(ErrorOf([&] { (void)files.Length(file); }), 75);
  EXPECT_EQ(ErrorOf([&] { any.Replace(file, "new"); }), 75);
  EXPECT_EQ(ErrorOf([&] { any.Replace(folder + "\\new", "new"); }), 75);
  EXPECT_EQ(ErrorOf([&] { files.Append(folder + "\\new", "new", Access::kEverybody); }), 75);
  EXPECT_EQ(ErrorOf([&] { files.Delete(file); }), 75);
  EXPECT_EQ(ErrorOf([&] { files.MakeFolders(folder + "\\deeper\\still"); }), 75);
  EXPECT_EQ(ErrorOf([&] { files.MakeFolder(folder + "\\deeper"); }), 75);
  EXPECT_FALSE(files.Move(source, folder + "\\moved"));
  EXPECT_EQ(any.Refusal(folder + "\\moved"), "a link leads out of its folder");
  EXPECT_EQ(any.Refusal(source), "");
  EXPECT_FALSE(files.Move(file, source + "2"));
}

TEST_F(PosixFileSystemTest, AFolderLinkThatLeadsOutOfItsTreeIsFollowedByNothing) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\f", "theirs");
  folder_.Put("\\Tree\\a\\own", "own");
  folder_.Put("\\Other\\f", "other");
  std::filesystem::create_directory_symlink(elsewhere.Real(), folder_.Real("\\Tree\\Out"));
  std::filesystem::create_directory_symlink("../../Other", folder_.Real("\\Tree\\a\\climbs"));
  std::filesystem::create_directory_symlink("/nowhere/at/all", folder_.Real("\\Tree\\dangling"));
  for (const char* folder : {"\\Tree\\Out", "\\tree\\oUT", "\\Tree\\A\\climbs", "\\Tree\\dangling"}) {
    SCOPED_TRACE(folder);
    ExpectRefused(files_, any_, At(folder), At("\\Tree\\a\\own"));
    const std::string reason = [&] {
      try {
        any_.Replace(At(folder) + "\\f", "x");
      } catch (const RuntimeError& error) {
        return error.Description();
      }
      return std::string();
    }();
    EXPECT_EQ(reason, "Path/File access error: a link leads out of its folder");
  }
  EXPECT_EQ(elsewhere.Text("\\f"), "theirs");
  EXPECT_EQ(folder_.Text("\\Other\\f"), "other");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(elsewhere.Real()), {}), 1);
}

TEST_F(PosixFileSystemTest, AFileLinkThatLeadsOutOfItsTreeOrNowhereIsNotFollowed) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\f", "theirs");
  folder_.Put("\\Tree\\own", "own");
  std::filesystem::create_symlink(elsewhere.Real("\\f"), folder_.Real("\\Tree\\file"));
  std::filesystem::create_symlink(elsewhere.Real("\\g"), folder_.Real("\\Tree\\dangling"));
  for (const char* file : {"\\Tree\\file", "\\TREE\\FILE", "\\Tree\\dangling"}) {
    SCOPED_TRACE(file);
    EXPECT_EQ(files_.FindFile(At(file)), "");
    EXPECT_FALSE(files_.Stamp(At(file)));
    EXPECT_EQ(ErrorOf([&] { (void)files_.ReadAll(At(file)); }), 75);
    EXPECT_EQ(ErrorOf([&] { any_.Replace(At(file), "new"); }), 75);
    EXPECT_EQ(ErrorOf([&] { files_.Append(At(file), "new", Access::kEverybody); }), 75);
    EXPECT_FALSE(files_.Move(At("\\Tree\\own"), At(file)));
  }
  EXPECT_EQ(elsewhere.Text("\\f"), "theirs");
  EXPECT_FALSE(std::filesystem::exists(elsewhere.Real("\\g")));
  files_.Delete(At("\\Tree\\file"));
  EXPECT_EQ(elsewhere.Text("\\f"), "theirs");
}

TEST_F(PosixFileSystemTest, ALinkThatStaysInItsTreeAndOneThatIsTheTreeAreFollowed) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\real\\f", "in");
  std::filesystem::create_directory_symlink(elsewhere.Real(), folder_.Real("\\Tree"));
  std::filesystem::create_directory_symlink("real", folder_.Real("\\Tree\\relative"));
  std::filesystem::create_directory_symlink(elsewhere.Real("\\real"), folder_.Real("\\Tree\\absolute"));
  std::filesystem::create_symlink("real/f", folder_.Real("\\Tree\\file"));
  for (const char* file : {"\\Tree\\relative\\F", "\\tree\\absolute\\f", "\\Tree\\file"}) {
    EXPECT_EQ(files_.ReadAll(At(file)), "in") << file;
  }
  any_.Replace(At("\\Tree\\relative\\new"), "new");
  EXPECT_EQ(elsewhere.Text("\\real\\new"), "new");
  files_.MakeFolders(At("\\Tree\\absolute\\deep\\er"));
  EXPECT_TRUE(std::filesystem::is_directory(elsewhere.Real("\\real\\deep\\er")));
}

TEST_F(PosixFileSystemTest, AFolderThatBecomesALinkIsSeenOnceNamesAreForgotten) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\f", "theirs");
  folder_.Put("\\Tree\\a\\f", "own");
  EXPECT_EQ(files_.ReadAll(At("\\Tree\\a\\f")), "own");
  std::filesystem::remove_all(folder_.Real("\\Tree\\a"));
  std::filesystem::create_directory_symlink(elsewhere.Real(), folder_.Real("\\Tree\\a"));
  files_.ForgetNames();
  EXPECT_EQ(ErrorOf([&] { (void)files_.ReadAll(At("\\Tree\\a\\f")); }), 75);
}

TEST_F(PosixFileSystemTest, LookingForLinksCostsNothingInAFolderThatWasLookedAt) {
  folder_.Put("\\Tree\\a\\f", "x");
  EXPECT_EQ(files_.FindFile(At("\\Tree\\a\\f")), "f");
  const auto calls = CountSystemCalls([&] { (void)files_.FindFile(At("\\Tree\\a\\f")); });
  if (!calls) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_EQ(calls, 1);
}

TEST_F(PosixFileSystemTest, AFileBehindAnOperatorsLinkIsReplacedWhereItLies) {
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\real.ini", "old");
  std::filesystem::create_symlink(elsewhere.Real("\\real.ini"), folder_.Real("\\VLMR.ini"));
  std::filesystem::create_symlink(elsewhere.Real("\\made.ini"), folder_.Real("\\Mail.ini"));
  std::filesystem::create_symlink("etc.ini", folder_.Real("\\Dialer.ini"));
  any_.Replace(At("\\vlmr.ini"), "new");
  any_.Replace(At("\\Mail.ini"), "mail");
  any_.Replace(At("\\Dialer.ini"), "dialer");
  for (const char* link : {"\\VLMR.ini", "\\Mail.ini", "\\Dialer.ini"}) {
    EXPECT_TRUE(std::filesystem::is_symlink(folder_.Real(link))) << link;
  }
  EXPECT_EQ(elsewhere.Text("\\real.ini"), "new");
  EXPECT_EQ(elsewhere.Text("\\made.ini"), "mail");
  EXPECT_EQ(folder_.Text("\\etc.ini"), "dialer");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(elsewhere.Real()), {}), 2);
}

TEST_F(PosixFileSystemTest, AWalkForMarkedFilesStartsAtAnOperatorsLinkButFollowsNoneInside) {
  const std::string mark(kTemporaryMark);
  test::ScopedTempDir elsewhere;
  elsewhere.Put("\\in" + mark, "x");
  folder_.Put("\\Real\\out" + mark, "x");
  std::filesystem::create_directory_symlink(elsewhere.Real(), folder_.Real("\\Top"));
  std::filesystem::create_directory_symlink(folder_.Real("\\Real"), elsewhere.Real("\\loop"));
  EXPECT_EQ(files_.FindMarked(At("\\Top"), mark), std::vector<std::string>{At("\\Top\\in" + mark)});
}

TEST_F(PosixFileSystemTest, AWalkForMarkedFilesCostsFourSystemCallsForEachFolder) {
  for (int i = 0; i < 10; ++i) folder_.Put("\\Top\\" + std::to_string(i) + "\\f", "x");
  const auto walk = CountSystemCalls([&] { (void)files_.FindMarked(At("\\Top"), kTemporaryMark); });
  if (!walk) GTEST_SKIP() << "tracing is not allowed here";
  EXPECT_LE(walk, 4 * 11 + 3);
}

TEST_F(PosixFileSystemTest, APipeInTheLogsPlaceHoldsNobodyUp) {
  ASSERT_EQ(::mkfifo((folder_.Folder() + "/VlMR.log").c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf([&] { files_.Append(At("\\VlMR.log"), "line", Access::kOwner); }), 57);
  EXPECT_EQ(ErrorOf([&] { files_.AppendLimited(At("\\VlMR.log"), "line", 1000, Access::kOwner); }), 57);
}

TEST_F(PosixFileSystemTest, MovesBetweenVolumesByCopying) {
  std::filesystem::path other = "/dev/shm";
  struct stat here = {};
  struct stat there = {};
  ::stat(folder_.Folder().c_str(), &here);
  if (::stat(other.c_str(), &there) != 0 || here.st_dev == there.st_dev ||
      ::access(other.c_str(), W_OK) != 0) {
    GTEST_SKIP() << "no second volume here";
  }
  other /= "vlmr-test-" + std::to_string(::getpid());
  folder_.Put("\\from", "moved");
  EXPECT_TRUE(files_.Move(At("\\from"), other.string()));
  EXPECT_EQ(files_.ReadAll(other.string()), "moved");
  EXPECT_EQ(files_.FindFile(At("\\from")), "");
  EXPECT_FALSE(files_.Move(other.string(), (other / "below").string()));
  EXPECT_TRUE(files_.Move(other.string(), At("\\back")));
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_EQ(folder_.Text("\\back"), "moved");
  folder_.Put("\\from", "again");
  folder_.Put("\\over", "old");
  EXPECT_TRUE(files_.Move(At("\\from"), other.string()));
  EXPECT_TRUE(files_.MoveOver(other.string(), At("\\over")));
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_EQ(folder_.Text("\\over"), "again");
}

TEST_F(PosixFileSystemTest, PathsOutsideTheApplicationFolderAreTakenAsTheyAre) {
  test::ScopedTempDir outside;
  const std::string path = outside.Folder() + "\\Sub\\File";
  EXPECT_EQ(ErrorOf([&] { any_.Replace(path, "x"); }), 76);
  any_.MakeFolders(outside.Folder() + "\\Sub");
  any_.Replace(path, "x");
  EXPECT_EQ(files_.FindFile(path), "File");
  EXPECT_EQ(files_.FindFile(outside.Folder() + "/Sub/File"), "File");
  EXPECT_EQ(files_.FindFile(outside.Folder() + "\\Sub\\FILE"), "");
  EXPECT_EQ(files_.ReadAll(outside.Folder() + "\\Sub\\..\\Sub\\File"), "x");
  EXPECT_EQ(ErrorOf([&] { (void)files_.ReadAll(outside.Folder() + "\\sub\\File"); }), 76);
  EXPECT_EQ(ErrorOf([&] { (void)files_.ReadAll(outside.Folder() + "\\Sub\\none"); }), 53);
  files_.Delete(path);
  EXPECT_EQ(files_.List(outside.Folder() + "\\Sub\\*"), std::vector<std::string>());
}

TEST_F(PosixFileSystemTest, AFolderWhoseNameOnlyBeginsAlikeIsOutside) {
  const std::string neighbour = folder_.Folder() + "-neighbour";
  std::filesystem::create_directory(neighbour);
  any_.Replace(neighbour + "\\File", "x");
  EXPECT_EQ(files_.FindFile(neighbour + "\\FILE"), "");
  EXPECT_TRUE(std::filesystem::exists(neighbour + "/File"));
  std::filesystem::remove_all(neighbour);
}

TEST_F(PosixFileSystemTest, NamesThatCannotBeAreRefused) {
  const std::string zero = At(std::string("\\a\0b", 4));
  EXPECT_EQ(files_.FindFile(zero), "");
  EXPECT_EQ(ErrorOf([&] { any_.Replace(zero, "x"); }), 75);
  EXPECT_EQ(ErrorOf([&] { any_.Replace(At("\\" + std::string(250, 'n')), "x"); }), 75);
  EXPECT_EQ(ErrorOf([&] { any_.Replace(At("\\" + std::string(5'000, 'n')), "x"); }), 75);
  EXPECT_EQ(files_.FindFile(At("\\" + std::string(5'000, 'n'))), "");
  EXPECT_EQ(files_.List(At("\\*")), std::vector<std::string>());
}

TEST_F(PosixFileSystemTest, ADiskThatIsFullRaises61) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
  EXPECT_EQ(ErrorOf([&] { files_.Append("/dev/full", "x", Access::kEverybody); }), 61);
}

TEST_F(PosixFileSystemTest, WithoutARightReadingAndWritingRaise70) {
  if (::geteuid() == 0) GTEST_SKIP() << "no right is missing to the superuser";
  folder_.Put("\\closed", "x");
  ::chmod(folder_.Real("\\closed").c_str(), 0);
  EXPECT_EQ(ErrorOf([&] { (void)files_.ReadAll(At("\\closed")); }), 70);
  EXPECT_EQ(ErrorOf([&] { files_.Append(At("\\closed"), "x", Access::kEverybody); }), 70);
}

TEST(MakeFileSystemTest, RaisesWithoutTheApplicationFolder) {
  test::ScopedTempDir folder;
  EXPECT_EQ(ErrorOf([&] { (void)MakeFileSystem(folder.Folder() + "/absent"); }), 76);
}

}  // namespace
}  // namespace vlmr::platform
