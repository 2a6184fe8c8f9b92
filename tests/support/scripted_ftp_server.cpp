#include "support/scripted_ftp_server.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

#include "support/sockets.h"

namespace vlmr::test {

/// One control connection, served from its own thread.
class ScriptedFtpServer::Connection {
 public:
  Connection(ScriptedFtpServer& server, int socket) : server_(server), control_(socket) {}

  void Serve() {
    Reply("", "220 ready");
    std::string line;
    while (!done_ && ReadLine(line)) {
      const std::string verb = line.substr(0, line.find(' '));
      const std::string argument = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
      {
        const std::lock_guard lock(server_.mutex_);
        server_.commands_.push_back(line);
      }
      Answer answer;
      if (server_.TakeScripted(verb, answer)) {
        Send(answer);
      } else {
        Obey(verb, argument);
      }
    }
    CloseData();
    server_.Forget(control_);
    CloseSocket(control_);
  }

 private:
  void Reply(const std::string& verb, const std::string& line) {
    Answer answer;
    if (!verb.empty() || !server_.TakeScripted(verb, answer)) answer.pieces = {line + "\r\n"};
    Send(answer);
  }

  void Send(const Answer& answer) {
    for (std::size_t i = 0; i < answer.pieces.size(); ++i) {
      // Pieces that follow each other at once would travel in one packet.
      if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(15));
      SendAll(control_, answer.pieces[i]);
    }
    done_ = done_ || answer.closes;
  }

  bool ReadLine(std::string& line) {
    for (;;) {
      const auto end = input_.find("\r\n");
      if (end != std::string::npos) {
        line = input_.substr(0, end);
        input_.erase(0, end + 2);
        return true;
      }
      const std::string got = ReceiveSome(control_, 4096);
      if (got.empty()) return false;
      input_ += got;
    }
  }

  std::string Resolve(const std::string& path) const {
    std::string full = path.starts_with('/') ? path.substr(1) : folder_ + (folder_.empty() ? "" : "/") + path;
    while (full.ends_with('/')) full.pop_back();
    return full;
  }

  void Obey(const std::string& verb, const std::string& argument) {
    if (verb == "USER") return Reply(verb, "331 password");
    if (verb == "PASS") return Reply(verb, "230 in");
    if (verb == "PWD") return Reply(verb, "257 \"/\" is here");
    if (verb == "TYPE") return Reply(verb, "200 type");
    if (verb == "CWD") return Change(Resolve(argument));
    if (verb == "EPSV" || verb == "PASV") return OpenPassive(verb);
    if (verb == "EPRT" || verb == "PORT") return TakeAddress(verb, argument);
    if (verb == "SIZE") return TellSize(Resolve(argument));
    if (verb == "NLST") return ListNames();
    if (verb == "RETR") return SendFile(Resolve(argument));
    if (verb == "STOR") return TakeFile(Resolve(argument));
    if (verb == "DELE") return Delete(Resolve(argument));
    if (verb == "RNFR") return RenameFrom(Resolve(argument));
    if (verb == "RNTO") return RenameTo(Resolve(argument));
    if (verb == "QUIT") {
      Reply(verb, "221 bye");
      done_ = true;
      return;
    }
    Reply(verb, "502 unknown");
  }

  void Change(const std::string& folder) {
    const std::lock_guard lock(server_.mutex_);
    if (!server_.folders_.contains(folder)) return Send({.pieces = {"550 no such folder\r\n"}});
    folder_ = folder;
    Send({.pieces = {"250 changed\r\n"}});
  }

  void OpenPassive(const std::string& verb) {
    CloseData();
    int port = 0;
    passive_ = ListenOnLoopback(port);
    server_.Remember(passive_);
    if (verb == "EPSV") return Reply(verb, "229 go (|||" + std::to_string(port) + "|)");
    Reply(verb, "227 go (127,0,0,1," + std::to_string(port / 256) + "," + std::to_string(port % 256) + ")");
  }

