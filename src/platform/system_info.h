#pragma once

#include <string>
#include <vector>

namespace vlmr::platform {

/// What the operating system tells about itself, and the identity under which the process works.
class SystemInfo {
 public:
  virtual ~SystemInfo() = default;
  /// The computer's name, unchanged (`gethostname`; `GetComputerNameA`).
  virtual std::string ComputerName() const = 0;
  /// Major version of the operating system (kernel major; `GetVersionExA` with a manifest for the present
  /// Windows).
  virtual int OsMajorVersion() const = 0;
  /// Full paths of the files loaded into this process, in load order, the executable first, each once.
  virtual std::vector<std::string> LoadedModules() const = 0;
  /// Goes back to the process's own account, logs the given one on and works under it. Failures change
  /// nothing and are not reported. Nothing happens on Linux, where a service is given its account by the
  /// system that starts it.
  virtual void StartImpersonation(const std::string& account, const std::string& password,
                                  const std::string& domain) = 0;
  /// Goes back to the process's own account; nothing on Linux.
  virtual void EndImpersonation() = 0;
};

}  // namespace vlmr::platform
