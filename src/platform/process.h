#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vlmr::platform {

/// How the first window of a child appears; on Linux both mean the same.
enum class WindowMode { kHidden = 0, kNormal = 1 };

/// The exit code that a process query gives while the process runs (`STILL_ACTIVE` of Windows'
/// GetExitCodeProcess).
inline constexpr std::int64_t kStillActive = 259;

/// A child that somebody waits for.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;
  /// `kStillActive` while it runs, then its exit code for ever. Does not block. On Linux a child that ended
  /// with 259 cannot occur, on Windows it counts as running, as the system defines it.
  virtual std::int64_t ExitCode() = 0;
};

/// Starts sibling programs. The whole text is one path (blanks in it separate nothing); the working folder is
/// the application folder, the standard streams are the null device, no handle or lock is inherited, and the
/// child stands in a group of its own, so that ending this process does not end it.
class ProcessRunner {
 public:
  virtual ~ProcessRunner() = default;
  /// Starts without waiting; false when that was not possible. The child never becomes a zombie of this
  /// process.
  virtual bool Start(const std::string& program, WindowMode window) = 0;
  /// Starts a hidden child to be waited for. Raises 53 (absent), 5 (not a program), 70 (no right).
  virtual std::unique_ptr<ChildProcess> StartAwaited(const std::string& program) = 0;
};

}  // namespace vlmr::platform
