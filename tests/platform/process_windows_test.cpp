#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>

#include "platform/executable.h"
#include "platform/handle_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/process.h"
#include "support/error_of.h"
#include "support/scoped_temp_dir.h"
#include "support/wait_until.h"

namespace vlmr::platform {
namespace {

using test::ErrorOf;
using test::WaitUntil;

class WindowsProcessTest : public testing::Test {
 protected:
  std::string At(const std::string& below) const { return folder_.At(below); }

  /// Puts the stand-in there under any name, with what it shall do.
  void PutSibling(const std::string& below, const std::string& actions) const {
    const std::filesystem::path stand_in = ToWide(FindExecutable().folder + "\\siblings\\stand_in.exe");
    std::filesystem::create_directories(folder_.Real(below).parent_path());
    std::filesystem::copy_file(stand_in, folder_.Real(below));
    folder_.Put(below + ".actions", actions);
  }

  bool Appears(const std::string& below) const {
    return WaitUntil([&] { return std::filesystem::exists(folder_.Real(below)); });
  }

  static std::int64_t Awaited(ChildProcess& child) {
    EXPECT_TRUE(WaitUntil([&] { return child.ExitCode() != kStillActive; }));
    return child.ExitCode();
  }

  test::ScopedTempDir folder_;
  std::unique_ptr<ProcessRunner> runner_ = MakeProcessRunner(folder_.Folder());
};

TEST_F(WindowsProcessTest, AnAwaitedChildIsActiveUntilItEndsAndThenKeepsItsExitCode) {
  PutSibling("\\Patch.exe", "wait-for go\nexit 7\n");
  const auto child = runner_->StartAwaited(At("\\patch.EXE"));
  EXPECT_EQ(child->ExitCode(), kStillActive);
  folder_.Put("\\go", "");
  EXPECT_EQ(Awaited(*child), 7);
  EXPECT_EQ(child->ExitCode(), 7);
}

TEST_F(WindowsProcessTest, AChildThatEndedWith259CountsAsRunning) {
  PutSibling("\\Patch.exe", "exit 259\n");
  const auto child = runner_->StartAwaited(At("\\Patch.exe"));
  ASSERT_TRUE(Appears("\\Patch.exe.starts"));
  // It has ended when its file can be deleted.
  EXPECT_TRUE(WaitUntil([&] { return DeleteFileW(LongPath(At("\\Patch.exe")).c_str()) != 0; }));
  EXPECT_EQ(child->ExitCode(), kStillActive);
}

TEST_F(WindowsProcessTest, AnyExitCodeOf32BitsIsKnown) {
  PutSibling("\\Patch.exe", "exit 123456\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 123456);
}

TEST_F(WindowsProcessTest, AnAwaitedChildIsHiddenAndAnUnawaitedOneAsAskedFor) {
  PutSibling("\\Patch.exe", "report awaited\n");
  PutSibling("\\QueueMailer.exe", "report unawaited\n");
  PutSibling("\\PageScribe.exe", "report normal\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 0);
  EXPECT_NE(folder_.Text("\\awaited").find("window=hidden\r\n"), std::string::npos);
  EXPECT_TRUE(runner_->Start(At("\\QueueMailer.exe"), WindowMode::kHidden));
  EXPECT_TRUE(runner_->Start(At("\\PageScribe.exe"), WindowMode::kNormal));
  ASSERT_TRUE(Appears("\\unawaited") && Appears("\\normal"));
  EXPECT_NE(folder_.Text("\\unawaited").find("window=hidden\r\n"), std::string::npos);
  EXPECT_NE(folder_.Text("\\normal").find("window=normal\r\n"), std::string::npos);
}

TEST_F(WindowsProcessTest, AChildWorksInTheApplicationFolderAndInheritsNoHandle) {
  folder_.Put("\\secret", "x");
  SECURITY_ATTRIBUTES inheritable{
      .nLength = sizeof inheritable, .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  const Handle leaked(CreateFileW(LongPath(At("\\secret")).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                  &inheritable, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(leaked);
  const auto number = reinterpret_cast<std::uintptr_t>(leaked.Get());
  PutSibling("\\Patch.exe", "report seen " + std::to_string(number) + "\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 0);
  const std::string seen = folder_.Text("\\seen");
  EXPECT_EQ(seen.find("handle=secret"), std::string::npos) << seen;
  EXPECT_NE(seen.find("folder=" + folder_.Folder() + "\r\n"), std::string::npos) << seen;
}

TEST_F(WindowsProcessTest, BlanksBracketsAndAccentsInAPathSeparateNothing) {
  const std::string app = At("\\Program Files (x86)\\" + FromWide(L"V\u00e9lmora \u00e9"));
  std::filesystem::create_directories(ToWide(app));
  std::filesystem::copy_file(ToWide(FindExecutable().folder + "\\siblings\\stand_in.exe"),
                             ToWide(app + "\\My Patch.exe"));
  const auto files = MakeFileSystem(app);
  files->Replace(app + "\\My Patch.exe.actions", "make made\nexit 4\n");
  EXPECT_EQ(Awaited(*MakeProcessRunner(app)->StartAwaited(app + "\\My Patch.exe")), 4);
  EXPECT_EQ(files->FindFile(app + "\\made"), "made");
}

TEST_F(WindowsProcessTest, AnAwaitedStartRaises53ForNothingAnd5ForNoProgram) {
  folder_.Put("\\Folder\\file", "x");
  folder_.Put("\\text.exe", "MZ is not enough for a program");
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\absent.exe")); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\absent\\a.exe")); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(""); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\Folder")); }), 5);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\text.exe")); }), 5);
}

TEST_F(WindowsProcessTest, AnUnawaitedStartThatIsNotPossibleIsFalse) {
  folder_.Put("\\text.exe", "MZ is not enough for a program");
  EXPECT_FALSE(runner_->Start(At("\\absent.exe"), WindowMode::kHidden));
  EXPECT_FALSE(runner_->Start(At("\\text.exe"), WindowMode::kNormal));
}

TEST_F(WindowsProcessTest, AChildLivesOnWhenNobodyHoldsItAnyMore) {
  PutSibling("\\QueueMailer.exe", "wait-for go\nmake ended\n");
  runner_->StartAwaited(At("\\QueueMailer.exe")).reset();
  runner_.reset();
  ASSERT_TRUE(Appears("\\QueueMailer.exe.starts"));
  folder_.Put("\\go", "");
  EXPECT_TRUE(Appears("\\ended"));
}

}  // namespace
}  // namespace vlmr::platform
