#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/file_system.h"
#include "platform/form.h"
#include "transfer/downloader.h"
#include "transfer/http_component.h"

namespace vlmr::transfer {

/// The main form's completion flags: written by the events of the asynchronous component, read by the wait.
class CompletionFlags {
 public:
  void SAVE_ApiHttpFailed(bool failed) { api_http_failed_ = failed; }
  void Save_ApiHTTPSuccess(bool success) { api_http_success_ = success; }
  bool GET_ApiHttpFailed() const { return api_http_failed_; }
  bool GET_ApiHTTPSuccess() const { return api_http_success_; }
  std::string GET_ApiHTTPError() const { return api_http_error_; }

  /// Completion event: success on, failed off.
  void OnCompletion();
  /// Error event: failed on, text kept, success left as it is.
  void OnError(const std::string& text);

 private:
  bool api_http_failed_ = false;
  bool api_http_success_ = false;
  std::string api_http_error_;
};

/// `DownloadFiles` over the two components, in one of four modes that the settings choose for each call. No
/// retry, no change of mode. What `MostBytesOf` limits and is longer is a failed transfer.
class HttpDownload : public Downloader {
 public:
  /// All references must outlive this object; it takes the events of `internet_file`.
  HttpDownload(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form,
               InternetFile& internet_file, HttpGet& http_get);
  HttpDownload(const HttpDownload&) = delete;
  HttpDownload& operator=(const HttpDownload&) = delete;

  bool DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) override;

 private:
  /// The settings of the proxy, read anew for each call. The port stays text until a component wants it.
  struct ProxySettings {
    std::string name;
    std::string user;
    std::string port;
    std::string password;
  };

  ProxySettings ReadProxy() const;
  /// `old` becomes what was there before, which nothing else tells from the new file.
  bool Perform(std::int16_t protocol, const std::string& url, std::string& local_file,
               std::optional<platform::FileStamp>& old);
  /// Deletes the old file where no new one has taken its place.
  void DropOld(const std::string& local_file, const std::optional<platform::FileStamp>& old) const;
  bool TransferByHttp(const std::string& url, const std::string& local_file, const ProxySettings& proxy);
  bool ProxyApi(const std::string& url, const std::string& local_file, const ProxySettings& proxy);
  bool DirectApi(const std::string& url, const std::string& local_file);
  bool ProxyWinsock(const std::string& url, const std::string& local_file, const ProxySettings& proxy);
  bool DirectWinsock(const std::string& url, const std::string& local_file);
  bool WaitForEvent();
  bool GetWithMonitor(const HttpRequest& request);
  HttpRequest DirectRequest(const std::string& url, const std::string& local_file) const;

  const core::Runtime& runtime_;
  platform::EventLoop& loop_;
  platform::Form& form_;
  InternetFile& internet_file_;
  HttpGet& http_get_;
  CompletionFlags flags_;
};

}  // namespace vlmr::transfer
