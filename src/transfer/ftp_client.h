#pragma once

#include <string>

namespace vlmr::transfer {

/// How an FTP operation ended.
struct FtpResult {
  int number =
      0;  ///< 0 = success; else the server's reply code (530, 550 ...), else the socket's or library's number
  std::string description;  ///< the server's or library's words
  bool Ok() const { return number == 0; }
};

/// The one FTP client of the process (RFC 959), made on first use and kept. Connects within 30 s, gives up
/// after 60 s without a byte, sets no limit on the whole, retries nothing. Transfers are binary.
class FtpClient {
 public:
  virtual ~FtpClient() = default;
  virtual void SetPassive(bool passive) = 0;
  /// "ftp=ftp://" + name + ":" + port, or empty for none. A gateway is logged into as `user@host`.
  virtual void SetProxy(const std::string& proxy_text) = 0;
  virtual void SetCredentials(const std::string& user, const std::string& password) = 0;
  /// Connects and logs in, closing an earlier connection. `host` may be "host:port".
  virtual FtpResult Connect(const std::string& host) = 0;
  /// Changes into a folder relative to the log-in folder (empty = stay) and lists its names, joined by ";"
  /// (none at the end). An empty folder is a success with an empty text.
  virtual FtpResult List(const std::string& folder, std::string& names) = 0;
  /// Fetches a file of that folder. The spelling of the last listing is used on the wire. A failure changes
  /// no local file.
  virtual FtpResult Get(const std::string& name, const std::string& local_file) = 0;
  /// Stores a local file in that folder. A failure leaves no half file under `name` where the server allows
  /// that.
  virtual FtpResult Put(const std::string& local_file, const std::string& name) = 0;
};

}  // namespace vlmr::transfer
