#pragma once

#include <chrono>

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/form.h"
#include "transfer/http_component.h"
#include "transfer/http_transfer.h"

namespace vlmr::transfer {

/// The synchronous component over libcurl's easy interface. It blocks the event loop, shows its progress on
/// the form, writes once a second what the INI store's batches hold (whose timer cannot run meanwhile), and
/// gives way within a second when the process is asked to end: the transfer is given up and the request's
/// handler runs, which may throw `platform::ProcessEnd`.
class CurlHttpGet : public HttpGet {
 public:
  /// All references must outlive this object.
  CurlHttpGet(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form);
  bool Get(const HttpRequest& request) override;

 private:
  void FlushBatches();

  const core::Runtime& runtime_;
  platform::EventLoop& loop_;
  std::chrono::steady_clock::time_point last_flush_;
  HttpTransfer transfer_;
};

}  // namespace vlmr::transfer
