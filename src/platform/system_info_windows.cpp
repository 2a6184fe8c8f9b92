#include <windows.h>
// behind windows.h, which it needs
#include <tlhelp32.h>

#include "platform/handle_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"

namespace vlmr::platform {
namespace {

class WindowsSystemInfo : public SystemInfo {
 public:
  std::string ComputerName() const override {
    char name[256] = "";
    DWORD size = sizeof name;
    GetComputerNameA(name, &size);
    return name;
  }

  /// The executable's manifest names the present Windows, so that the answer is the true one.
  int OsMajorVersion() const override {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    static_assert(sizeof version == 148);
    GetVersionExA(&version);
    return static_cast<int>(version.dwMajorVersion);
  }

  std::vector<std::string> LoadedModules() const override {
    std::vector<std::string> paths;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId()));
    MODULEENTRY32W module{};
    module.dwSize = sizeof module;
    if (!snapshot || !Module32FirstW(snapshot.Get(), &module)) return paths;
    do {
      paths.push_back(FromWide(module.szExePath));
    } while (Module32NextW(snapshot.Get(), &module));
    return paths;
  }

  void StartImpersonation(const std::string& account, const std::string& password,
                          const std::string& domain) override {
    RevertToSelf();
    HANDLE token = nullptr;
    if (LogonUserA(account.c_str(), domain.c_str(), password.c_str(), LOGON32_LOGON_INTERACTIVE,
                   LOGON32_PROVIDER_DEFAULT, &token)) {
      // The token stays open: it is needed as long as the process works under it.
      ImpersonateLoggedOnUser(token);
    }
  }

  void EndImpersonation() override { RevertToSelf(); }
};

}  // namespace

std::unique_ptr<SystemInfo> MakeSystemInfo() { return std::make_unique<WindowsSystemInfo>(); }

}  // namespace vlmr::platform
