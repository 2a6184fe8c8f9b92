#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/descriptor_posix.h"
#include "platform/instance_lock.h"

namespace vlmr::platform {
namespace {

/// An advisory lock on the executable file. "No other instance" is also the answer where the file system
/// knows no locks or the file is gone: a mirror that runs twice is better than one that never runs.
class PosixInstanceLock : public InstanceLock {
 public:
  explicit PosixInstanceLock(const std::string& path)
      : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}

  bool PreviousInstance() override {
    return file_ && ::flock(file_.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  }

 private:
  Descriptor file_;
};

}  // namespace

std::unique_ptr<InstanceLock> MakeInstanceLock(const Executable& executable) {
  return std::make_unique<PosixInstanceLock>(executable.folder + "/" + executable.file_name);
}

}  // namespace vlmr::platform
