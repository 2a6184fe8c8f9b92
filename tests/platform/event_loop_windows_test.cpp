#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/close_request_windows.h"
#include "platform/event_loop.h"
#include "platform/native.h"
#include "platform/runtime_error.h"
#include "support/sockets.h"

namespace vlmr::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

/// Two connected sockets.
class SocketPair {
 public:
  SocketPair() {
    int port = 0;
    const int listener = test::ListenOnLoopback(port);
    theirs_ = test::ConnectToLoopback(port);
    ours_ = test::AcceptConnection(listener);
    test::SendPiecesAtOnce(theirs_);
    test::CloseSocket(listener);
  }
  ~SocketPair() {
    test::CloseSocket(ours_);
    HangUp();
  }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;
  int Ours() const { return ours_; }
  void Say() const { test::SendAll(theirs_, "x"); }
  void Hear() const { EXPECT_EQ(test::ReceiveSome(ours_, 1), "x"); }
  void HangUp() {
    test::CloseSocket(theirs_);
    theirs_ = -1;
  }

 private:
  int ours_ = -1;
  int theirs_ = -1;
};

class WindowsEventLoopTest : public testing::Test {
 protected:
  std::unique_ptr<EventLoop> loop_ = MakeEventLoop();
};

TEST_F(WindowsEventLoopTest, APumpWithoutWaitReturnsAtOnceAndOneWithWaitSleepsThatLong) {
  const auto start = SteadyClock::now();
  loop_->Pump(milliseconds(0));
  loop_->Pump(milliseconds(30));
  EXPECT_GE(SteadyClock::now() - start, milliseconds(29));
}

TEST_F(WindowsEventLoopTest, ATimerFiresFromPumpUntilItIsStopped) {
  int fired = 0;
  const auto timer = loop_->StartTimer(milliseconds(1), [&] { ++fired; });
  while (fired < 3) loop_->Pump(seconds(10));
  loop_->StopTimer(timer);
  loop_->StopTimer(timer);
  loop_->Pump(milliseconds(5));
  EXPECT_EQ(fired, 3);
}

TEST_F(WindowsEventLoopTest, ATimerEndsAWaitThatIsLonger) {
  bool fired = false;
  loop_->StartTimer(milliseconds(1), [&] { fired = true; });
  while (!fired) loop_->Pump(seconds(60));
  EXPECT_TRUE(fired);
}

TEST_F(WindowsEventLoopTest, ATimerMayPumpWithoutBeingServedTwice) {
  int fired = 0;
  loop_->StartTimer(seconds(1), [] {});
  loop_->StartTimer(milliseconds(50), [&] {
    if (++fired == 1) loop_->Pump(milliseconds(0));
  });
  while (fired == 0) loop_->Pump(seconds(10));
  EXPECT_EQ(fired, 1);
}

TEST_F(WindowsEventLoopTest, AReadableSocketIsReportedAsLongAsItIsReadable) {
  const SocketPair pair;
  int reports = 0;
  loop_->Watch(pair.Ours(), {.read = true}, [&](EventLoop::Interest ready) {
    EXPECT_TRUE(ready.read);
    EXPECT_FALSE(ready.write);
    ++reports;
  });
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(reports, 0);
  pair.Say();
  while (reports < 2) loop_->Pump(seconds(10));
  pair.Hear();
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(reports, 2);
}

TEST_F(WindowsEventLoopTest, ASecondWatchReplacesTheFirst) {
  const SocketPair pair;
  pair.Say();
  int first = 0;
  int second = 0;
  loop_->Watch(pair.Ours(), {.read = true}, [&](EventLoop::Interest) { ++first; });
  loop_->Watch(pair.Ours(), {.write = true}, [&](EventLoop::Interest ready) {
    EXPECT_TRUE(ready.write);
    EXPECT_FALSE(ready.read);
    ++second;
  });
  while (second == 0) loop_->Pump(seconds(10));
  EXPECT_EQ(first, 0);
}

TEST_F(WindowsEventLoopTest, AHangUpIsReportedAsReadable) {
  SocketPair pair;
  pair.HangUp();
  EventLoop::Interest seen;
  loop_->Watch(pair.Ours(), {.read = true}, [&](EventLoop::Interest ready) { seen = ready; });
  while (!seen.read) loop_->Pump(seconds(10));
  EXPECT_TRUE(seen.read);
}

TEST_F(WindowsEventLoopTest, AHandlerMayUnwatchAnotherSocketThatIsReadyToo) {
  const SocketPair one;
  const SocketPair two;
  one.Say();
  two.Say();
  int reports = 0;
  const auto report = [&](EventLoop::Interest) {
    ++reports;
    loop_->Unwatch(one.Ours());
    loop_->Unwatch(two.Ours());
  };
  loop_->Watch(one.Ours(), {.read = true}, report);
  loop_->Watch(two.Ours(), {.read = true}, report);
  while (reports == 0) loop_->Pump(seconds(10));
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(reports, 1);
}

TEST_F(WindowsEventLoopTest, ACloseRequestIsServedOnceAndFirst) {
  std::vector<int> order;
  loop_->OnCloseRequest([&] { order.push_back(1); });
  loop_->StartTimer(milliseconds(0), [&] { order.push_back(2); });
  EXPECT_FALSE(loop_->CloseRequested());
  RequestClose();
  EXPECT_TRUE(loop_->CloseRequested());
  loop_->Pump(milliseconds(0));
  EXPECT_FALSE(loop_->CloseRequested());
  EXPECT_EQ(order, (std::vector<int>{1}));
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(WindowsEventLoopTest, ACloseRequestFromTheConsolesThreadEndsASleep) {
  int requests = 0;
  loop_->OnCloseRequest([&] { ++requests; });
  const auto start = SteadyClock::now();
  std::thread console([] { RequestClose(); });
  while (requests == 0) loop_->Pump(seconds(60));
  console.join();
  EXPECT_EQ(requests, 1);
  EXPECT_LT(SteadyClock::now() - start, seconds(30));
}

TEST_F(WindowsEventLoopTest, ACloseHandlerMayEndTheProcessFromInsideAWait) {
  loop_->OnCloseRequest([] { throw ProcessEnd(); });
  RequestClose();
  EXPECT_THROW(loop_->Pump(seconds(60)), ProcessEnd);
  EXPECT_NO_THROW(loop_->Pump(milliseconds(0)));
}

TEST_F(WindowsEventLoopTest, TheEndOfTheThreadsMessagesIsACloseRequest) {
  int requests = 0;
  loop_->OnCloseRequest([&] { ++requests; });
  PostQuitMessage(0);
  while (requests == 0) loop_->Pump(seconds(10));
  EXPECT_EQ(requests, 1);
}

}  // namespace
}  // namespace vlmr::platform
