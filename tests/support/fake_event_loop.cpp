#include "support/fake_event_loop.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vlmr::test {

void FakeEventLoop::AtPump(std::size_t nth, std::function<void()> action) {
  actions_.emplace(pumps.size() + nth, std::move(action));
}

std::vector<std::chrono::milliseconds> FakeEventLoop::Timers() const {
  std::vector<std::chrono::milliseconds> intervals;
  for (const auto& [id, timer] : timers_) intervals.push_back(timer.interval);
  return intervals;
}

void FakeEventLoop::Watch(platform::Socket socket, Interest interest, SocketHandler handler) {
  watched_[socket] = {interest, std::move(handler)};
}

void FakeEventLoop::Unwatch(platform::Socket socket) {
  watched_.erase(socket);
  ready_.erase(socket);
}

platform::EventLoop::TimerId FakeEventLoop::StartTimer(std::chrono::milliseconds interval,
                                                       std::function<void()> handler) {
  timers_[++last_timer_] = {interval, clock_.Steady() + interval, std::move(handler)};
  return last_timer_;
}

void FakeEventLoop::Pump(std::chrono::milliseconds max_wait) {
  pumps.push_back(max_wait);
  if (pumps.size() > pump_limit) throw std::logic_error("FakeEventLoop: the wait never ends");
  for (auto [at, end] = actions_.equal_range(pumps.size()); at != end; ++at) at->second();
  if (on_pump) on_pump();
  ServeClose();
  if (!ready_.empty()) max_wait = std::chrono::milliseconds(0);
  std::chrono::steady_clock::duration wait = max_wait;
  for (const auto& [id, timer] : timers_) wait = std::min(wait, timer.due - clock_.Steady());
  clock_.Advance(std::chrono::duration_cast<std::chrono::milliseconds>(std::max(wait, wait.zero())));
  ServeSockets();
  ServeTimers();
}

void FakeEventLoop::ServeClose() {
  if (!close_requested_ || !close_handler_) return;
  close_requested_ = false;
  close_handler_();
}

void FakeEventLoop::ServeSockets() {
  for (const auto& [socket, interest] : std::exchange(ready_, {})) {
    const auto watched = watched_.find(socket);
    if (watched == watched_.end()) continue;
    const SocketHandler handler = watched->second.handler;
    handler(interest);
  }
}

void FakeEventLoop::ServeTimers() {
  std::vector<TimerId> due;
  for (const auto& [id, timer] : timers_) {
    if (timer.due <= clock_.Steady()) due.push_back(id);
  }
  for (const TimerId id : due) {
    const auto timer = timers_.find(id);
    if (timer == timers_.end()) continue;
    timer->second.due = clock_.Steady() + timer->second.interval;
    const std::function<void()> handler = timer->second.handler;
    handler();
  }
}

}  // namespace vlmr::test
