#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/runtime.h"
#include "transfer/curl_handle.h"
#include "transfer/http_body.h"
#include "transfer/http_component.h"
#include "transfer/http_head.h"
#include "transfer/url.h"

namespace vlmr::transfer {

/// How a transfer ended.
struct HttpOutcome {
  bool ok = false;
  std::string error;  ///< one line; begins with the HTTP status, the socket's or libcurl's number
};

/// One HTTP transfer after the other over one libcurl easy handle, whoever performs it: the place where both
/// components are configured, and where a response is judged. Connections stay open between transfers.
///
/// The rules: http and https only, TLS verified, the environment's proxies ignored; up to 5 redirects to http
/// or https, none from https to http; 30 s to connect, 60 s without a byte, no limit on the whole; a header
/// of 256 KiB at most. Success is a status of 2xx and the whole body stored. When bytes lie on a kept
/// connection that belong to no answer, because an earlier one was longer than it said, the request is sent
/// once more on a new one.
///
/// Example:
///     if (transfer.Begin(request)) {
///       while (transfer.GoesOn(curl_easy_perform(transfer.Handle()))) {}
///     }
///     const HttpOutcome outcome = transfer.Outcome();
class HttpTransfer {
 public:
  static constexpr int kMostRedirects = 5;
  static constexpr std::chrono::seconds kConnectLimit{30};
  static constexpr std::chrono::seconds kSilenceLimit{60};

  /// `runtime` must outlive the transfer.
  explicit HttpTransfer(const core::Runtime& runtime);
  HttpTransfer(const HttpTransfer&) = delete;
  HttpTransfer& operator=(const HttpTransfer&) = delete;

  /// The easy handle, for whoever performs the transfer.
  void* Handle() const { return handle_.get(); }
  /// Called about once a second and whenever bytes come; true ends the transfer.
  void OnProgress(std::function<bool(std::int64_t received, std::int64_t total)> handler) {
    on_progress_ = std::move(handler);
  }

  /// Configures the handle. False when the request cannot even be made; `Outcome` then tells why.
  bool Begin(const HttpRequest& request);
  /// To be called when libcurl is done with the handle, with its `CURLcode`. True when a redirect is to be
  /// followed: the handle is ready to be performed once more. Else the transfer is over.
  bool GoesOn(int code);
  /// How it ended.
  const HttpOutcome& Outcome() const { return outcome_; }
  /// Gives a transfer up that libcurl does not hold any more.
  void Abandon() { body_.Drop(); }

 private:
  static std::size_t TakeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t TakeBody(char* data, std::size_t size, std::size_t count, void* self);
  static int Trace(void* handle, int kind, char* data, std::size_t size, void* self);

  void SetFixedOptions();
  bool SetProxy(const HttpRequest& request);
  void SetAddress(const HttpAddress& address);
  bool MustStop(std::int64_t received, std::int64_t total);
  bool FollowRedirect();
  bool MeetsStrayBytes(int code) const;
  bool TryNewConnection();
  void Store();
  bool Fail(std::string error);
  std::string ErrorText(int code) const;

  const core::Runtime& runtime_;
  std::unique_ptr<char[]> library_words_;  ///< outlives the handle, which may write to it to the last
  EasyHandle handle_;
  std::function<bool(std::int64_t, std::int64_t)> on_progress_;

  bool over_proxy_ = false;
  bool secure_ = false;
  int redirects_ = 0;
  bool has_new_connection_ = false;  ///< asked for it because of stray bytes
  HttpHead head_;
  HttpBody body_;
  std::int64_t skipped_bytes_ = 0;
  std::int64_t bytes_seen_ = 0;
  std::chrono::steady_clock::time_point last_sign_;
  std::string refusal_;  ///< why we, not libcurl, ended it
  HttpOutcome outcome_;
};

}  // namespace vlmr::transfer
