#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/native.h"
#include "platform/process.h"
#include "support/error_of.h"
#include "support/scoped_temp_dir.h"
#include "support/wait_until.h"

namespace vlmr::platform {
namespace {

using test::ErrorOf;
using test::WaitUntil;

class PosixProcessTest : public testing::Test {
 protected:
  std::string At(const std::string& below) const { return folder_.At(below); }

  /// Puts a shell script there. `$2`-like arguments do not exist: programs are started without any.
  void PutScript(const std::string& below, const std::string& lines, mode_t mode = 0755) const {
    folder_.Put(below, "#!/bin/sh\n" + lines);
    ::chmod(folder_.Real(below).c_str(), mode);
  }

  bool Appears(const std::string& below) const {
    return WaitUntil([&] { return std::filesystem::exists(folder_.Real(below)); });
  }

  static std::int64_t Awaited(ChildProcess& child) {
    EXPECT_TRUE(WaitUntil([&] { return child.ExitCode() != kStillActive; }));
    return child.ExitCode();
  }

  /// Whether this process has any child at all, ended or not.
  static bool HasChildren() {
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
  }

  test::ScopedTempDir folder_;
  std::unique_ptr<ProcessRunner> runner_ = MakeProcessRunner(folder_.Folder());
};

TEST_F(PosixProcessTest, RunsAScriptUnderAnyNameInAnyCaseInTheApplicationFolder) {
  PutScript("\\QueueMailer.exe", "pwd > where.tmp; echo \"$0\" >> where.tmp; mv where.tmp where\n");
  EXPECT_TRUE(runner_->Start(At("\\queuemailer.EXE"), WindowMode::kNormal));
  ASSERT_TRUE(Appears("\\where"));
  EXPECT_EQ(folder_.Text("\\where"), folder_.Folder() + "\n" + folder_.Folder() + "/QueueMailer.exe\n");
}

TEST_F(PosixProcessTest, BlanksInTheTextSeparateNothing) {
  PutScript("\\Sub Folder\\My Program.exe", "exit 4\n");
  PutScript("\\Sub", "exit 5\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Sub Folder\\My Program.exe"))), 4);
}

TEST_F(PosixProcessTest, AnAwaitedChildIsActiveUntilItEndsAndThenKeepsItsExitCode) {
  PutScript("\\Patch.exe", "while [ ! -e go ]; do sleep 0.01; done; exit 7\n");
  const auto child = runner_->StartAwaited(At("\\Patch.exe"));
  EXPECT_EQ(child->ExitCode(), kStillActive);
  folder_.Put("\\go", "");
  EXPECT_EQ(Awaited(*child), 7);
  EXPECT_EQ(child->ExitCode(), 7);
  EXPECT_FALSE(HasChildren());
}

TEST_F(PosixProcessTest, ADeathByASignalIsAnExitCodeToo) {
  PutScript("\\Patch.exe", "kill -9 $$\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 128 + SIGKILL);
}

TEST_F(PosixProcessTest, AnAwaitedStartRaises53ForNothing5ForNoProgramAnd70WithoutTheRight) {
  folder_.Put("\\Folder\\file", "x");
  folder_.Put("\\text.exe", "no program at all");
  ::chmod(folder_.Real("\\text.exe").c_str(), 0755);
  PutScript("\\closed.exe", "exit 0\n", 0644);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\absent.exe")); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\absent\\a.exe")); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(""); }), 53);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\Folder")); }), 5);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\text.exe")); }), 5);
  EXPECT_EQ(ErrorOf([&] { runner_->StartAwaited(At("\\closed.exe")); }), 70);
  EXPECT_FALSE(HasChildren());
}

TEST_F(PosixProcessTest, AnUnawaitedStartThatIsNotPossibleIsFalse) {
  folder_.Put("\\text.exe", "no program at all");
  EXPECT_FALSE(runner_->Start(At("\\absent.exe"), WindowMode::kHidden));
  EXPECT_FALSE(runner_->Start(At("\\text.exe"), WindowMode::kHidden));
  EXPECT_FALSE(runner_->Start(At("\\a\\..\\text.exe"), WindowMode::kHidden));
  EXPECT_FALSE(HasChildren());
}

TEST_F(PosixProcessTest, AnUnawaitedChildIsNobodysZombie) {
  PutScript("\\QueueMailer.exe", "while [ ! -e go ]; do sleep 0.01; done; touch ended\n");
  EXPECT_TRUE(runner_->Start(At("\\QueueMailer.exe"), WindowMode::kHidden));
  EXPECT_FALSE(HasChildren());
  folder_.Put("\\go", "");
  EXPECT_TRUE(Appears("\\ended"));
  EXPECT_FALSE(HasChildren());
}

