#include "transfer/curl_handle.h"

#include <curl/curl.h>

#include "platform/runtime_error.h"

namespace vlmr::transfer {

namespace {

template <class Handle>
Handle Owned(void* made) {
  if (made == nullptr) throw platform::RuntimeError(platform::error_number::kOutOfMemory);
  return Handle(made);
}

void MakeReady() { [[maybe_unused]] static const CURLcode kReady = curl_global_init(CURL_GLOBAL_DEFAULT); }

}  // namespace

void EasyHandleCloser::operator()(void* handle) const { curl_easy_cleanup(handle); }

void MultiHandleCloser::operator()(void* handle) const { curl_multi_cleanup(static_cast<CURLM*>(handle)); }

EasyHandle MakeEasyHandle() {
  MakeReady();
  return Owned<EasyHandle>(curl_easy_init());
}

MultiHandle MakeMultiHandle() {
  MakeReady();
  return Owned<MultiHandle>(curl_multi_init());
}

}  // namespace vlmr::transfer
