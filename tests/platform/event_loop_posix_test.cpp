#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/event_loop.h"
#include "platform/native.h"
#include "platform/runtime_error.h"

namespace vlmr::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

/// Two connected sockets.
class SocketPair {
 public:
  SocketPair() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()), 0); }
  ~SocketPair() {
    for (const int end : ends_) {
      if (end >= 0) ::close(end);
    }
  }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;
  int Ours() const { return ends_[0]; }
  int Theirs() const { return ends_[1]; }
  void Say() const { EXPECT_EQ(::write(Theirs(), "x", 1), 1); }
  void Hear() const {
    char c = 0;
    EXPECT_EQ(::read(Ours(), &c, 1), 1);
  }
  void HangUp() {
    ::close(ends_[1]);
    ends_[1] = -1;
  }

 private:
  std::array<int, 2> ends_ = {-1, -1};
};

class PosixEventLoopTest : public testing::Test {
 protected:
  std::unique_ptr<EventLoop> loop_ = MakeEventLoop();
};

TEST_F(PosixEventLoopTest, APumpWithoutWaitReturnsAtOnceAndOneWithWaitSleepsThatLong) {
  const auto start = SteadyClock::now();
  loop_->Pump(milliseconds(0));
  loop_->Pump(milliseconds(30));
  EXPECT_GE(SteadyClock::now() - start, milliseconds(30));
}

TEST_F(PosixEventLoopTest, ATimerFiresFromPumpUntilItIsStopped) {
  int fired = 0;
  const auto timer = loop_->StartTimer(milliseconds(1), [&] { ++fired; });
  while (fired < 3) loop_->Pump(seconds(10));
  loop_->StopTimer(timer);
  loop_->StopTimer(timer);
  loop_->Pump(milliseconds(5));
  EXPECT_EQ(fired, 3);
}

TEST_F(PosixEventLoopTest, ATimerEndsAWaitThatIsLonger) {
  bool fired = false;
  loop_->StartTimer(milliseconds(1), [&] { fired = true; });
  loop_->Pump(seconds(60));
  EXPECT_TRUE(fired);
}

TEST_F(PosixEventLoopTest, ATimerMayStopItselfAndStartAnother) {
  std::vector<int> order;
  EventLoop::TimerId first = 0;
  first = loop_->StartTimer(milliseconds(0), [&] {
    order.push_back(1);
    loop_->StopTimer(first);
    loop_->StartTimer(milliseconds(0), [&] { order.push_back(2); });
  });
  loop_->Pump(milliseconds(0));
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(PosixEventLoopTest, ATimerMayPumpWithoutBeingServedTwice) {
  int fired = 0;
  loop_->StartTimer(seconds(1), [] {});
  loop_->StartTimer(milliseconds(1), [&] {
    if (++fired == 1) loop_->Pump(milliseconds(0));
  });
  loop_->Pump(seconds(10));
  EXPECT_EQ(fired, 1);
}

TEST_F(PosixEventLoopTest, AReadableSocketIsReportedAsLongAsItIsReadable) {
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
  loop_->Pump(seconds(10));
  loop_->Pump(seconds(10));
  EXPECT_EQ(reports, 2);
  pair.Hear();
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(reports, 2);
}

TEST_F(PosixEventLoopTest, ASecondWatchReplacesTheFirst) {
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
  loop_->Pump(seconds(10));
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

TEST_F(PosixEventLoopTest, AHangUpIsReportedAsReadableAndWritable) {
  SocketPair pair;
  pair.HangUp();
  EventLoop::Interest seen;
  loop_->Watch(pair.Ours(), {}, [&](EventLoop::Interest ready) { seen = ready; });
  loop_->Pump(seconds(10));
  EXPECT_TRUE(seen.read);
  EXPECT_TRUE(seen.write);
}

TEST_F(PosixEventLoopTest, AHandlerMayUnwatchAnotherSocketThatIsReadyToo) {
  const SocketPair one;
  const SocketPair two;
  one.Say();
  two.Say();
  int reports = 0;
  loop_->Watch(one.Ours(), {.read = true}, [&](EventLoop::Interest) {
    ++reports;
    loop_->Unwatch(two.Ours());
    loop_->Unwatch(one.Ours());
  });
  loop_->Watch(two.Ours(), {.read = true}, [&](EventLoop::Interest) {
    ++reports;
    loop_->Unwatch(one.Ours());
    loop_->Unwatch(two.Ours());
  });
  loop_->Pump(seconds(10));
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(reports, 1);
}

TEST_F(PosixEventLoopTest, ACloseRequestIsServedOnceAndFirst) {
  std::vector<int> order;
  loop_->OnCloseRequest([&] { order.push_back(1); });
  loop_->StartTimer(milliseconds(0), [&] { order.push_back(2); });
  EXPECT_FALSE(loop_->CloseRequested());
  ::raise(SIGTERM);
  EXPECT_TRUE(loop_->CloseRequested());
  loop_->Pump(milliseconds(0));
  EXPECT_FALSE(loop_->CloseRequested());
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(order, (std::vector<int>{1, 2, 2}));
}

TEST_F(PosixEventLoopTest, AnInterruptIsACloseRequestToo) {
  int requests = 0;
  loop_->OnCloseRequest([&] { ++requests; });
  ::raise(SIGINT);
  loop_->Pump(milliseconds(0));
  EXPECT_EQ(requests, 1);
}

TEST_F(PosixEventLoopTest, ACloseRequestEndsAWaitEvenWhenAnotherThreadReceivesIt) {
  int requests = 0;
  loop_->OnCloseRequest([&] { ++requests; });
  const auto start = SteadyClock::now();
  std::thread sender([] { ::raise(SIGTERM); });
  loop_->Pump(seconds(60));
  sender.join();
  EXPECT_EQ(requests, 1);
  EXPECT_LT(SteadyClock::now() - start, seconds(30));
}

TEST_F(PosixEventLoopTest, ACloseHandlerMayEndTheProcessFromInsideAWait) {
  loop_->OnCloseRequest([] { throw ProcessEnd(); });
  ::raise(SIGTERM);
  EXPECT_THROW(loop_->Pump(seconds(60)), ProcessEnd);
  EXPECT_NO_THROW(loop_->Pump(milliseconds(0)));
}

TEST_F(PosixEventLoopTest, TheFormerHandlingOfSignalsComesBackWithItsEnd) {
  struct sigaction before = {};
  struct sigaction during = {};
  struct sigaction after = {};
  ::sigaction(SIGTERM, nullptr, &before);
  loop_->OnCloseRequest([] {});
  ::sigaction(SIGTERM, nullptr, &during);
  EXPECT_NE(during.sa_handler, before.sa_handler);
  loop_.reset();
  ::sigaction(SIGTERM, nullptr, &after);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
}

TEST_F(PosixEventLoopTest, WritingToAPeerThatIsGoneIsAnErrorAndNoDeath) {
  SocketPair pair;
  pair.HangUp();
  EXPECT_EQ(::write(pair.Ours(), "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
}

}  // namespace
}  // namespace vlmr::platform
