#pragma once

#include <string>
#include <vector>

#include "platform/system_info.h"

namespace vlmr::test {

/// A machine as a test describes it; records what is asked of the process's identity.
class FakeSystemInfo : public platform::SystemInfo {
 public:
  std::string ComputerName() const override { return computer_name; }
  int OsMajorVersion() const override { return os_major_version; }
  std::vector<std::string> LoadedModules() const override { return loaded_modules; }
  void StartImpersonation(const std::string& account, const std::string& password,
                          const std::string& domain) override {
    identity_calls.push_back("start " + account + "/" + password + "/" + domain);
  }
  void EndImpersonation() override { identity_calls.emplace_back("end"); }

  std::string computer_name = "MIRROR1";
  int os_major_version = 10;
  std::vector<std::string> loaded_modules = {"/opt/mirror/VlMr.exe", "/usr/lib/libfirst.so"};
  std::vector<std::string> identity_calls;  ///< "start account/password/domain" and "end", in order
};

}  // namespace vlmr::test
