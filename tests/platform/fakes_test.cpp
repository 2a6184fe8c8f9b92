#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/runtime_error.h"
#include "support/error_of.h"
#include "support/fake_clock.h"
#include "support/fake_event_loop.h"
#include "support/fake_process_runner.h"
#include "support/memory_file_system.h"

namespace vlmr::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Operation = MemoryFileSystem::Operation;
using Names = std::vector<std::string>;

TEST(MemoryFileSystemTest, RecordsWhatIsDone) {
  MemoryFileSystem files;
  files.Put("\\a", "1");
  files.PutFolder("\\dir");
  (void)files.ReadAll(files.At("\\a"));
  files.Replace(files.At("\\b"), "2");
  files.Append(files.At("\\b"), "3");
  EXPECT_TRUE(files.Move(files.At("\\a"), files.At("\\dir\\c")));
  EXPECT_FALSE(files.Move(files.At("\\a"), files.At("\\d")));
  files.Delete(files.At("\\b"));
  files.MakeFolder(files.At("\\new"));
  EXPECT_EQ(files.files_read, (Names{"/opt/mirror\\a"}));
  EXPECT_EQ(files.files_written, (Names{"/opt/mirror\\b", "/opt/mirror\\b"}));
  EXPECT_EQ(files.moves,
            (std::vector{std::pair<std::string, std::string>("/opt/mirror\\a", "/opt/mirror\\dir\\c")}));
  EXPECT_EQ(files.files_deleted, (Names{"/opt/mirror\\b"}));
  EXPECT_EQ(files.folders_made, (Names{"/opt/mirror\\new"}));
  EXPECT_EQ(files.Files(), (Names{"\\dir\\c"}));
  EXPECT_EQ(files.Folders(), (Names{"\\dir", "\\new"}));
}

TEST(MemoryFileSystemTest, FailsTheNthOperationOnAName) {
  MemoryFileSystem files;
  files.Fail(Operation::kDelete, "v_*", 70, 2, 1);
  for (const char* name : {"\\v_1", "\\v_2", "\\v_3", "\\other"}) files.Put(name, "x");
  EXPECT_EQ(ErrorOf([&] { files.Delete(files.At("\\other")); }), 0);
  EXPECT_EQ(ErrorOf([&] { files.Delete(files.At("\\v_1")); }), 0);
  EXPECT_EQ(ErrorOf([&] { files.Delete(files.At("\\v_2")); }), 70);
  EXPECT_EQ(ErrorOf([&] { files.Delete(files.At("\\v_3")); }), 0);
  EXPECT_EQ(files.Files(), (Names{"\\v_2"}));
}

TEST(MemoryFileSystemTest, AFailedChangeLeavesTheOldState) {
  for (const Operation operation : {Operation::kStage, Operation::kWrite, Operation::kCommit}) {
    MemoryFileSystem files;
    files.Put("\\index", "old");
    files.Fail(operation, "INDEX", 61);
    EXPECT_EQ(ErrorOf([&] { files.Replace(files.At("\\index"), "new"); }), 61);
    EXPECT_EQ(files.Text("\\index"), "old");
    EXPECT_EQ(files.Files(), (Names{"\\index"}));
    files.FailNothing();
    EXPECT_EQ(ErrorOf([&] { files.Replace(files.At("\\index"), "new"); }), 0);
  }
}

TEST(MemoryFileSystemTest, AnyChangeCanBeTheOneThatFails) {
  MemoryFileSystem files;
  files.Put("\\a", "x");
  files.Fail(Operation::kAnyChange, "*", 75, 1);
  EXPECT_FALSE(files.Move(files.At("\\a"), files.At("\\b")));
  EXPECT_EQ(ErrorOf([&] { files.MakeFolder(files.At("\\d")); }), 75);
  EXPECT_EQ(ErrorOf([&] { files.Append(files.At("\\a"), "x"); }), 75);
  EXPECT_EQ(ErrorOf([&] { (void)files.ReadAll(files.At("\\a")); }), 0);
}

TEST(FakeEventLoopTest, PumpAdvancesTheClockToTheNextTimerOrByItsWholeWait) {
  FakeClock clock;
  FakeEventLoop loop(clock);
  const auto start = clock.Steady();
  std::vector<milliseconds> fired;
  const auto timer = loop.StartTimer(milliseconds(100), [&] {
    fired.push_back(std::chrono::duration_cast<milliseconds>(clock.Steady() - start));
  });
  loop.Pump(milliseconds(60));
  loop.Pump(seconds(1));
  loop.Pump(seconds(1));
  loop.StopTimer(timer);
  loop.Pump(seconds(1));
  EXPECT_EQ(fired, (std::vector{milliseconds(100), milliseconds(200)}));
  EXPECT_EQ(clock.Steady() - start, milliseconds(1200));
  EXPECT_EQ(loop.pumps, (std::vector<milliseconds>{milliseconds(60), seconds(1), seconds(1), seconds(1)}));
}

TEST(FakeEventLoopTest, ServesActionsSocketsAndCloseRequests) {
  FakeClock clock;
  FakeEventLoop loop(clock);
  Names order;
  loop.OnCloseRequest([&] { order.emplace_back("close"); });
  loop.Watch(7, {.read = true},
             [&](platform::EventLoop::Interest ready) { order.emplace_back(ready.read ? "read" : "write"); });
  loop.AtPump(2, [&] {
    order.emplace_back("action");
    loop.RequestClose();
    loop.MakeReady(7, {.read = true});
  });
  loop.Pump(seconds(1));
  EXPECT_EQ(order, Names());
  loop.Pump(seconds(1));
  loop.Pump(seconds(1));
  EXPECT_EQ(order, (Names{"action", "close", "read"}));
  EXPECT_FALSE(loop.CloseRequested());
}

TEST(FakeEventLoopTest, AWaitThatNeverEndsFails) {
  FakeClock clock;
  FakeEventLoop loop(clock);
  loop.pump_limit = 3;
  for (int i = 0; i < 3; ++i) loop.Pump(seconds(1));
  EXPECT_THROW(loop.Pump(seconds(1)), std::logic_error);
}

TEST(FakeProcessRunnerTest, PlaysWhatIsScripted) {
  FakeProcessRunner processes;
  int started = 0;
  processes.Script("Patch.exe", {.exit_code = 5, .polls = 1, .on_start = [&] { ++started; }});
  processes.Script("absent.exe", {.start_error = 53});
  const auto child = processes.StartAwaited("/opt/mirror\\PATCH.EXE");
  EXPECT_EQ(started, 1);
  EXPECT_EQ(child->ExitCode(), platform::kStillActive);
  EXPECT_EQ(child->ExitCode(), 5);
  EXPECT_FALSE(processes.Start("/opt/mirror\\absent.exe", platform::WindowMode::kNormal));
  EXPECT_EQ(ErrorOf([&] { processes.StartAwaited("/opt/mirror\\absent.exe"); }), 53);
  EXPECT_EQ(processes.StartAwaited("/opt/mirror\\other.exe")->ExitCode(), 0);
  EXPECT_EQ(processes.StartsOf("ABSENT.exe"), 2);
  EXPECT_EQ(processes.Programs().size(), 4U);
}

}  // namespace
}  // namespace vlmr::test
