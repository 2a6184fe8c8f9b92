#include "platform/system_info.h"

#include <link.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/executable.h"
#include "platform/native.h"

namespace vlmr::platform {
namespace {

/// One call per loaded object, in load order. The executable comes first and without a name; the kernel's own
/// object has a name but no file.
int CollectModule(dl_phdr_info* module, std::size_t /*size*/, void* context) {
  auto& paths = *static_cast<std::vector<std::string>*>(context);
  const std::string_view name = module->dlpi_name == nullptr ? "" : module->dlpi_name;
  if (name.find('/') == std::string_view::npos) return 0;
  std::string path(name);
  if (!path.starts_with('/')) {
    const std::unique_ptr<char, void (*)(void*)> absolute(::realpath(path.c_str(), nullptr), &std::free);
    if (absolute != nullptr) path = absolute.get();
  }
  if (std::find(paths.begin(), paths.end(), path) == paths.end()) paths.push_back(std::move(path));
  return 0;
}

class PosixSystemInfo : public SystemInfo {
 public:
  std::string ComputerName() const override {
    std::array<char, HOST_NAME_MAX + 1> name = {};
    // The last byte stays 0 even when the name was cut.
    ::gethostname(name.data(), name.size() - 1);
    return name.data();
  }

  int OsMajorVersion() const override {
    utsname system = {};
    ::uname(&system);
    const std::string_view release = system.release;
    int major = 0;
    std::from_chars(release.data(), release.data() + release.size(), major);
    return major;
  }

  std::vector<std::string> LoadedModules() const override {
    const Executable executable = FindExecutable();
    std::vector<std::string> paths = {executable.folder + "/" + executable.file_name};
    ::dl_iterate_phdr(&CollectModule, &paths);
    return paths;
  }

  void StartImpersonation(const std::string& /*account*/, const std::string& /*password*/,
                          const std::string& /*domain*/) override {}
  void EndImpersonation() override {}
};

}  // namespace

std::unique_ptr<SystemInfo> MakeSystemInfo() { return std::make_unique<PosixSystemInfo>(); }

}  // namespace vlmr::platform
