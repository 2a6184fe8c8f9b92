#include "support/sockets.h"

#include <stdexcept>

namespace vlmr::test {

int ListenOnLoopback(int& port) {
  port = 0;
  const int socket = TryToListenOnLoopback(port);
  if (socket < 0) throw std::runtime_error("test server: cannot listen");
  return socket;
}

}  // namespace vlmr::test
