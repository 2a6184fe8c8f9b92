#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "platform/native.h"

namespace vlmr::platform {

void PrepareProcess() {
  // The lowest free number is taken, so this ends with the first one above the standard streams.
  int descriptor = 0;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
  static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
}

}  // namespace vlmr::platform
