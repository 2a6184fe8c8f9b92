#include <gtest/gtest.h>
#include <windows.h>
// behind windows.h, which it needs
#include <aclapi.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_system.h"
#include "platform/handle_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/runtime_error.h"
#include "support/error_of.h"
#include "support/scoped_temp_dir.h"

namespace vlmr::platform {
namespace {

using test::ErrorOf;
using Names = std::vector<std::string>;

/// "Vélmora é" in the code page that the system uses, so that the sources stay ASCII.
std::string Accented() { return FromWide(L"V\u00e9lmora \u00e9"); }

class WindowsFileSystemTest : public testing::Test {
 protected:
  std::string At(const std::string& below) const { return folder_.At(below); }

  /// Holds a file open for reading as another program would, until the handle goes.
  static Handle Hold(const std::string& path, DWORD sharing) {
    return Handle(CreateFileW(LongPath(path).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  test::ScopedTempDir folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem(folder_.Folder());
};

TEST_F(WindowsFileSystemTest, BlanksBracketsAndAccentsInTheApplicationFolderAreNamesLikeAnyOther) {
  const std::string app = At("\\Program Files (x86)\\" + Accented());
  const auto files = MakeFileSystem(app);
  files->MakeFolders(app + "\\ActiveUpdate\\Pattern");
  files->Replace(app + "\\ActiveUpdate\\Pattern\\" + Accented() + ".zip", "archive");
  files->Append(app + "\\VlMR.log", "line");
  EXPECT_TRUE(std::filesystem::exists(ToWide(app + "\\ActiveUpdate\\Pattern")));
  EXPECT_EQ(files->FindFolder(app), Accented());
  EXPECT_EQ(files->List(app + "\\activeupdate\\pattern\\*.ZIP"), (Names{Accented() + ".zip"}));
  EXPECT_EQ(files->ReadAll(app + "\\ActiveUpdate\\Pattern\\" + Accented() + ".zip"), "archive");
  EXPECT_TRUE(files->Move(app + "\\VlMR.log", app + "\\ActiveUpdate\\VlMR " + Accented() + ".log"));
  files->Delete(app + "\\ActiveUpdate\\VlMR " + Accented() + ".log");
  EXPECT_EQ(ErrorOf([&] { files->ReadAll(app + "\\..\\x"); }), error_number::kPathFileAccess);
}

TEST_F(WindowsFileSystemTest, APathMayBeLongerThan260Characters) {
  std::string path = folder_.Folder();
  for (int i = 0; i < 12; ++i) path += "\\" + std::string(40, static_cast<char>('a' + i));
  ASSERT_GT(path.size(), 400U);
  files_->MakeFolders(path);
  files_->Replace(path + "\\server.ini", "[MAIN]\r\n");
  files_->Append(path + "\\server.ini", "x");
  EXPECT_EQ(files_->FindFile(path + "\\SERVER.INI"), "server.ini");
  EXPECT_EQ(files_->ReadAll(path + "\\server.ini"), "[MAIN]\r\nx");
  EXPECT_EQ(files_->Length(path + "\\server.ini"), 9);
  files_->Copy(path + "\\server.ini", path + "\\copy.ini");
  EXPECT_TRUE(files_->Move(path + "\\copy.ini", path + "\\moved.ini"));
  EXPECT_EQ(files_->List(path + "\\*"), (Names{"moved.ini", "server.ini"}));
  files_->Delete(path + "\\moved.ini");
  files_->Delete(path + "\\server.ini");
  EXPECT_EQ(files_->List(path + "\\*"), Names());
}

TEST_F(WindowsFileSystemTest, AReaderThatSharesNothingDelaysAReplacementOnlyAsLongAsItReads) {
  folder_.Put("\\server.ini", "old");
  Handle reader = Hold(At("\\server.ini"), FILE_SHARE_READ);
  ASSERT_TRUE(reader);
  std::thread closes([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    reader.Close();
  });
  EXPECT_NO_THROW(files_->Replace(At("\\server.ini"), "new"));
  closes.join();
  EXPECT_EQ(folder_.Text("\\server.ini"), "new");
}

TEST_F(WindowsFileSystemTest, AReaderThatNeverEndsIsWaitedForWithinBoundsAndTheOldFileStays) {
  folder_.Put("\\server.ini", "old");
  const Handle reader = Hold(At("\\server.ini"), FILE_SHARE_READ);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ErrorOf([&] { files_->Replace(At("\\server.ini"), "new"); }), error_number::kPermissionDenied);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(folder_.Text("\\server.ini"), "old");
  EXPECT_EQ(files_->List(At("\\*")), (Names{"server.ini"}));
  EXPECT_EQ(ErrorOf([&] { files_->Delete(At("\\server.ini")); }), error_number::kPermissionDenied);
  EXPECT_FALSE(files_->Move(At("\\server.ini"), At("\\moved.ini")));
}

TEST_F(WindowsFileSystemTest, OurOwnReadersLetOthersReplaceAndDelete) {
  folder_.Put("\\a.zip", "old");
  folder_.Put("\\b.zip", "old");
  const auto a = files_->OpenRead(At("\\a.zip"));
  EXPECT_TRUE(MoveFileExW(LongPath(At("\\a.zip")).c_str(), LongPath(At("\\c.zip")).c_str(), 0));
  const auto b = files_->OpenRead(At("\\b.zip"));
  EXPECT_TRUE(DeleteFileW(LongPath(At("\\b.zip")).c_str()));
  char byte = 0;
  EXPECT_EQ(a->ReadAt(0, {&byte, 1}), 1U);
}

TEST_F(WindowsFileSystemTest, ALogThatAnotherProgramReadsCanBeAppendedTo) {
  folder_.Put("\\VlMR.log", "one\r\n");
  const Handle viewer = Hold(At("\\VlMR.log"), FILE_SHARE_READ | FILE_SHARE_WRITE);
  files_->Append(At("\\VlMR.log"), "two\r\n");
  EXPECT_EQ(folder_.Text("\\VlMR.log"), "one\r\ntwo\r\n");
}

TEST_F(WindowsFileSystemTest, AReadOnlyFileIsNeitherReplacedNorDeleted) {
  folder_.Put("\\VLMR.ini", "old");
  SetFileAttributesW(LongPath(At("\\VLMR.ini")).c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(ErrorOf([&] { files_->Delete(At("\\VLMR.ini")); }), error_number::kPermissionDenied);
  if (Handle(CreateFileW(LongPath(At("\\VLMR.ini")).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))) {
    GTEST_SKIP() << "Wine lets the superuser write to what is read-only";
  }
  EXPECT_EQ(ErrorOf([&] { files_->Append(At("\\VLMR.ini"), "x"); }), error_number::kPermissionDenied);
  EXPECT_EQ(folder_.Text("\\VLMR.ini"), "old");
  SetFileAttributesW(LongPath(At("\\VLMR.ini")).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(WindowsFileSystemTest, HiddenFilesAndFoldersAreNotListed) {
  folder_.Put("\\seen.zip", "x");
  folder_.Put("\\hidden.zip", "x");
  folder_.Put("\\seen\\x", "x");
  folder_.Put("\\hidden\\x", "x");
  for (const char* below : {"\\hidden.zip", "\\hidden"}) {
    SetFileAttributesW(LongPath(At(below)).c_str(), FILE_ATTRIBUTE_HIDDEN);
  }
  if ((GetFileAttributesW(LongPath(At("\\hidden.zip")).c_str()) & FILE_ATTRIBUTE_HIDDEN) == 0) {
    GTEST_SKIP() << "this volume keeps no such mark";
  }
  EXPECT_EQ(files_->List(At("\\*")), (Names{"seen.zip"}));
  EXPECT_EQ(files_->ListFolders(folder_.Folder()), (Names{"seen"}));
  EXPECT_EQ(files_->FindFile(At("\\hidden.zip")), "hidden.zip");
}

TEST_F(WindowsFileSystemTest, AStampTellsAReplacementOfTheSameLengthEvenWithTheSameTimes) {
  folder_.Put("\\Dialer.ini", "one");
  const auto before = files_->Stamp(At("\\Dialer.ini"));
  WIN32_FILE_ATTRIBUTE_DATA times{};
  GetFileAttributesExW(LongPath(At("\\Dialer.ini")).c_str(), GetFileExInfoStandard, &times);
  folder_.Put("\\other", "two");
  {
    const Handle other(CreateFileW(LongPath(At("\\other")).c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    SetFileTime(other.Get(), &times.ftCreationTime, &times.ftLastAccessTime, &times.ftLastWriteTime);
  }
  ASSERT_TRUE(MoveFileExW(LongPath(At("\\other")).c_str(), LongPath(At("\\Dialer.ini")).c_str(),
                          MOVEFILE_REPLACE_EXISTING));
  const auto after = files_->Stamp(At("\\Dialer.ini"));
  ASSERT_TRUE(before && after);
  EXPECT_EQ(before->size, after->size);
  EXPECT_NE(*before, *after);
}

/// Whether the rights of a file name everybody or the users of this machine.
bool IsOpenToOthers(const std::string& path) {
  PACL rights = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(LongPath(path).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                            nullptr, &rights, nullptr, &descriptor) != ERROR_SUCCESS) {
    ADD_FAILURE() << "no rights can be read";
    return true;
  }
  bool open = false;
  for (WORD i = 0; i < rights->AceCount; ++i) {
    void* entry = nullptr;
    GetAce(rights, i, &entry);
    PSID account = &static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart;
    open = open || IsWellKnownSid(account, WinWorldSid) || IsWellKnownSid(account, WinBuiltinUsersSid);
  }
  LocalFree(descriptor);
  return open;
}

TEST_F(WindowsFileSystemTest, AKeyFileIsTheOwnersAloneAndStaysSoWhenItIsReplaced) {
  files_->Replace(At("\\VLMR.key"), "key", Access::kOwner);
  files_->Replace(At("\\server.ini"), "index");
  EXPECT_FALSE(IsOpenToOthers(At("\\VLMR.key")));
  EXPECT_TRUE(IsOpenToOthers(At("\\server.ini")));
  EXPECT_EQ(files_->ReadAll(At("\\VLMR.key")), "key");
  files_->Replace(At("\\VLMR.key"), "another", Access::kOwner);
  EXPECT_FALSE(IsOpenToOthers(At("\\VLMR.key")));
  EXPECT_EQ(files_->ReadAll(At("\\VLMR.key")), "another");
}

TEST_F(WindowsFileSystemTest, AMoveOverAFileInAnotherCaseIsRefusedAsMoveFileDoes) {
  folder_.Put("\\a.zip", "a");
  folder_.Put("\\b.zip", "b");
  EXPECT_FALSE(files_->Move(At("\\a.zip"), At("\\B.ZIP")));
  EXPECT_FALSE(MoveFileW(LongPath(At("\\a.zip")).c_str(), LongPath(At("\\B.ZIP")).c_str()));
  EXPECT_EQ(folder_.Text("\\b.zip"), "b");
}

TEST(NativeTextTest, LongPathsArePrefixedAndPlain) {
  EXPECT_EQ(LongPath("C:\\a\\b"), L"\\\\?\\C:\\a\\b");
  EXPECT_EQ(LongPath("C:/a//b\\\\c"), L"\\\\?\\C:\\a\\b\\c");
  EXPECT_EQ(LongPath("\\\\server\\share\\a"), L"\\\\?\\UNC\\server\\share\\a");
  EXPECT_EQ(LongPath("\\\\?\\C:\\a"), L"\\\\?\\C:\\a");
  EXPECT_EQ(LongPath("a\\b"), L"a\\b");
  EXPECT_EQ(LongPath(""), L"");
}

TEST(NativeTextTest, BytesOfTheCodePageComeBackUnchanged) {
  std::string all;
  for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
  if (GetACP() != 1252) GTEST_SKIP() << "not every byte is a character here";
  EXPECT_EQ(FromWide(ToWide(all)), all);
  EXPECT_EQ(FromWide(L"\u4e2d"), "?");
}

}  // namespace
}  // namespace vlmr::platform
