#pragma once

#include "core/runtime.h"
#include "platform/event_loop.h"
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
/// retry, no change of mode.
class HttpDownload : public Downloader {
 public:
  /// All references must outlive this object; it takes the events of `internet_file`.
  HttpDownload(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form,
               InternetFile& internet_file, HttpGet& http_get);

  bool DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) override;

 private:
  const core::Runtime& runtime_;
  platform::EventLoop& loop_;
  platform::Form& form_;
  InternetFile& internet_file_;
  HttpGet& http_get_;
  CompletionFlags flags_;
};

}  // namespace vlmr::transfer
