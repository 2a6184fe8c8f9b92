#include <windows.h>

#include "platform/handle_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

class WindowsChild : public ChildProcess {
 public:
  explicit WindowsChild(Handle process) : process_(std::move(process)) {}
  std::int64_t ExitCode() override {
    DWORD code = 0;
    GetExitCodeProcess(process_.Get(), &code);
    return code;
  }

 private:
  Handle process_;
};

class WindowsProcessRunner : public ProcessRunner {
 public:
  explicit WindowsProcessRunner(std::string folder) : folder_(std::move(folder)) {}

  bool Start(const std::string& program, WindowMode window) override {
    Handle process;
    return Launch(program, window, process) == 0;
  }

  std::unique_ptr<ChildProcess> StartAwaited(const std::string& program) override {
    Handle process;
    const DWORD error = Launch(program, WindowMode::kHidden, process);
    if (error != 0) RaiseSystemError(Attempt::kStart, error);
    return std::make_unique<WindowsChild>(std::move(process));
  }

 private:
  /// Returns the system's error, 0 on success. Without handles to inherit a child's standard streams lead
  /// nowhere.
  DWORD Launch(const std::string& program, WindowMode window, Handle& process) const {
    const std::wstring path = LongPath(program);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError();
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_BAD_EXE_FORMAT;
    const std::wstring folder = ToWide(folder_);
    std::wstring command = L"\"" + ToWide(program) + L"\"";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESHOWWINDOW;
    start.wShowWindow = window == WindowMode::kHidden ? SW_HIDE : SW_SHOWNORMAL;
    PROCESS_INFORMATION made{};
    const DWORD flags = CREATE_NEW_PROCESS_GROUP | (window == WindowMode::kHidden ? CREATE_NO_WINDOW : 0U);
    if (!CreateProcessW(path.c_str(), command.data(), nullptr, nullptr, /*bInheritHandles=*/FALSE, flags,
                        nullptr, folder.c_str(), &start, &made)) {
      return GetLastError();
    }
    CloseHandle(made.hThread);
    process = Handle(made.hProcess);
    return 0;
  }

  std::string folder_;
};

}  // namespace

std::unique_ptr<ProcessRunner> MakeProcessRunner(const std::string& folder) {
  return std::make_unique<WindowsProcessRunner>(folder);
}

}  // namespace vlmr::platform
