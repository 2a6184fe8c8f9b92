#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vlmr::test {

/// An HTTP server on loopback that answers each request with the bytes that the test laid ready for it, and
/// records what it is asked. It answers from a thread of its own; every member may be called while it runs.
///
/// Example:
///     LoopbackServer server;
///     server.Answer({.pieces = {Response("200 OK", "body")}});
///     Fetch(server.Url("/server.ini"));
///     EXPECT_EQ(server.RequestLines(), (std::vector<std::string>{"GET /server.ini HTTP/1.1"}));
class LoopbackServer {
 public:
  /// The answer to one request.
  struct Script {
    std::vector<std::string> pieces = {};  ///< sent one by one
    bool closes = false;                   ///< ends the connection behind them
    bool resets = false;                   ///< breaks it off with a reset instead
  };

  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// The port, below 32768, so that it fits a 16-bit setting.
  std::int16_t Port() const { return port_; }
  /// "http://127.0.0.1:" and port and path.
  std::string Url(std::string_view path) const;

  /// Lays the answer to the next request ready, behind those that wait. A request without one gets status
  /// 599.
  void Answer(Script script);

  /// The heads of all requests so far, without the empty line at their end.
  std::vector<std::string> Requests() const;
  /// Their first lines.
  std::vector<std::string> RequestLines() const;
  /// The value of a header field of the last request; empty when it is absent.
  std::string Field(std::string_view name) const;
  /// How many connections were opened so far.
  int Connections() const { return connections_; }

 private:
  void Run();
  void Accept();
  bool Serve(int socket);
  bool Reply(int socket, const std::string& head);

  std::int16_t port_ = 0;
  int listener_ = -1;
  std::atomic<bool> stopping_ = false;
  std::map<int, std::string> inputs_;  // of the server's thread alone
  std::atomic<int> connections_ = 0;
  mutable std::mutex mutex_;
  std::deque<Script> scripts_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

/// A whole response with its length.
std::string Response(std::string_view status, std::string_view body, std::string_view more_fields = "");
/// A redirect; `location` is sent as it stands.
std::string Redirect(std::string_view status, std::string_view location);

}  // namespace vlmr::test
