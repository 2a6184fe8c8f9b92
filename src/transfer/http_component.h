#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vlmr::transfer {

/// One HTTP fetch, as both components take it.
struct HttpRequest {
  std::string url;
  std::string local_file;  ///< where the body goes, in the system's own notation
  /// Used when the URL names no port; 0 means the scheme's own, and so does 80 with https.
  std::int16_t remote_port = 0;
  bool use_proxy = false;  ///< with an empty `proxy_name` the transfer is direct all the same
  std::string proxy_name;
  std::int16_t proxy_port = 0;  ///< 0 = 80
  std::string proxy_user;       ///< empty = no log-in; else Basic authorisation
  std::string proxy_password;
  bool debug = false;          ///< trace the exchange in the log, at the detailed level
  std::int64_t max_bytes = 0;  ///< a longer body is a failure; 0 = any length
};

/// The asynchronous downloader: configured through properties, started by a method, and heard of again by
/// exactly one of two events, which are delivered from inside `EventLoop::Pump`. `Start` only arms the
/// transfer: it connects at the first yield, so a property set between `Start` and that yield still counts.
/// One transfer at a time. After an error event nothing has been stored; an existing file is untouched.
class InternetFile {
 public:
  /// Access type as the component numbers it.
  enum class Access { kProxy = 1, kDirect = 2 };

  virtual ~InternetFile() = default;
  virtual void SetAccess(Access access) = 0;
  virtual void SetUrl(const std::string& url) = 0;
  virtual void SetLocalFile(const std::string& path) = 0;
  virtual void SetProxyName(const std::string& name) = 0;
  virtual void SetProxyPort(std::int16_t port) = 0;
  virtual void SetProxyPassword(const std::string& password) = 0;
  virtual void SetProxyUser(const std::string& user) = 0;
  virtual void SetRemotePort(std::int16_t port) = 0;
  /// The longest body that is taken, 0 = any.
  virtual void SetMaxBytes(std::int64_t max_bytes) = 0;
  virtual void Start() = 0;

  /// The events. The error text begins with the HTTP status, the socket error's number or libcurl's number,
  /// and is one line.
  virtual void OnCompletion(std::function<void()> handler) = 0;
  virtual void OnError(std::function<void(const std::string& text)> handler) = 0;
};

/// The synchronous downloader: one call performs the whole transfer.
class HttpGet {
 public:
  virtual ~HttpGet() = default;
  /// True when the status was 2xx and the whole body stands at the local file. On failure nothing has been
  /// stored; an existing file is untouched.
  virtual bool Get(const HttpRequest& request) = 0;
};

}  // namespace vlmr::transfer
