#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vlmr::test {

/// An FTP server (RFC 959, 2428) on loopback that keeps its files in memory, records what it is told, and
/// misbehaves as a test scripts it. It answers from threads of its own; every member may be called while it
/// runs.
///
/// Example:
///     ScriptedFtpServer server;
///     server.PutFile("products/tsc/tsc12345.zip", "...");
///     server.Script("NLST", {.pieces = {"550 no\r\n"}});
///     client.Connect(server.Host());
///     EXPECT_EQ(server.Commands({"USER", "PASS"}), (std::vector<std::string>{"USER a", "PASS b"}));
class ScriptedFtpServer {
 public:
  /// What is sent in place of the usual answer to a command.
  struct Answer {
    std::vector<std::string> pieces = {};  ///< sent one by one, each in a packet of its own
    bool closes = false;                   ///< ends the connection behind them
  };
  /// What goes wrong with data connections.
  struct Faults {
    bool data_never_comes = false;  ///< transfers are announced, but no data connection is opened or taken
    std::size_t cut_download = kNever;     ///< both connections break after so many bytes of a file
    std::size_t cut_upload = kNever;       ///< likewise while a file is stored; what came stays stored
    std::size_t disk_full_after = kNever;  ///< 452 after so many bytes of a file; what came stays stored
    std::size_t download_stall = kNever;   ///< nothing more comes after so many bytes
    bool replies_together = false;         ///< announcement and end of a download share one packet
  };
  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  ScriptedFtpServer();
  ~ScriptedFtpServer();
  ScriptedFtpServer(const ScriptedFtpServer&) = delete;
  ScriptedFtpServer& operator=(const ScriptedFtpServer&) = delete;

  int Port() const { return port_; }
  /// "127.0.0.1:" and the port.
  std::string Host() const;

  /// Puts a file there, its folders with it; paths have no leading "/".
  void PutFile(const std::string& path, const std::string& bytes);
  void PutFolder(const std::string& path);
  /// A file's bytes; empty when it is absent.
  std::string File(const std::string& path) const;
  /// The paths of all files, in order.
  std::vector<std::string> Files() const;

  /// Replaces the answer to the next `times` commands of this verb; the verb "" is the greeting.
  void Script(const std::string& verb, Answer answer, int times = 1'000'000);
  void Misbehave(const Faults& faults);

  /// All commands so far, over all connections.
  std::vector<std::string> Commands() const;
  /// Those of some verbs.
  std::vector<std::string> Commands(const std::set<std::string>& verbs) const;
  /// How many control connections were opened so far.
  int Connections() const { return connections_; }
  /// Waits, ten seconds at most, until a command of this verb has come; false when none did.
  bool WaitFor(const std::string& verb) const;

 private:
  class Connection;
  friend class Connection;

  void Accept();
  bool TakeScripted(const std::string& verb, Answer& answer);
  void Remember(int socket);
  void Forget(int socket);

  int port_ = 0;  // before the listener, which fills it
  int listener_ = -1;
  std::atomic<bool> stopping_ = false;
  std::atomic<int> connections_ = 0;
  mutable std::mutex mutex_;
  std::map<std::string, std::string> files_;
  std::set<std::string> folders_{""};
  std::map<std::string, std::pair<Answer, int>> scripts_;
  std::vector<std::string> commands_;
  Faults faults_;
  std::set<int> sockets_;
  std::vector<std::thread> threads_;
  std::thread acceptor_;
};

}  // namespace vlmr::test
