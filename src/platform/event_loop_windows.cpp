#include <windows.h>
#include <winsock2.h>

#include <algorithm>
#include <map>

#include "platform/close_request_windows.h"
#include "platform/native.h"

namespace vlmr::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// While sockets are watched, messages are looked at this often.
constexpr milliseconds kSocketSlice{15};

BOOL WINAPI OnConsoleRequest(DWORD /*kind*/) {
  RequestClose();
  return TRUE;
}

class WindowsEventLoop : public EventLoop {
 public:
  WindowsEventLoop() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~WindowsEventLoop() override {
    SetLastWords(nullptr);
    SetConsoleCtrlHandler(OnConsoleRequest, FALSE);
    ClearCloseRequest();
    WSACleanup();
  }
  WindowsEventLoop(const WindowsEventLoop&) = delete;
  WindowsEventLoop& operator=(const WindowsEventLoop&) = delete;

  void Watch(Socket socket, Interest interest, SocketHandler handler) override {
    sockets_[socket] = {.interest = interest, .handler = std::move(handler)};
  }
  void Unwatch(Socket socket) override { sockets_.erase(socket); }

  TimerId StartTimer(milliseconds interval, std::function<void()> handler) override {
    const TimerId id = ++last_timer_;
    timers_[id] = {
        .interval = interval, .due = steady_clock::now() + interval, .handler = std::move(handler)};
    return id;
  }
  void StopTimer(TimerId timer) override { timers_.erase(timer); }

  void Pump(milliseconds max_wait) override {
    if (ServeClose()) return;
    const auto deadline = steady_clock::now() + max_wait;
    bool served = ServeMessages() | ServeTimers();
    if (served) {
      if (!sockets_.empty()) WaitForSockets(milliseconds(0));
      ServeClose();
      return;
    }
    while (!served) {
      const auto wait = WaitUntil(deadline);
      served = sockets_.empty() ? WaitForMessages(wait) : WaitForSockets(std::min(wait, kSocketSlice));
      served |= ServeMessages() | ServeTimers();
      if (ServeClose() || steady_clock::now() >= deadline) return;
    }
  }

  void OnCloseRequest(std::function<void()> handler) override {
    close_handler_ = std::move(handler);
    SetLastWords(close_handler_);
    SetConsoleCtrlHandler(OnConsoleRequest, TRUE);
  }
  /// A blocking transfer serves no messages, so a request to the form is looked for here.
  bool CloseRequested() const override {
    MSG message{};
    while (!CloseIsRequested() && PeekMessageW(&message, nullptr, WM_CLOSE, WM_CLOSE, PM_REMOVE)) {
      DispatchMessageW(&message);
    }
    return CloseIsRequested();
  }

 private:
  struct Timer {
    milliseconds interval;
    steady_clock::time_point due;
    std::function<void()> handler;
  };
  struct Watched {
    Interest interest;
    SocketHandler handler;
  };

  bool ServeClose() {
    if (!CloseIsRequested() || !close_handler_) return false;
    ClearCloseRequest();
    const auto handler = close_handler_;
    handler();
    return true;
  }

  static bool ServeMessages() {
    MSG message{};
    bool served = false;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) RequestClose();
      TranslateMessage(&message);
      DispatchMessageW(&message);
      served = true;
    }
    return served;
  }

  bool ServeTimers() {
    const auto now = steady_clock::now();
    std::vector<TimerId> due;
    for (const auto& [id, timer] : timers_) {
      if (timer.due <= now) due.push_back(id);
    }
    for (const TimerId id : due) {
      const auto found = timers_.find(id);  // a handler may stop others
      if (found == timers_.end()) continue;
      found->second.due = now + found->second.interval;
      const auto handler = found->second.handler;
      handler();
    }
    return !due.empty();
  }

  milliseconds WaitUntil(steady_clock::time_point deadline) const {
    for (const auto& [id, timer] : timers_) deadline = std::min(deadline, timer.due);
    const auto wait = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
    return std::max(wait, milliseconds(0));
  }

  static bool WaitForMessages(milliseconds wait) {
    const DWORD limit = static_cast<DWORD>(std::min<std::int64_t>(wait.count(), 60'000));
    // A request on the console comes on a thread of its own.
    const HANDLE close = CloseRequestEvent();
    return MsgWaitForMultipleObjectsEx(1, &close, limit, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_TIMEOUT;
  }

  /// `select` rather than `WSAPoll`: only its third set tells of a connection that was refused on every
  /// Windows.
  bool WaitForSockets(milliseconds wait) {
    fd_set readable;
    fd_set writable;
    fd_set failed;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_ZERO(&failed);
    for (const auto& [socket, watched] : sockets_) {
      const auto handle = static_cast<SOCKET>(socket);
      if (watched.interest.read) FD_SET(handle, &readable);
      if (watched.interest.write) FD_SET(handle, &writable);
      FD_SET(handle, &failed);
    }
    timeval limit{.tv_sec = static_cast<long>(wait.count() / 1000),
                  .tv_usec = static_cast<long>(wait.count() % 1000 * 1000)};
    if (select(0, &readable, &writable, &failed, &limit) <= 0) return false;
    std::vector<std::pair<Socket, Interest>> ready;
    for (const auto& [socket, watched] : sockets_) {
      const auto handle = static_cast<SOCKET>(socket);
      const bool broken = FD_ISSET(handle, &failed) != 0;
      const Interest found{.read = broken || FD_ISSET(handle, &readable) != 0,
                           .write = broken || FD_ISSET(handle, &writable) != 0};
      if (found.read || found.write) ready.emplace_back(socket, found);
    }
    for (const auto& [socket, found] : ready) {
      const auto watched = sockets_.find(socket);  // a handler may unwatch others
      if (watched == sockets_.end()) continue;
      const auto handler = watched->second.handler;
      handler(found);
    }
    return !ready.empty();
  }

  std::map<TimerId, Timer> timers_;
  TimerId last_timer_ = 0;
  std::map<Socket, Watched> sockets_;
  std::function<void()> close_handler_;
};

}  // namespace

std::unique_ptr<EventLoop> MakeEventLoop() { return std::make_unique<WindowsEventLoop>(); }

}  // namespace vlmr::platform