TEST_F(PosixProcessTest, UnawaitedChildrenDoNotDisturbAnAwaitedOne) {
  PutScript("\\Patch.exe", "while [ ! -e go ]; do sleep 0.01; done; exit 3\n");
  PutScript("\\other.exe", "exit 9\n");
  const auto child = runner_->StartAwaited(At("\\Patch.exe"));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(runner_->Start(At("\\other.exe"), WindowMode::kHidden));
  EXPECT_EQ(child->ExitCode(), kStillActive);
  folder_.Put("\\go", "");
  EXPECT_EQ(Awaited(*child), 3);
}

TEST_F(PosixProcessTest, AChildThatNobodyWaitsForAnyMoreIsReapedAtTheNextStart) {
  PutScript("\\Patch.exe", "while [ ! -e go ]; do sleep 0.01; done\n");
  PutScript("\\other.exe", "exit 0\n");
  runner_->StartAwaited(At("\\Patch.exe")).reset();
  EXPECT_TRUE(HasChildren());
  folder_.Put("\\go", "");
  EXPECT_TRUE(
      WaitUntil([&] { return runner_->Start(At("\\other.exe"), WindowMode::kHidden) && !HasChildren(); }));
}

TEST_F(PosixProcessTest, AChildInheritsNoDescriptorAndHasTheNullDeviceForItsStreams) {
  folder_.Put("\\secret", "x");
  // Without the close-on-exec mark, as a library might open it.
  const int leaked = ::open(folder_.Real("\\secret").c_str(), O_RDONLY);
  ASSERT_GE(leaked, 0);
  PutScript("\\Patch.exe",
            "streams=$(for stream in 0 1 2; do readlink /proc/$$/fd/$stream; done)\n"
            "all=$(ls -l /proc/$$/fd)\n"
            "echo \"$streams\" > streams; echo \"$all\" > all\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 0);
  ::close(leaked);
  EXPECT_EQ(folder_.Text("\\streams"), "/dev/null\n/dev/null\n/dev/null\n");
  EXPECT_NE(folder_.Text("\\all"), "");
  EXPECT_EQ(folder_.Text("\\all").find("secret"), std::string::npos) << folder_.Text("\\all");
}

TEST_F(PosixProcessTest, AChildStandsInAGroupOfItsOwn) {
  PutScript("\\Patch.exe", "cut -d' ' -f6 /proc/$$/stat > group\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 0);
  EXPECT_NE(folder_.Text("\\group"), std::to_string(::getsid(0)) + "\n");
  std::filesystem::remove(folder_.Real("\\group"));
  PutScript("\\Patch.exe", "cut -d' ' -f6 /proc/$$/stat > group.tmp; mv group.tmp group\n");
  EXPECT_TRUE(runner_->Start(At("\\Patch.exe"), WindowMode::kHidden));
  ASSERT_TRUE(Appears("\\group"));
  EXPECT_NE(folder_.Text("\\group"), std::to_string(::getsid(0)) + "\n");
}

TEST_F(PosixProcessTest, AChildGetsNoneOfOurSignalSettings) {
  // Whoever started the tests may have left signals ignored, as a shell does for its background jobs.
  for (int number = 1; number < 32; ++number) ::signal(number, SIG_DFL);
  const auto loop = MakeEventLoop();  // ignores SIGPIPE
  sigset_t blocked;
  sigset_t former;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::sigprocmask(SIG_BLOCK, &blocked, &former);
  PutScript("\\Patch.exe", "grep -E '^Sig(Ign|Blk)' /proc/$$/status > signals\n");
  EXPECT_EQ(Awaited(*runner_->StartAwaited(At("\\Patch.exe"))), 0);
  ::sigprocmask(SIG_SETMASK, &former, nullptr);
  EXPECT_EQ(folder_.Text("\\signals"), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(PosixProcessTest, ExitCodesAreKnownEvenWhenTheStarterIgnoredChildren) {
  ::signal(SIGCHLD, SIG_IGN);
  const auto runner = MakeProcessRunner(folder_.Folder());
  PutScript("\\Patch.exe", "exit 6\n");
  EXPECT_EQ(Awaited(*runner->StartAwaited(At("\\Patch.exe"))), 6);
}

}  // namespace
}  // namespace vlmr::platform
