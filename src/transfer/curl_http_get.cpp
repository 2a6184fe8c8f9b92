#include "transfer/curl_http_get.h"

#include <curl/curl.h>

#include <chrono>

namespace vlmr::transfer {

CurlHttpGet::CurlHttpGet(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form)
    : loop_(loop), transfer_(runtime) {
  transfer_.OnProgress([this, &form](std::int64_t received, std::int64_t total) {
    form.SetProgress(received, total);
    return loop_.CloseRequested();
  });
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
