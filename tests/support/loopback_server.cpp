#include "support/loopback_server.h"

#include <random>
#include <stdexcept>
#include <utility>

#include "core/number.h"
#include "core/text.h"
#include "support/sockets.h"

namespace vlmr::test {

namespace {

/// A listening socket on a port below 32768; the system itself gives only higher ones.
std::pair<int, std::int16_t> Listen() {
  std::random_device device;
  std::uniform_int_distribution<int> any_port(10'000, 32'767);
  for (int attempt = 0; attempt < 200; ++attempt) {
    int port = any_port(device);
    const int socket = TryToListenOnLoopback(port);
    if (socket >= 0) return {socket, static_cast<std::int16_t>(port)};
  }
  throw std::runtime_error("loopback server: no free port");
}

}  // namespace

LoopbackServer::LoopbackServer() {
  std::tie(listener_, port_) = Listen();
  thread_ = std::thread([this] { Run(); });
}

LoopbackServer::~LoopbackServer() {
  stopping_ = true;
  const int last = ConnectToLoopback(port_);  // wakes the thread
  thread_.join();
  for (const auto& [socket, input] : inputs_) CloseSocket(socket);
  CloseSocket(last);
  CloseSocket(listener_);
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
    std::vector<int> sockets = {listener_};
    for (const auto& [socket, input] : inputs_) sockets.push_back(socket);
    const std::vector<int> ready = WaitForSockets(sockets);
    if (stopping_) return;
    for (const int socket : ready) {
      if (socket == listener_) {
        Accept();
      } else if (!Serve(socket)) {
        inputs_.erase(socket);
        CloseSocket(socket);
      }
    }
  }
}

void LoopbackServer::Accept() {
  const int socket = AcceptConnection(listener_);
  if (socket < 0) return;
  ++connections_;
  SendPiecesAtOnce(socket);
  // A client that does not read must not hold up the end of a test.
  LimitSending(socket, std::chrono::seconds(5));
  inputs_[socket];
}

bool LoopbackServer::Serve(int socket) {
  const std::string got = ReceiveSome(socket, 4096);
  if (got.empty()) return false;
  std::string& input = inputs_[socket];
  input += got;
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
  if (script.resets) ResetAtClose(socket);
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
