#pragma once

#include <functional>
#include <string>

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "transfer/curl_handle.h"
#include "transfer/http_component.h"
#include "transfer/http_transfer.h"

namespace vlmr::transfer {

/// The asynchronous component over libcurl's multi interface. The event loop watches libcurl's sockets and
/// runs its timer; a wait for the events costs no processor time. The events come when libcurl has returned,
/// so their handlers may start the next transfer. A second `Start` gives the first transfer up without an
/// event.
class CurlInternetFile : public InternetFile {
 public:
  /// Both references must outlive this object.
  CurlInternetFile(const core::Runtime& runtime, platform::EventLoop& loop);
  ~CurlInternetFile() override;
  CurlInternetFile(const CurlInternetFile&) = delete;
  CurlInternetFile& operator=(const CurlInternetFile&) = delete;

  void SetAccess(Access access) override { request_.use_proxy = access == Access::kProxy; }
  void SetUrl(const std::string& url) override { request_.url = url; }
  void SetLocalFile(const std::string& path) override { request_.local_file = path; }
  void SetProxyName(const std::string& name) override { request_.proxy_name = name; }
  void SetProxyPort(std::int16_t port) override { request_.proxy_port = port; }
  void SetProxyPassword(const std::string& password) override { request_.proxy_password = password; }
  void SetProxyUser(const std::string& user) override { request_.proxy_user = user; }
  void SetRemotePort(std::int16_t port) override { request_.remote_port = port; }
  void SetMaxBytes(std::int64_t max_bytes) override { request_.max_bytes = max_bytes; }
  void Start() override;
  void OnCompletion(std::function<void()> handler) override { on_completion_ = std::move(handler); }
  void OnError(std::function<void(const std::string& text)> handler) override {
    on_error_ = std::move(handler);
  }

 private:
  void WatchSockets();
  void SetTimer(long milliseconds);
  void StopTimer();
  void OnTimer();
  void Serve(std::intptr_t socket, int events);
  void TakeResults();
  void Add();
  void GiveUp();
  void Deliver();

  platform::EventLoop& loop_;
  HttpRequest request_;
  std::function<void()> on_completion_;
  std::function<void(const std::string&)> on_error_;
  HttpTransfer transfer_;
  MultiHandle multi_;
  platform::EventLoop::TimerId timer_ = 0;  ///< libcurl's timer or the one that starts a transfer, 0 = none
  bool armed_ = false;                      ///< started, libcurl does not know of it yet
  bool added_ = false;                      ///< libcurl holds the transfer
};

}  // namespace vlmr::transfer
