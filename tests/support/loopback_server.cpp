#include "support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <random>
#include <stdexcept>
#include <utility>

#include "core/number.h"
#include "core/text.h"

namespace vlmr::test {

namespace {

/// A listening socket on a port below 32768; the system itself gives only higher ones.
std::pair<int, std::int16_t> Listen() {
  std::random_device device;
  std::uniform_int_distribution<int> any_port(10'000, 32'767);
  for (int attempt = 0; attempt < 200; ++attempt) {
    const int port = any_port(device);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::listen(socket, 8) == 0) {
      return {socket, static_cast<std::int16_t>(port)};
    }
    ::close(socket);
  }
  throw std::runtime_error("loopback server: no free port");
}

void SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

template <class Value>
void SetOption(int socket, int level, int option, const Value& value) {
  ::setsockopt(socket, level, option, &value, sizeof value);
}

}  // namespace

LoopbackServer::LoopbackServer() {
  std::tie(listener_, port_) = Listen();
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("loopback server: no pipe");
  stop_reader_ = ends[0];
  stop_writer_ = ends[1];
  thread_ = std::thread([this] { Run(); });
}

LoopbackServer::~LoopbackServer() {
  ::close(stop_writer_);
  thread_.join();
  for (const auto& [socket, input] : inputs_) ::close(socket);
  ::close(stop_reader_);
  ::close(listener_);
}

std::string LoopbackServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + core::IntegerText(port_) + std::string(path);
}

void LoopbackServer::Answer(Script script) {
  const std::lock_guard lock(mutex_);
  scripts_.push_back(std::move(script));
}

std::vector<std::string> LoopbackServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::vector<std::string> LoopbackServer::RequestLines() const {
  std::vector<std::string> lines = Requests();
  for (std::string& line : lines) line = line.substr(0, line.find("\r\n"));
  return lines;
}

std::string LoopbackServer::Field(std::string_view name) const {
  const std::vector<std::string> requests = Requests();
  if (requests.empty()) return {};
  for (const std::string_view line : core::Lines(requests.back())) {
    const auto colon = line.find(": ");
    if (colon != std::string_view::npos && core::EqualsIgnoringCase(line.substr(0, colon), name)) {
      return std::string(line.substr(colon + 2));
    }
  }
  return {};
}

void LoopbackServer::Run() {
  for (;;) {
    std::vector<pollfd> polled = {{.fd = stop_reader_, .events = POLLIN, .revents = 0},
                                  {.fd = listener_, .events = POLLIN, .revents = 0}};
    for (const auto& [socket, input] : inputs_)
      polled.push_back({.fd = socket, .events = POLLIN, .revents = 0});
    if (::poll(polled.data(), polled.size(), -1) < 0) continue;
    if (polled[0].revents != 0) return;
    if (polled[1].revents != 0) Accept();
    for (std::size_t i = 2; i < polled.size(); ++i) {
      if (polled[i].revents == 0 || Serve(polled[i].fd)) continue;
      inputs_.erase(polled[i].fd);
      ::close(polled[i].fd);
    }
  }
}

void LoopbackServer::Accept() {
  const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) return;
  ++connections_;
  SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
  // A client that does not read must not hold up the end of a test.
  SetOption(socket, SOL_SOCKET, SO_SNDTIMEO, timeval{.tv_sec = 5, .tv_usec = 0});
  inputs_[socket];
}

bool LoopbackServer::Serve(int socket) {
  std::array<char, 4096> buffer;
  const auto got = ::recv(socket, buffer.data(), buffer.size(), 0);
  if (got <= 0) return false;
  std::string& input = inputs_[socket];
  input.append(buffer.data(), static_cast<std::size_t>(got));
  for (auto end = input.find("\r\n\r\n"); end != std::string::npos; end = input.find("\r\n\r\n")) {
    const std::string head = input.substr(0, end);
    input.erase(0, end + 4);
    if (!Reply(socket, head)) return false;
  }
  return true;
}

bool LoopbackServer::Reply(int socket, const std::string& head) {
  Script script{.pieces = {Response("599 Nothing laid ready", "")}, .closes = true};
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(head);
    if (!scripts_.empty()) {
      script = std::move(scripts_.front());
      scripts_.pop_front();
    }
  }
  for (const std::string& piece : script.pieces) SendAll(socket, piece);
  if (script.resets) SetOption(socket, SOL_SOCKET, SO_LINGER, linger{.l_onoff = 1, .l_linger = 0});
  return !script.closes && !script.resets;
}

std::string Response(std::string_view status, std::string_view body, std::string_view more_fields) {
  return "HTTP/1.1 " + std::string(status) +
         "\r\nContent-Length: " + core::IntegerText(static_cast<std::int64_t>(body.size())) + "\r\n" +
         std::string(more_fields) + "\r\n" + std::string(body);
}

std::string Redirect(std::string_view status, std::string_view location) {
  return Response(status, "moved", "Location: " + std::string(location) + "\r\n");
}

}  // namespace vlmr::test
