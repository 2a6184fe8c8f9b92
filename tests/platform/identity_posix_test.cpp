#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "platform/executable.h"
#include "platform/instance_lock.h"
#include "platform/native.h"
#include "platform/system_info.h"
#include "support/scoped_temp_dir.h"
#include "support/wait_until.h"

namespace vlmr::platform {
namespace {

TEST(ExecutableTest, TheProgramNameIsTheFileNameWithoutItsLastExtension) {
  EXPECT_EQ(ProgramName("VlMr.exe"), "VlMr");
  EXPECT_EQ(ProgramName("VlMr"), "VlMr");
  EXPECT_EQ(ProgramName("VlMr.test.exe"), "VlMr.test");
  EXPECT_EQ(ProgramName(".VlMr"), ".VlMr");
  EXPECT_EQ(ProgramName("VlMr."), "VlMr");
}

TEST(ExecutableTest, TheRunningProgramIsFound) {
  const Executable executable = FindExecutable();
  EXPECT_TRUE(executable.folder.starts_with('/'));
  EXPECT_FALSE(executable.folder.ends_with('/'));
  EXPECT_TRUE(std::filesystem::equivalent(executable.folder + "/" + executable.file_name, "/proc/self/exe"));
}

class InstanceLockTest : public testing::Test {
 protected:
  InstanceLockTest() {
    folder_.Put("\\VlMr.exe", "#!/bin/sh\n");
    folder_.Put("\\copy\\VlMr.exe", "#!/bin/sh\n");
  }
  Executable InFolder(const std::string& below) const { return {folder_.Real(below).string(), "VlMr.exe"}; }

  test::ScopedTempDir folder_;
};

TEST_F(InstanceLockTest, TheSecondOfTwoHoldersSeesTheFirst) {
  auto first = MakeInstanceLock(InFolder(""));
  const auto second = MakeInstanceLock(InFolder(""));
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_TRUE(second->PreviousInstance());
  first.reset();
  EXPECT_FALSE(second->PreviousInstance());
}

TEST_F(InstanceLockTest, ACopyInAnotherFolderIsAnotherExecutable) {
  const auto first = MakeInstanceLock(InFolder(""));
  const auto copy = MakeInstanceLock(InFolder("\\copy"));
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_FALSE(copy->PreviousInstance());
}

TEST_F(InstanceLockTest, TheSystemReleasesItWithAProcessThatIsKilled) {
  int ready[2] = {-1, -1};
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t holder = ::fork();
  if (holder == 0) {
    const auto lock = MakeInstanceLock(InFolder(""));
    const char answer = lock->PreviousInstance() ? 'n' : 'y';
    if (::write(ready[1], &answer, 1) != 1) ::_exit(1);
    while (true) ::pause();
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  const auto lock = MakeInstanceLock(InFolder(""));
  EXPECT_TRUE(lock->PreviousInstance());
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  EXPECT_FALSE(lock->PreviousInstance());
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST_F(InstanceLockTest, AChildThatOutlivesTheRunDoesNotHoldIt) {
  folder_.Put("\\QueueMailer.exe",
              "#!/bin/sh\ntouch started; while [ ! -e go ]; do sleep 0.01; done; touch ended\n");
  std::filesystem::permissions(folder_.Real("\\QueueMailer.exe"), std::filesystem::perms::owner_all);
  auto first = MakeInstanceLock(InFolder(""));
  EXPECT_FALSE(first->PreviousInstance());
  EXPECT_TRUE(
      MakeProcessRunner(folder_.Folder())->Start(folder_.At("\\QueueMailer.exe"), WindowMode::kHidden));
  EXPECT_TRUE(test::WaitUntil([&] { return std::filesystem::exists(folder_.Real("\\started")); }));
  first.reset();
  EXPECT_FALSE(MakeInstanceLock(InFolder(""))->PreviousInstance());
  folder_.Put("\\go", "");
  EXPECT_TRUE(test::WaitUntil([&] { return std::filesystem::exists(folder_.Real("\\ended")); }));
}

TEST_F(InstanceLockTest, AFileThatIsGoneHoldsNobodyBack) {
  std::filesystem::remove(folder_.Real("\\VlMr.exe"));
  EXPECT_FALSE(MakeInstanceLock(InFolder(""))->PreviousInstance());
}

TEST(SystemInfoTest, ModulesAreFullPathsOfFilesEachOnceTheExecutableFirst) {
  const std::vector<std::string> modules = MakeSystemInfo()->LoadedModules();
  ASSERT_GE(modules.size(), 2U);
  const Executable executable = FindExecutable();
  EXPECT_EQ(modules.front(), executable.folder + "/" + executable.file_name);
  EXPECT_EQ(std::set<std::string>(modules.begin(), modules.end()).size(), modules.size());
  EXPECT_TRUE(std::any_of(modules.begin(), modules.end(), [](const std::string& path) {
    return path.find("/libc.so") != std::string::npos;
  }));
  for (const std::string& path : modules) {
    EXPECT_TRUE(path.starts_with('/') && std::filesystem::is_regular_file(path)) << path;
  }
}

TEST(SystemInfoTest, TellsTheHostNameAndTheKernelsMajorVersion) {
  utsname system = {};
  ASSERT_EQ(::uname(&system), 0);
  EXPECT_EQ(MakeSystemInfo()->ComputerName(), system.nodename);
  EXPECT_TRUE(
      std::string(system.release).starts_with(std::to_string(MakeSystemInfo()->OsMajorVersion()) + "."))
      << system.release;
}

TEST(SystemInfoTest, AnotherAccountChangesNothingHere) {
  const uid_t before = ::geteuid();
  const auto system = MakeSystemInfo();
  system->StartImpersonation("account", "password", "domain");
  system->StartImpersonation("account", "password", "domain");
  EXPECT_EQ(::geteuid(), before);
  system->EndImpersonation();
  EXPECT_EQ(::geteuid(), before);
}

}  // namespace
}  // namespace vlmr::platform
