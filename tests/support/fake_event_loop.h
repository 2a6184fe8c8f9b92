#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <vector>

#include "platform/event_loop.h"
#include "support/fake_clock.h"

namespace vlmr::test {

/// An event loop that never sleeps: `Pump` advances the clock, to the next timer that falls due or by its
/// whole `max_wait`, serves what is due and records the wait. A wait that never ends fails its test after
/// `pump_limit` pumps.
class FakeEventLoop : public platform::EventLoop {
 public:
  explicit FakeEventLoop(FakeClock& clock) : clock_(clock) {}

  /// Runs `action` in the `nth` pump from now (1 = the next), before anything is served.
  void AtPump(std::size_t nth, std::function<void()> action);
  /// Marks a watched socket as ready: its handler runs in the next pump.
  void MakeReady(platform::Socket socket, Interest ready) { ready_[socket] = ready; }
  /// Asks the program to end, as the system would.
  void RequestClose() { close_requested_ = true; }
  /// The running timers' intervals, oldest first.
  std::vector<std::chrono::milliseconds> Timers() const;
  /// Whether a socket is watched.
  bool Watches(platform::Socket socket) const { return watched_.contains(socket); }

  std::vector<std::chrono::milliseconds> pumps;  ///< the `max_wait` of every pump so far
  std::function<void()> on_pump;                 ///< runs in every pump, before anything is served
  std::size_t pump_limit = 1'000'000;

  void Watch(platform::Socket socket, Interest interest, SocketHandler handler) override;
  void Unwatch(platform::Socket socket) override;
  TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> handler) override;
  void StopTimer(TimerId timer) override { timers_.erase(timer); }
  void Pump(std::chrono::milliseconds max_wait) override;
  void OnCloseRequest(std::function<void()> handler) override { close_handler_ = std::move(handler); }
  bool CloseRequested() const override { return close_requested_; }

 private:
  struct Timer {
    std::chrono::milliseconds interval;
    std::chrono::steady_clock::time_point due;
    std::function<void()> handler;
  };
  struct Watched {
    Interest interest;
    SocketHandler handler;
  };

  void ServeClose();
  void ServeSockets();
  void ServeTimers();

  FakeClock& clock_;
  std::map<TimerId, Timer> timers_;
  TimerId last_timer_ = 0;
  std::map<platform::Socket, Watched> watched_;
  std::map<platform::Socket, Interest> ready_;
  std::multimap<std::size_t, std::function<void()>> actions_;
  std::function<void()> close_handler_;
  bool close_requested_ = false;
};

}  // namespace vlmr::test
