#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace vlmr::platform {

/// A network socket as the system numbers it.
using Socket = std::intptr_t;

/// The process's only waiting place. Timers, sockets and close requests are served from `Pump`, on one
/// thread; every wait of the program is a loop of `Pump` calls, and `Pump` sleeps in the operating system.
class EventLoop {
 public:
  /// What a socket is watched for, and what it was found ready for.
  struct Interest {
    bool read = false;
    bool write = false;
  };
  using SocketHandler = std::function<void(Interest ready)>;
  using TimerId = std::uint64_t;

  virtual ~EventLoop() = default;

  /// Watches a socket, level-triggered; a second call for the same socket replaces the first. Errors and
  /// hang-ups are reported as readable and writable. The handler may call `Watch` and `Unwatch`.
  virtual void Watch(Socket socket, Interest interest, SocketHandler handler) = 0;
  virtual void Unwatch(Socket socket) = 0;

  /// Calls `handler` from `Pump` every `interval` until stopped.
  virtual TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> handler) = 0;
  /// Stops a timer; an unknown id is ignored.
  virtual void StopTimer(TimerId timer) = 0;

  /// Yields: waits until something is due, at most `max_wait` (0 = do not wait), and serves what is due. A
  /// pending close request is served first: its handler runs once and may throw `ProcessEnd`.
  virtual void Pump(std::chrono::milliseconds max_wait) = 0;

  /// What happens when the system asks the process to end (SIGTERM, SIGINT; close or end of the Windows
  /// sign-on).
  virtual void OnCloseRequest(std::function<void()> handler) = 0;
  /// Whether such a request is waiting for the next `Pump`; a blocking transfer polls it in order to give
  /// way.
  virtual bool CloseRequested() const = 0;
};

}  // namespace vlmr::platform
