#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/ascii_case.h"
#include "platform/executable.h"
#include "platform/instance_lock.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/system_error.h"
#include "platform/system_info.h"
#include "support/scoped_temp_dir.h"
#include "support/wait_until.h"

namespace vlmr::platform {
namespace {

TEST(WindowsExecutableTest, TheRunningProgramIsFoundWithDriveAndBackslashes) {
  const Executable executable = FindExecutable();
  EXPECT_EQ(executable.folder.substr(1, 2), ":\\");
  EXPECT_FALSE(executable.folder.ends_with('\\'));
  EXPECT_EQ(executable.file_name, "platform_tests.exe");
  EXPECT_NE(MakeFileSystem(executable.folder)->FindFile(executable.folder + "\\" + executable.file_name), "");
}

TEST(WindowsInstanceLockTest, TheSecondOfTwoHoldersSeesTheFirst) {
  const Executable place{"C:\\Some Folder", "VlMr.exe"};
  auto first = MakeInstanceLock(place);
  const auto second = MakeInstanceLock(place);
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_TRUE(second->PreviousInstance());
  first.reset();
  EXPECT_FALSE(second->PreviousInstance());
}

TEST(WindowsInstanceLockTest, ThePathCountsWithoutItsCase) {
  const auto first = MakeInstanceLock({"C:\\Some Folder", "VlMr.exe"});
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_TRUE(MakeInstanceLock({"c:\\some folder", "VLMR.EXE"})->PreviousInstance());
  EXPECT_FALSE(MakeInstanceLock({"C:\\Some Folder\\copy", "VlMr.exe"})->PreviousInstance());
}

TEST(WindowsInstanceLockTest, AChildThatOutlivesTheRunDoesNotHoldIt) {
  const test::ScopedTempDir folder;
  std::filesystem::copy_file(ToWide(FindExecutable().folder + "\\siblings\\stand_in.exe"),
                             folder.Real("\\QueueMailer.exe"));
  folder.Put("\\QueueMailer.exe.actions", "make started\nwait-for go\nmake ended\n");
  const Executable place{folder.Folder(), "VlMr.exe"};
  auto first = MakeInstanceLock(place);
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_TRUE(MakeProcessRunner(folder.Folder())->Start(folder.At("\\QueueMailer.exe"), WindowMode::kHidden));
  EXPECT_TRUE(test::WaitUntil([&] { return std::filesystem::exists(folder.Real("\\started")); }));
  first.reset();
  EXPECT_FALSE(MakeInstanceLock(place)->PreviousInstance());
  folder.Put("\\go", "");
  EXPECT_TRUE(test::WaitUntil([&] { return std::filesystem::exists(folder.Real("\\ended")); }));
}

TEST(WindowsSystemInfoTest, ModulesAreFullPathsEachOnceTheExecutableFirst) {
  const std::vector<std::string> modules = MakeSystemInfo()->LoadedModules();
  ASSERT_GE(modules.size(), 3U);
  const Executable executable = FindExecutable();
  EXPECT_TRUE(SameName(modules.front(), executable.folder + "\\" + executable.file_name)) << modules.front();
  EXPECT_EQ(std::set<std::string>(modules.begin(), modules.end()).size(), modules.size());
  EXPECT_TRUE(std::any_of(modules.begin(), modules.end(), [](const std::string& path) {
    return AsciiUpper(path).ends_with("\\KERNEL32.DLL");
  }));
  for (const std::string& path : modules) EXPECT_EQ(path.substr(1, 2), ":\\") << path;
}

TEST(WindowsSystemInfoTest, TellsTheComputersName) {
  char name[256] = "";
  DWORD size = sizeof name;
  ASSERT_TRUE(GetComputerNameA(name, &size));
  EXPECT_NE(size, 0U);
  EXPECT_EQ(MakeSystemInfo()->ComputerName(), name);
}

TEST(WindowsSystemInfoTest, TellsTheTrueVersionBecauseTheManifestNamesThePresentWindows) {
  // Asks below the function that answers by manifest.
  using Ask = LONG(WINAPI*)(OSVERSIONINFOW*);
  const auto ask = reinterpret_cast<Ask>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
  ASSERT_NE(ask, nullptr);
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  ask(&version);
  EXPECT_EQ(MakeSystemInfo()->OsMajorVersion(), static_cast<int>(version.dwMajorVersion));
  EXPECT_GE(version.dwMajorVersion, 10U);
}

TEST(WindowsSystemInfoTest, ALogOnThatFailsLeavesTheOwnAccount) {
  char before[256] = "";
  char after[256] = "";
  DWORD size = sizeof before;
  GetUserNameA(before, &size);
  const auto system = MakeSystemInfo();
  system->StartImpersonation("nobody of that name", "password", "no such domain");
  size = sizeof after;
  GetUserNameA(after, &size);
  EXPECT_STREQ(before, after);
  system->EndImpersonation();
}

TEST(WindowsClockTest, TheMomentIsTheUsersShortDateAndLongTime) {
  const auto clock = MakeClock();
  const auto form = [] {
    char date[128] = "";
    char time[128] = "";
    GetDateFormatA(LOCALE_USER_DEFAULT, DATE_SHORTDATE, nullptr, nullptr, date, sizeof date);
    GetTimeFormatA(LOCALE_USER_DEFAULT, 0, nullptr, nullptr, time, sizeof time);
    return std::string(date) + " " + time;
  };
  // The second may change between the two.
  EXPECT_TRUE(test::WaitUntil([&] { return clock->DateTimeText() == form(); })) << clock->DateTimeText();
}

TEST(WindowsClockTest, TheCalendarIsTheLocalOne) {
  SYSTEMTIME system{};
  GetLocalTime(&system);
  const LocalTime now = MakeClock()->Now();
  EXPECT_GE(now.year, system.wYear);
  EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31 && now.hour < 24);
}

struct ErrorCase {
  Attempt attempt;
  SystemErrorCode system_error;
  int number;
};

TEST(WindowsErrorNumberOfTest, FollowsTheTable) {
  const ErrorCase cases[] = {
      {Attempt::kDelete, ERROR_FILE_NOT_FOUND, 53},     {Attempt::kDelete, ERROR_PATH_NOT_FOUND, 53},
      {Attempt::kDelete, ERROR_ACCESS_DENIED, 70},      {Attempt::kDelete, ERROR_SHARING_VIOLATION, 70},
      {Attempt::kLength, ERROR_FILE_NOT_FOUND, 53},     {Attempt::kLength, ERROR_PATH_NOT_FOUND, 53},
      {Attempt::kRead, ERROR_FILE_NOT_FOUND, 53},       {Attempt::kRead, ERROR_PATH_NOT_FOUND, 76},
      {Attempt::kRead, ERROR_BAD_NETPATH, 76},          {Attempt::kRead, ERROR_ACCESS_DENIED, 70},
      {Attempt::kRead, ERROR_LOCK_VIOLATION, 70},       {Attempt::kRead, ERROR_CRC, 57},
      {Attempt::kRead, ERROR_NOT_ENOUGH_MEMORY, 7},     {Attempt::kWrite, ERROR_PATH_NOT_FOUND, 76},
      {Attempt::kWrite, ERROR_INVALID_NAME, 76},        {Attempt::kWrite, ERROR_ACCESS_DENIED, 70},
      {Attempt::kWrite, ERROR_SHARING_VIOLATION, 70},   {Attempt::kWrite, ERROR_ALREADY_EXISTS, 75},
      {Attempt::kWrite, ERROR_WRITE_PROTECT, 75},       {Attempt::kWrite, ERROR_DISK_FULL, 61},
      {Attempt::kWrite, ERROR_HANDLE_DISK_FULL, 61},    {Attempt::kWrite, ERROR_IO_DEVICE, 57},
      {Attempt::kMakeFolder, ERROR_ALREADY_EXISTS, 75}, {Attempt::kMakeFolder, ERROR_ACCESS_DENIED, 75},
      {Attempt::kMakeFolder, ERROR_PATH_NOT_FOUND, 76}, {Attempt::kMakeFolder, ERROR_DISK_FULL, 61},
      {Attempt::kStart, ERROR_FILE_NOT_FOUND, 53},      {Attempt::kStart, ERROR_PATH_NOT_FOUND, 53},
      {Attempt::kStart, ERROR_BAD_EXE_FORMAT, 5},       {Attempt::kStart, ERROR_ACCESS_DENIED, 70},
  };
  for (const ErrorCase& c : cases) {
    EXPECT_EQ(ErrorNumberOf(c.attempt, c.system_error), c.number)
        << "attempt " << static_cast<int>(c.attempt) << ", system error " << c.system_error;
  }
}

}  // namespace
}  // namespace vlmr::platform
