#pragma once

#include <memory>

#include "platform/executable.h"

namespace vlmr::platform {

/// Tells whether another process runs the same executable file, and holds the place while this object lives.
/// The lock lies on an open handle that no child inherits, so the system releases it however the process
/// ends. A copy of the program in another folder is another executable.
class InstanceLock {
 public:
  virtual ~InstanceLock() = default;
  /// True when another instance holds the place; otherwise takes it (again) and returns false.
  virtual bool PreviousInstance() = 0;
};

std::unique_ptr<InstanceLock> MakeInstanceLock(const Executable& executable);

}  // namespace vlmr::platform
