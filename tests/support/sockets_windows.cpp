#include "support/sockets.h"

#include <winsock2.h>
// behind winsock2.h, which it needs
#include <ws2tcpip.h>

#include <atomic>
#include <mutex>
#include <set>

namespace vlmr::test {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(port));
  return address;
}

SOCKET Of(int socket) { return static_cast<SOCKET>(socket); }

/// Handles are small numbers, so that the servers of the tests need one type for both systems.
int MakeSocket() {
  static const int kStarted = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  const SOCKET made = kStarted == 0 ? ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP) : INVALID_SOCKET;
  if (made == INVALID_SOCKET) return -1;
  SetHandleInformation(reinterpret_cast<HANDLE>(made), HANDLE_FLAG_INHERIT, 0);
  return static_cast<int>(made);
}

/// Listeners that `WakeSocket` has woken.
class Woken {
 public:
  void Add(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.insert(socket);
  }
  void Remove(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.erase(socket);
  }
  bool Has(int socket) {
    const std::lock_guard lock(mutex_);
    return sockets_.contains(socket);
  }

 private:
  std::mutex mutex_;
  std::set<int> sockets_;
};

Woken& WokenListeners() {
  static Woken woken;
  return woken;
}

}  // namespace

int TryToListenOnLoopback(int& port) {
  const int socket = MakeSocket();
  sockaddr_in address = Loopback(port);
  int size = sizeof(address);
  if (socket >= 0 && ::bind(Of(socket), reinterpret_cast<sockaddr*>(&address), size) == 0 &&
      ::listen(Of(socket), 8) == 0 &&
      ::getsockname(Of(socket), reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    port = ntohs(address.sin_port);
    return socket;
  }
  CloseSocket(socket);
  return -1;
}

int AcceptConnection(int listener) {
  const SOCKET accepted = ::accept(Of(listener), nullptr, nullptr);
  if (accepted == INVALID_SOCKET) return -1;
  if (!WokenListeners().Has(listener)) return static_cast<int>(accepted);
  ::closesocket(accepted);
  return -1;
}

int ConnectToLoopback(int port) {
  const int socket = MakeSocket();
  sockaddr_in address = Loopback(port);
  if (::connect(Of(socket), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return socket;
  ::closesocket(Of(socket));
  return -1;
}

void SendPiecesAtOnce(int socket) {
  const BOOL at_once = TRUE;
  ::setsockopt(Of(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&at_once),
               sizeof(at_once));
}

void LimitSending(int socket, std::chrono::milliseconds limit) {
  const auto milliseconds = static_cast<DWORD>(limit.count());
  ::setsockopt(Of(socket), SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&milliseconds),
               sizeof(milliseconds));
}

void ResetAtClose(int socket) {
  const linger at_once = {.l_onoff = 1, .l_linger = 0};
  ::setsockopt(Of(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&at_once), sizeof(at_once));
}

bool CanReset() { return false; }

int RefusedConnectionNumber() { return WSAECONNREFUSED; }

std::vector<int> WaitForSockets(const std::vector<int>& sockets) {
  fd_set readable;
  FD_ZERO(&readable);
  for (const int socket : sockets) FD_SET(Of(socket), &readable);
  ::select(0, &readable, nullptr, nullptr, nullptr);
  std::vector<int> ready;
  for (const int socket : sockets) {
    if (FD_ISSET(Of(socket), &readable) != 0) ready.push_back(socket);
  }
  return ready;
}

void SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = ::send(Of(socket), bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string ReceiveSome(int socket, std::size_t limit) {
  std::string bytes(limit, '\0');
  const int got = ::recv(Of(socket), bytes.data(), static_cast<int>(bytes.size()), 0);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

void WakeSocket(int socket) {
  BOOL listens = FALSE;
  int size = sizeof(listens);
  ::getsockopt(Of(socket), SOL_SOCKET, SO_ACCEPTCONN, reinterpret_cast<char*>(&listens), &size);
  if (!listens) {
    ::shutdown(Of(socket), SD_BOTH);
    return;
  }
  // Shutting a listener down does not wake who waits in `accept`; a connection does.
  WokenListeners().Add(socket);
  sockaddr_in address{};
  int length = sizeof(address);
  ::getsockname(Of(socket), reinterpret_cast<sockaddr*>(&address), &length);
  CloseSocket(ConnectToLoopback(ntohs(address.sin_port)));
}

void CloseSocket(int socket) {
  WokenListeners().Remove(socket);
  if (socket >= 0) ::closesocket(Of(socket));
}

}  // namespace vlmr::test