  void TakeAddress(const std::string& verb, const std::string& argument) {
    CloseData();
    int family = 0;
    int port = 0;
    int high = 0;
    if (verb == "EPRT") {
      std::sscanf(argument.c_str(), "|%d|127.0.0.1|%d|", &family, &port);
    } else {
      std::sscanf(argument.c_str(), "127,0,0,1,%d,%d", &high, &port);
      port += high * 256;
    }
    active_port_ = port;
    Reply(verb, port > 0 ? "200 noted" : "501 not understood");
  }

  /// The data connection, or -1 when there is none.
  int Data() {
    if (passive_ >= 0) {
      const int socket = AcceptConnection(passive_);
      CloseData();
      return socket;
    }
    if (active_port_ == 0) return -1;
    return ConnectToLoopback(std::exchange(active_port_, 0));
  }

  /// Announces a transfer and opens its connection; -1 when the test scripts none.
  int Begin() {
    Send({.pieces = {"150 here it comes\r\n"}});
    return Faulty().data_never_comes ? -1 : Data();
  }

  void SendBytes(std::string_view bytes, bool may_break) {
    const Faults faults = may_break ? Faulty() : Faults{};
    const int data = faults.replies_together ? Data() : Begin();
    if (data < 0) return;
    if (faults.replies_together) Send({.pieces = {"150 here it comes\r\n226 done\r\n"}});
    server_.Remember(data);
    SendAll(data, bytes.substr(0, std::min({bytes.size(), faults.cut_download, faults.download_stall})));
    if (faults.download_stall < bytes.size()) {
      std::string line;
      ReadLine(line);  // holds both connections until the client ends its own
    }
    server_.Forget(data);
    CloseSocket(data);
    done_ = done_ || faults.cut_download < bytes.size();
    if (!done_ && !faults.replies_together) Send({.pieces = {"226 done\r\n"}});
  }

  void ListNames() {
    std::string names;
    {
      const std::lock_guard lock(server_.mutex_);
      const std::string prefix = folder_.empty() ? "" : folder_ + "/";
      for (const auto& [path, bytes] : server_.files_) {
        const std::string rest = path.starts_with(prefix) ? path.substr(prefix.size()) : "/";
        if (rest.find('/') == std::string::npos) names += rest + "\r\n";
      }
    }
    SendBytes(names, /*may_break=*/false);
  }

  void TellSize(const std::string& path) {
    const std::lock_guard lock(server_.mutex_);
    const auto found = server_.files_.find(path);
    Send(
        {.pieces = {found == server_.files_.end() ? "550 no such file\r\n"
                                                  : "213 " + std::to_string(found->second.size()) + "\r\n"}});
  }

  void SendFile(const std::string& path) {
    std::string bytes;
    {
      const std::lock_guard lock(server_.mutex_);
      const auto found = server_.files_.find(path);
      if (found == server_.files_.end()) return Send({.pieces = {"550 no such file\r\n"}});
      bytes = found->second;
    }
    SendBytes(bytes, /*may_break=*/true);
  }

  void TakeFile(const std::string& path) {
    const Faults faults = Faulty();
    const int data = Begin();
    Keep(path, "");
    if (data < 0) return;
    server_.Remember(data);
    std::string bytes;
    const std::size_t most = std::min(faults.cut_upload, faults.disk_full_after);
    while (bytes.size() < most) {
      const std::string got = ReceiveSome(data, 4096);
      if (got.empty()) break;
      bytes += got;
    }
    Keep(path, bytes.substr(0, std::min(bytes.size(), most)));
    server_.Forget(data);
    CloseSocket(data);
    if (bytes.size() >= faults.cut_upload) {
      done_ = true;
    } else {
      Send({.pieces = {bytes.size() >= faults.disk_full_after ? "452 disk full\r\n" : "226 stored\r\n"}});
    }
  }

  void Keep(const std::string& path, const std::string& bytes) {
    const std::lock_guard lock(server_.mutex_);
    server_.files_[path] = bytes;
  }

  void Delete(const std::string& path) {
    const std::lock_guard lock(server_.mutex_);
    Send({.pieces = {server_.files_.erase(path) > 0 ? "250 deleted\r\n" : "550 no such file\r\n"}});
  }

