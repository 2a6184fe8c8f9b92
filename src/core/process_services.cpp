#include "core/process_services.h"

#include <compare>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/version.h"

namespace vlmr::core {

ProcessServices::ProcessServices(const Runtime& runtime, platform::SystemInfo& system)
    : runtime_(runtime), system_(system) {}

std::string ProcessServices::MyOSVersion() const {
  // Compared as texts on purpose: "10" is below "4", "6" is not.
  return std::is_gteq(CompareAsText("4", IntegerText(system_.OsMajorVersion()))) ? "NT" : "";
}

void ProcessServices::StartImpersonation(const std::string& account, const std::string& password,
                                         const std::string& domain) {
  system_.StartImpersonation(account, password, domain);
}

void ProcessServices::EndImpersonation() {
  if (MyOSVersion() == "NT") {
    system_.EndImpersonation();
  }
}

std::vector<std::string> ProcessServices::ModuleList() const {
  std::vector<std::string> modules = system_.LoadedModules();
  if (modules.empty()) {
    modules.emplace_back();
  }
  return modules;
}

void ProcessServices::WriteDependencyReport() {
  const std::string rule(35, '=');
  std::string report = rule + "\r\nDependencies for Pelgrun " + VersionText() + "\r\n" + rule + "\r\n\r\n";
  for (const std::string& module : ModuleList()) {
    report += module + "\r\n";
  }
  const ErrorTrap silent([](const platform::RuntimeError&) {});
  silent([&] { runtime_.files.Replace(runtime_.paths / R"(\PelgrunDLLs.txt)", report); });
}

}  // namespace vlmr::core
