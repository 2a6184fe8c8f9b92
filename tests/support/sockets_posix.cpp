#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>

#include "support/sockets.h"

namespace vlmr::test {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

}  // namespace

int TryToListenOnLoopback(int& port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(port);
  socklen_t size = sizeof(address);
  if (socket >= 0 && ::bind(socket, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
      ::listen(socket, 8) == 0 && ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    port = ntohs(address.sin_port);
    return socket;
  }
  if (socket >= 0) ::close(socket);
  return -1;
}

int AcceptConnection(int listener) { return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC); }

int ConnectToLoopback(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(port);
  if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return socket;
  ::close(socket);
  return -1;
}

void SendPiecesAtOnce(int socket) {
  const int at_once = 1;
  ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof(at_once));
}

void LimitSending(int socket, std::chrono::milliseconds limit) {
  const timeval time = {.tv_sec = limit.count() / 1000, .tv_usec = limit.count() % 1000 * 1000};
  ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time));
}

void ResetAtClose(int socket) {
  const linger at_once = {.l_onoff = 1, .l_linger = 0};
  ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof(at_once));
}

bool CanReset() { return true; }

int RefusedConnectionNumber() { return ECONNREFUSED; }

std::vector<int> WaitForSockets(const std::vector<int>& sockets) {
  std::vector<pollfd> polled;
  for (const int socket : sockets) polled.push_back({.fd = socket, .events = POLLIN, .revents = 0});
  ::poll(polled.data(), polled.size(), -1);
  std::vector<int> ready;
  for (const pollfd& entry : polled) {
    if (entry.revents != 0) ready.push_back(entry.fd);
  }
  return ready;
}

void SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string ReceiveSome(int socket, std::size_t limit) {
  std::string bytes(limit, '\0');
  const auto got = ::recv(socket, bytes.data(), bytes.size(), 0);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

void WakeSocket(int socket) { ::shutdown(socket, SHUT_RDWR); }

void CloseSocket(int socket) { ::close(socket); }

}  // namespace vlmr::test