  void RenameFrom(const std::string& path) {
    const std::lock_guard lock(server_.mutex_);
    rename_ = server_.files_.contains(path) ? path : "";
    Send({.pieces = {rename_.empty() ? "550 no such file\r\n" : "350 and to\r\n"}});
  }

  void RenameTo(const std::string& path) {
    const std::lock_guard lock(server_.mutex_);
    auto node = server_.files_.extract(rename_);
    if (node.empty()) return Send({.pieces = {"503 what\r\n"}});
    server_.files_[path] = std::move(node.mapped());
    Send({.pieces = {"250 renamed\r\n"}});
  }

  Faults Faulty() const {
    const std::lock_guard lock(server_.mutex_);
    return server_.faults_;
  }

  void CloseData() {
    if (passive_ >= 0) {
      server_.Forget(passive_);
      CloseSocket(passive_);
    }
    passive_ = -1;
  }

  ScriptedFtpServer& server_;
  int control_;
  int passive_ = -1;
  int active_port_ = 0;
  bool done_ = false;
  std::string input_;
  std::string folder_;
  std::string rename_;
};

ScriptedFtpServer::ScriptedFtpServer()
    : listener_(ListenOnLoopback(port_)), acceptor_([this] { Accept(); }) {}

ScriptedFtpServer::~ScriptedFtpServer() {
  stopping_ = true;
  WakeSocket(listener_);
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const int socket : sockets_) WakeSocket(socket);
  }
  for (std::thread& thread : threads_) thread.join();
  CloseSocket(listener_);
}

std::string ScriptedFtpServer::Host() const { return "127.0.0.1:" + std::to_string(port_); }

void ScriptedFtpServer::Accept() {
  for (;;) {
    const int socket = AcceptConnection(listener_);
    if (socket < 0) return;
    SendPiecesAtOnce(socket);
    ++connections_;
    Remember(socket);
    threads_.emplace_back([this, socket] { Connection(*this, socket).Serve(); });
  }
}

void ScriptedFtpServer::Remember(int socket) {
  const std::lock_guard lock(mutex_);
  sockets_.insert(socket);
  if (stopping_) WakeSocket(socket);
}

void ScriptedFtpServer::Forget(int socket) {
  const std::lock_guard lock(mutex_);
  sockets_.erase(socket);
}

bool ScriptedFtpServer::TakeScripted(const std::string& verb, Answer& answer) {
  const std::lock_guard lock(mutex_);
  const auto found = scripts_.find(verb);
  if (found == scripts_.end() || found->second.second == 0) return false;
  --found->second.second;
  answer = found->second.first;
  return true;
}

void ScriptedFtpServer::PutFile(const std::string& path, const std::string& bytes) {
  for (auto slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    PutFolder(path.substr(0, slash));
  }
  const std::lock_guard lock(mutex_);
  files_[path] = bytes;
}

void ScriptedFtpServer::PutFolder(const std::string& path) {
  const std::lock_guard lock(mutex_);
  folders_.insert(path);
}

std::string ScriptedFtpServer::File(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(path);
  return found == files_.end() ? std::string() : found->second;
}

std::vector<std::string> ScriptedFtpServer::Files() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> paths;
  for (const auto& [path, bytes] : files_) paths.push_back(path);
  return paths;
}

void ScriptedFtpServer::Script(const std::string& verb, Answer answer, int times) {
  const std::lock_guard lock(mutex_);
  scripts_[verb] = {std::move(answer), times};
}

void ScriptedFtpServer::Misbehave(const Faults& faults) {
  const std::lock_guard lock(mutex_);
  faults_ = faults;
}

std::vector<std::string> ScriptedFtpServer::Commands() const {
  const std::lock_guard lock(mutex_);
  return commands_;
}

std::vector<std::string> ScriptedFtpServer::Commands(const std::set<std::string>& verbs) const {
  std::vector<std::string> chosen = Commands();
  std::erase_if(chosen,
                [&](const std::string& line) { return !verbs.contains(line.substr(0, line.find(' '))); });
  return chosen;
}

bool ScriptedFtpServer::WaitFor(const std::string& verb) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (Commands({verb}).empty()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace vlmr::test
