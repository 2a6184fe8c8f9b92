#pragma once

#include <string>

namespace vlmr::transfer {

/// How an FTP operation ended.
struct FtpResult {
  /// 0 = success; else the server's reply code (530, 550 ...), the socket error, libcurl's own number, or the
  /// run-time error of the local file.
  int number = 0;
  std::string description;  ///< the server's or library's words, on one line
  bool Ok() const { return number == 0; }
};

/// The one FTP client of the process (RFC 959), made on first use and kept. Connects and logs in within 30 s,
/// gives up after 60 s without a byte, sets no limit on the whole, retries nothing. Transfers are binary.
/// Nothing is raised but `platform::ProcessEnd`, when the process is asked to end meanwhile.
class FtpClient {
 public:
  virtual ~FtpClient() = default;
  /// Who opens the data connections: the client (passive) or the server (active, the default). Counts from
  /// the next operation on.
  virtual void SetPassive(bool passive) = 0;
  /// "ftp=ftp://" + name + ":" + port, or empty for none. A gateway is logged into as `user@host`. Counts
  /// from the next `Connect` on.
  virtual void SetProxy(const std::string& proxy_text) = 0;
  /// Counts from the next `Connect` on. An empty user logs in as "anonymous" with a password of the
  /// library's.
  virtual void SetCredentials(const std::string& user, const std::string& password) = 0;
  /// Connects and logs in, closing an earlier connection. `host` may be "host:port".
  virtual FtpResult Connect(const std::string& host) = 0;
  /// Changes into a folder relative to the log-in folder (empty = stay) and lists its names, joined by ";"
  /// (none at the end). An empty folder is a success with an empty text.
  virtual FtpResult List(const std::string& folder, std::string& names) = 0;
  /// Fetches a file of that folder. The spelling of the last listing is used on the wire. The missing folders
  /// of `local_file` are made; a failure changes no local file. A name that is no bare file name is refused
  /// with number 5.
  virtual FtpResult Get(const std::string& name, const std::string& local_file) = 0;
  /// Stores a local file in that folder. Others see it whole or not at all where the server can rename; a
  /// failure leaves no half file under `name` where the server can delete.
  virtual FtpResult Put(const std::string& local_file, const std::string& name) = 0;
};

}  // namespace vlmr::transfer
