#include "transfer/curl_internet_file.h"

#include <curl/curl.h>

#include <chrono>

namespace vlmr::transfer {

using platform::EventLoop;

CurlInternetFile::CurlInternetFile(const core::Runtime& runtime, EventLoop& loop)
    : loop_(loop), transfer_(runtime), multi_(MakeMultiHandle()) {
  WatchSockets();
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
  curl_multi_setopt(
      multi_.get(), CURLMOPT_TIMERFUNCTION, +[](CURLM*, long milliseconds, void* self) {
        static_cast<CurlInternetFile*>(self)->SetTimer(milliseconds);
        return 0;
      });
}

CurlInternetFile::~CurlInternetFile() {
  GiveUp();
  multi_.reset();
  StopTimer();
}

void CurlInternetFile::WatchSockets() {
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
  const curl_socket_callback on_socket =
      +[](CURL*, curl_socket_t curl_socket, int what, void* self_pointer, void*) {
        auto& self = *static_cast<CurlInternetFile*>(self_pointer);
        const auto socket = static_cast<platform::Socket>(curl_socket);
        if (what == CURL_POLL_REMOVE) {
          self.loop_.Unwatch(socket);
          return 0;
        }
        const EventLoop::Interest interest = {.read = (what & CURL_POLL_IN) != 0,
                                              .write = (what & CURL_POLL_OUT) != 0};
        self.loop_.Watch(socket, interest, [&self, socket](EventLoop::Interest ready) {
          self.Serve(socket, (ready.read ? CURL_CSELECT_IN : 0) | (ready.write ? CURL_CSELECT_OUT : 0));
        });
        return 0;
      };
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, on_socket);
}

void CurlInternetFile::Start() {
  GiveUp();
  StopTimer();
  armed_ = true;
  SetTimer(0);
}

void CurlInternetFile::SetTimer(long milliseconds) {
  // The start that is still to come needs its timer; libcurl has nothing to do before it.
  if (armed_ && timer_ != 0) return;
  StopTimer();
  if (milliseconds < 0) return;
  timer_ = loop_.StartTimer(std::chrono::milliseconds(milliseconds), [this] { OnTimer(); });
}

void CurlInternetFile::StopTimer() {
  if (timer_ != 0) loop_.StopTimer(timer_);
  timer_ = 0;
}

void CurlInternetFile::OnTimer() {
  StopTimer();
  if (armed_) {
    armed_ = false;
    if (!transfer_.Begin(request_)) {
      Deliver();
      return;
    }
    Add();
  }
  Serve(static_cast<std::intptr_t>(CURL_SOCKET_TIMEOUT), 0);
}

void CurlInternetFile::Add() {
  added_ = true;
  // libcurl asks for its timer here, which lets it go on.
  curl_multi_add_handle(multi_.get(), transfer_.Handle());
}

void CurlInternetFile::Serve(std::intptr_t socket, int events) {
  int running = 0;
  curl_multi_socket_action(multi_.get(), static_cast<curl_socket_t>(socket), events, &running);
  TakeResults();
}

void CurlInternetFile::TakeResults() {
  int left = 0;
  for (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left); message != nullptr;
       message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE || !added_) continue;
    const CURLcode code = message->data.result;
    curl_multi_remove_handle(multi_.get(), transfer_.Handle());
    added_ = false;
    if (transfer_.GoesOn(code)) {
      Add();
    } else {
      Deliver();
    }
    return;  // the message is gone, and the handler may have started the next transfer
  }
}

void CurlInternetFile::GiveUp() {
  if (added_) curl_multi_remove_handle(multi_.get(), transfer_.Handle());
  added_ = false;
  armed_ = false;
  transfer_.Abandon();
}

void CurlInternetFile::Deliver() {
  if (transfer_.Outcome().ok) {
    if (on_completion_) on_completion_();
  } else if (on_error_) {
    on_error_(transfer_.Outcome().error);
  }
}

}  // namespace vlmr::transfer
