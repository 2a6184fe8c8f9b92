#pragma once

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/form.h"
#include "transfer/http_component.h"
#include "transfer/http_transfer.h"

namespace vlmr::transfer {

/// The synchronous component over libcurl's easy interface. It blocks the event loop, shows its progress on
/// the form, and gives way within a second when the process is asked to end: the transfer is given up and the
/// request's handler runs, which may throw `platform::ProcessEnd`.
class CurlHttpGet : public HttpGet {
 public:
  /// All references must outlive this object.
  CurlHttpGet(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form);
  bool Get(const HttpRequest& request) override;

 private:
  platform::EventLoop& loop_;
  HttpTransfer transfer_;
};

}  // namespace vlmr::transfer
