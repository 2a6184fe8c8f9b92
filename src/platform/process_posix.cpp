#include "platform/process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/descriptor_posix.h"
#include "platform/native.h"
#include "platform/path_resolver_posix.h"
#include "platform/runtime_error.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

/// Children that nobody asks about any more, to be reaped once they have ended.
using AbandonedChildren = std::vector<pid_t>;

void ReapEnded(AbandonedChildren& children) {
  std::erase_if(children, [](pid_t child) { return ::waitpid(child, nullptr, WNOHANG) != 0; });
}

class PosixChild final : public ChildProcess {
 public:
  PosixChild(pid_t child, std::shared_ptr<AbandonedChildren> abandoned)
      : child_(child), abandoned_(std::move(abandoned)) {}
  PosixChild(const PosixChild&) = delete;
  PosixChild& operator=(const PosixChild&) = delete;
  ~PosixChild() override {
    if (ExitCode() == kStillActive) abandoned_->push_back(child_);
  }

  std::int64_t ExitCode() override {
    int status = 0;
    if (exit_code_ != kStillActive || ::waitpid(child_, &status, WNOHANG) == 0) return exit_code_;
    // As a shell tells a death by a signal.
    exit_code_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return exit_code_;
  }

 private:
  pid_t child_;
  std::shared_ptr<AbandonedChildren> abandoned_;
  std::int64_t exit_code_ = kStillActive;
};

/// All that a child needs, made ready before the fork: afterwards only async-signal-safe calls are allowed,
/// because another thread (a name resolver's) may hold any lock.
struct Launch {
  std::string program;
  int folder;
  Descriptor null_device;
  Descriptor report_end;  ///< closed by a successful exec; else it carries the `errno` value
  bool detached;          ///< started by an intermediate child, so that it is nobody's zombie
};

void CloseInheritedAtExec() {
  if (::close_range(3, UINT_MAX, CLOSE_RANGE_CLOEXEC) == 0) return;
  const long limit = std::min(::sysconf(_SC_OPEN_MAX), 65536L);
  for (int descriptor = 3; descriptor < limit; ++descriptor) ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// What another thread or the event loop has set for this process must not reach the child.
void ResetSignals() {
  struct sigaction normal = {};
  normal.sa_handler = SIG_DFL;
  for (const int number : {SIGPIPE, SIGXFSZ, SIGCHLD, SIGINT, SIGTERM}) ::sigaction(number, &normal, nullptr);
  sigset_t none;
  ::sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void RunInChild(const Launch& launch) {
  ::setsid();
  if (launch.detached) {
    const pid_t grandchild = ::fork();
    if (grandchild > 0) ::_exit(0);
    if (grandchild < 0) {
      const int error = errno;
      [[maybe_unused]] const ssize_t told = ::write(launch.report_end.Get(), &error, sizeof error);
      ::_exit(127);
    }
  }
  ResetSignals();
  for (int stream = 0; stream < 3; ++stream) ::dup2(launch.null_device.Get(), stream);
  CloseInheritedAtExec();
  if (::fchdir(launch.folder) == 0) {
    // execve takes the arguments as not const for historical reasons only.
    char* const arguments[] = {const_cast<char*>(launch.program.c_str()), nullptr};
    ::execve(launch.program.c_str(), arguments, environ);
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t told = ::write(launch.report_end.Get(), &error, sizeof error);
  ::_exit(127);
}

/// A descriptor above the standard streams, which the child is going to replace.
Descriptor AboveStreams(int descriptor) {
  const Descriptor original(descriptor);
  return Descriptor(::fcntl(original.Get(), F_DUPFD_CLOEXEC, 3));
}

class PosixProcessRunner : public ProcessRunner {
 public:
  explicit PosixProcessRunner(const std::string& folder) : resolver_(folder) {
    // With SIGCHLD ignored, as some starters leave it, exit codes would be lost.
    struct sigaction action = {};
    ::sigaction(SIGCHLD, nullptr, &action);
    if (action.sa_handler == SIG_IGN) static_cast<void>(::signal(SIGCHLD, SIG_DFL));
  }

  bool Start(const std::string& program, WindowMode /*window*/) override {
    pid_t intermediate = -1;
    const int error = Launched(program, /*detached=*/true, intermediate);
    if (intermediate > 0) ::waitpid(intermediate, nullptr, 0);
    return error == 0;
  }

  std::unique_ptr<ChildProcess> StartAwaited(const std::string& program) override {
    pid_t child = -1;
    const int error = Launched(program, /*detached=*/false, child);
    if (error == 0) return std::make_unique<PosixChild>(child, abandoned_);
    if (child > 0) ::waitpid(child, nullptr, 0);
    RaiseSystemError(Attempt::kStart, error);
  }

 private:
  /// Starts the program and waits until it runs or has failed to. Returns 0 or an `errno` value, and the
  /// direct child's number, if there is one.
  int Launched(const std::string& program, bool detached, pid_t& child) {
    ReapEnded(*abandoned_);
    Launch launch = {
        .program = {}, .folder = resolver_.Root(), .null_device = {}, .report_end = {}, .detached = detached};
    if (const int error = FindProgram(program, launch.program)) return error;
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
    const Descriptor report(ends[0]);
    launch.report_end = AboveStreams(ends[1]);
    launch.null_device = AboveStreams(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!launch.report_end || !launch.null_device) return errno;
    child = ::fork();
    if (child < 0) return errno;
    if (child == 0) RunInChild(launch);
    launch.report_end.Close();
    int error = 0;
    ssize_t count = 0;
    do {
      count = ::read(report.Get(), &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof error) ? error : 0;
  }

  int FindProgram(const std::string& program, std::string& real_program) {
    RealPath path = resolver_.Parse(program);
    struct stat found = {};
    const int error = path.NamesNoFile() ? ENOENT : resolver_.Stat(path, found);
    if (error != 0) return error == EXDEV ? ENOENT : error;
    if (S_ISDIR(found.st_mode)) return ENOEXEC;
    if (path.IsBelow()) real_program = resolver_.Folder() + "/";
    real_program += path.Text();
    return 0;
  }

  PathResolver resolver_;
  std::shared_ptr<AbandonedChildren> abandoned_ = std::make_shared<AbandonedChildren>();
};

}  // namespace

std::unique_ptr<ProcessRunner> MakeProcessRunner(const std::string& folder) {
  return std::make_unique<PosixProcessRunner>(folder);
}

}  // namespace vlmr::platform
