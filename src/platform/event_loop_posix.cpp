#include "platform/event_loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "platform/descriptor_posix.h"
#include "platform/native.h"

namespace vlmr::platform {
namespace {

using SteadyClock = std::chrono::steady_clock;

// A signal handler has no argument of ours, so the process's one pending close request lives here.
std::atomic<bool> close_requested = false;
std::atomic<int> waker = -1;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void OnSignal(int /*number*/) {
  const int saved = errno;
  close_requested = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t told = ::write(waker, &one, sizeof one);
  errno = saved;
}

class PosixEventLoop : public EventLoop {
 public:
  PosixEventLoop() : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // A peer that hangs up is an error of that connection, no reason to end the process.
    static_cast<void>(::signal(SIGPIPE, SIG_IGN));
  }
  PosixEventLoop(const PosixEventLoop&) = delete;
  PosixEventLoop& operator=(const PosixEventLoop&) = delete;
  ~PosixEventLoop() override {
    if (!close_handler_) return;
    ::sigaction(SIGTERM, &former_terminate_, nullptr);
    ::sigaction(SIGINT, &former_interrupt_, nullptr);
    waker = -1;
    close_requested = false;
  }

  void Watch(Socket socket, Interest interest, SocketHandler handler) override {
    watched_[socket] = {interest, std::make_shared<SocketHandler>(std::move(handler))};
  }

  void Unwatch(Socket socket) override { watched_.erase(socket); }

  TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> handler) override {
    timers_[++last_timer_] = {interval, SteadyClock::now() + interval,
                              std::make_shared<std::function<void()>>(std::move(handler))};
    return last_timer_;
  }

  void StopTimer(TimerId timer) override { timers_.erase(timer); }

  void Pump(std::chrono::milliseconds max_wait) override {
    ServeClose();
    std::vector<pollfd> sockets = Wait(max_wait);
    ServeClose();
    ServeSockets(sockets);
    ServeTimers();
  }

  void OnCloseRequest(std::function<void()> handler) override {
    const bool installed = static_cast<bool>(close_handler_);
    close_handler_ = std::move(handler);
    if (installed) return;
    waker = wake_.Get();
    struct sigaction action = {};
    action.sa_handler = &OnSignal;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, &former_terminate_);
    ::sigaction(SIGINT, &action, &former_interrupt_);
  }

  bool CloseRequested() const override { return close_requested; }

 private:
  struct Timer {
    std::chrono::milliseconds interval;
    SteadyClock::time_point due;
    std::shared_ptr<std::function<void()>> handler;
  };
  // Handlers are shared so that one that unwatches itself or starts another wait is not pulled from under
  // its own feet.
  struct Watched {
    Interest interest;
    std::shared_ptr<SocketHandler> handler;
  };

  /// Sleeps until something is due; returns what was polled, with the outcome.
  std::vector<pollfd> Wait(std::chrono::milliseconds max_wait) {
    std::vector<pollfd> polled;
    polled.reserve(watched_.size() + 1);
    polled.push_back({.fd = wake_.Get(), .events = POLLIN, .revents = 0});
    for (const auto& [socket, watched] : watched_) {
      const int events = (watched.interest.read ? POLLIN : 0) | (watched.interest.write ? POLLOUT : 0);
      polled.push_back({.fd = static_cast<int>(socket), .events = static_cast<short>(events), .revents = 0});
    }
    std::chrono::nanoseconds wait = std::max(max_wait, std::chrono::milliseconds(0));
    const SteadyClock::time_point now = SteadyClock::now();
    for (const auto& [id, timer] : timers_) {
      wait = std::min(wait, std::max<std::chrono::nanoseconds>(timer.due - now, wait.zero()));
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    const timespec limit = {.tv_sec = seconds.count(), .tv_nsec = (wait - seconds).count()};
    // A failure can only be an interruption by a signal: nothing is ready then.
    if (::ppoll(polled.data(), polled.size(), &limit, nullptr) <= 0) return {};
    if (polled.front().revents != 0) {
      std::uint64_t count = 0;
      [[maybe_unused]] const ssize_t taken = ::read(wake_.Get(), &count, sizeof count);
    }
    return polled;
  }

  void ServeClose() {
    if (close_handler_ && close_requested.exchange(false)) close_handler_();
  }

  void ServeSockets(const std::vector<pollfd>& polled) {
    struct Ready {
      Socket socket;
      Interest interest;
      std::shared_ptr<SocketHandler> handler;
    };
    std::vector<Ready> ready;
    for (const pollfd& entry : polled) {
      const auto watched = watched_.find(entry.fd);
      if (entry.revents == 0 || watched == watched_.end()) continue;
      const bool broken = (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
      ready.push_back({entry.fd,
                       {.read = broken || (entry.revents & POLLIN) != 0,
                        .write = broken || (entry.revents & POLLOUT) != 0},
                       watched->second.handler});
    }
    for (const Ready& one : ready) {
      // An earlier handler may have given the socket up, or its number to a new one.
      const auto watched = watched_.find(one.socket);
      if (watched != watched_.end() && watched->second.handler == one.handler) (*one.handler)(one.interest);
    }
  }

  void ServeTimers() {
    const SteadyClock::time_point now = SteadyClock::now();
    std::vector<TimerId> due;
    for (const auto& [id, timer] : timers_) {
      if (timer.due <= now) due.push_back(id);
    }
    for (const TimerId id : due) {
      const auto timer = timers_.find(id);
      // A handler that itself pumps may have served this one.
      if (timer == timers_.end() || timer->second.due > now) continue;
      timer->second.due = now + timer->second.interval;
      const auto handler = timer->second.handler;
      (*handler)();
    }
  }

  Descriptor wake_;
  std::map<Socket, Watched> watched_;
  std::map<TimerId, Timer> timers_;
  TimerId last_timer_ = 0;
  std::function<void()> close_handler_;
  struct sigaction former_terminate_ = {};
  struct sigaction former_interrupt_ = {};
};

}  // namespace

std::unique_ptr<EventLoop> MakeEventLoop() { return std::make_unique<PosixEventLoop>(); }

}  // namespace vlmr::platform
