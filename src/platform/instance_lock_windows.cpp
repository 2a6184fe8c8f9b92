#include <windows.h>

#include <algorithm>

#include "platform/ascii_case.h"
#include "platform/handle_windows.h"
#include "platform/instance_lock.h"
#include "platform/native_text_windows.h"

namespace vlmr::platform {
namespace {

/// A mutex named after the full path of the executable; the system drops it with the last process that holds
/// it open.
class WindowsInstanceLock : public InstanceLock {
 public:
  explicit WindowsInstanceLock(const Executable& executable) {
    // A mutex name may hold no backslash behind its "Global\" and is compared by case, a path is not.
    std::string path = AsciiUpper(executable.folder + "\\" + executable.file_name);
    std::replace(path.begin(), path.end(), '\\', '/');
    name_ = LR"(Global\VlMr:)" + ToWide(path);
  }

  bool PreviousInstance() override {
    if (mutex_) return false;
    Handle mutex(CreateMutexW(nullptr, /*bInitialOwner=*/FALSE, name_.c_str()));
    // An instance of another account that does not let us open its mutex is a previous instance too.
    if (GetLastError() == ERROR_ALREADY_EXISTS || !mutex) return true;
    mutex_ = std::move(mutex);
    return false;
  }

 private:
  std::wstring name_;
  Handle mutex_;
};

}  // namespace

std::unique_ptr<InstanceLock> MakeInstanceLock(const Executable& executable) {
  return std::make_unique<WindowsInstanceLock>(executable);
}

}  // namespace vlmr::platform
