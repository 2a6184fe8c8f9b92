#pragma once

#include <string>
#include <vector>

#include "core/runtime.h"
#include "platform/system_info.h"

namespace vlmr::core {

/// Services of the process itself: the test that decides whether account features are used, the account it
/// works under, and the report of the files loaded into it. None raises, none logs.
class ProcessServices {
 public:
  /// All references must outlive this object.
  ProcessServices(const Runtime& runtime, platform::SystemInfo& system);

  /// "NT" when the major version of the operating system, as text, is not above "4" (so 1 to 4 and 10 to 39),
  /// else empty.
  std::string MyOSVersion() const;

  /// Puts the process under an account, its own account first. Whether that worked is not told.
  void StartImpersonation(const std::string& account, const std::string& password, const std::string& domain);

  /// Puts the process back under its own account, where `MyOSVersion` says "NT".
  void EndImpersonation();

  /// Full paths of the loaded files, in the system's order; one empty text when there are none.
  std::vector<std::string> ModuleList() const;

  /// Writes `\PelgrunDLLs.txt` anew: a heading with the program's version, then one line for each loaded
  /// file.
  void WriteDependencyReport();

 private:
  const Runtime& runtime_;
  platform::SystemInfo& system_;
};

}  // namespace vlmr::core
