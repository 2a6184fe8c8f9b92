#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/system_call_count.h"

namespace vlmr::test {
namespace {

/// A call that the counted code never makes; it marks both ends.
constexpr long kMarker = SYS_getpriority;

[[noreturn]] void RunTraced(const std::function<void()>& action) {
  if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(1);
  ::raise(SIGSTOP);
  action();
  ::syscall(kMarker, 0, 0);
  action();
  ::syscall(kMarker, 0, 0);
  ::_exit(0);
}

}  // namespace

std::optional<int> CountSystemCalls(const std::function<void()>& action) {
  const pid_t child = ::fork();
  if (child == 0) RunTraced(action);
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return std::nullopt;
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  int markers = 0;
  int count = 0;
  while (::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && ::waitpid(child, &status, 0) == child) {
    if (!WIFSTOPPED(status)) break;
    if (WSTOPSIG(status) != (SIGTRAP | 0x80)) continue;
    __ptrace_syscall_info info = {};
    if (::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) return std::nullopt;
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
    if (info.entry.nr == static_cast<unsigned long>(kMarker)) {
      ++markers;
    } else if (markers == 1) {
      ++count;
    }
  }
  return markers == 2 ? std::optional<int>(count) : std::nullopt;
}

}  // namespace vlmr::test
