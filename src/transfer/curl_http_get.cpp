#include "transfer/curl_http_get.h"

#include <curl/curl.h>

namespace vlmr::transfer {

namespace {

constexpr std::chrono::seconds kFlushInterval{1};

}  // namespace

CurlHttpGet::CurlHttpGet(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form)
    : runtime_(runtime), loop_(loop), transfer_(runtime) {
  transfer_.OnProgress([this, &form](std::int64_t received, std::int64_t total) {
    form.SetProgress(received, total);
    FlushBatches();
    return loop_.CloseRequested();
  });
}

void CurlHttpGet::FlushBatches() {
  const auto now = runtime_.clock.Steady();
  if (now - last_flush_ < kFlushInterval) return;
  last_flush_ = now;
  runtime_.ini.FlushBatches();
}

bool CurlHttpGet::Get(const HttpRequest& request) {
  if (transfer_.Begin(request)) {
    while (transfer_.GoesOn(curl_easy_perform(transfer_.Handle()))) {
    }
  }
  if (loop_.CloseRequested()) loop_.Pump(std::chrono::milliseconds(0));
  return transfer_.Outcome().ok;
}

}  // namespace vlmr::transfer
