#include "transfer/http_transfer.h"

#include <curl/curl.h>

#include <string_view>
#include <system_error>
#include <utility>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/version.h"
#include "platform/runtime_error.h"
#include "transfer/http_trace.h"
#include "transfer/printable.h"

namespace vlmr::transfer {

namespace {

// The most that libcurl takes. Its default of 16 KB costs almost half of the speed of a large file.
constexpr long kReceiveBuffer = 512L << 10;

// The body of an error page or a redirect is read so that its connection can serve the next request, but not
// at any price.
constexpr std::int64_t kMostSkipped = std::int64_t{64} << 10;

std::string Numbered(int code, std::string_view words) {
  return core::IntegerText(code) + " " + PrintableLine(words);
}

std::string LibraryText(int code) { return Numbered(code, curl_easy_strerror(static_cast<CURLcode>(code))); }

}  // namespace

HttpTransfer::HttpTransfer(const core::Runtime& runtime)
    : runtime_(runtime),
      library_words_(std::make_unique<char[]>(CURL_ERROR_SIZE)),
      handle_(MakeEasyHandle()),
      body_(runtime.files) {}

bool HttpTransfer::Begin(const HttpRequest& request) {
  outcome_ = {};
  redirects_ = 0;
  has_new_connection_ = false;
  body_.Open(request.local_file, request.max_bytes);
  const HttpAddress address = ParseHttpUrl(request.url, request.remote_port);
  if (address.fault != 0) return Fail(LibraryText(address.fault));
  SetFixedOptions();
  if (!SetProxy(request)) return Fail(Numbered(CURLE_COULDNT_RESOLVE_PROXY, "Unsupported proxy port"));
  if (request.max_bytes > 0) {
    curl_easy_setopt(Handle(), CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(request.max_bytes));
  }
  if (request.debug) {
    curl_easy_setopt(Handle(), CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(Handle(), CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(
        Handle(), CURLOPT_DEBUGFUNCTION,
        +[](CURL* handle, curl_infotype kind, char* data, std::size_t size, void* self) {
          return Trace(handle, kind, data, size, self);
        });
  }
  SetAddress(address);
  return true;
}

void HttpTransfer::SetFixedOptions() {
  CURL* const handle = Handle();
  curl_easy_reset(handle);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(handle, CURLOPT_USERAGENT, ("VlMr/" + core::VersionText()).c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, kReceiveBuffer);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(kConnectLimit.count()));
  // The verification of Windows' own store, where the TLS library has none; nothing elsewhere.
  curl_easy_setopt(handle, CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_NATIVE_CA));
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, library_words_.get());
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &TakeHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &TakeBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
  // Silence is measured in `MustStop`, because libcurl's own limit is an average that a slow trickle can
  // miss. Set to a day, it makes libcurl look once a second.
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, 24L * 60 * 60);
  curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(handle, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(
      handle, CURLOPT_XFERINFOFUNCTION,
      +[](void* self, curl_off_t total, curl_off_t received, curl_off_t, curl_off_t) {
        return static_cast<HttpTransfer*>(self)->MustStop(received, total) ? 1 : 0;
      });
}

bool HttpTransfer::SetProxy(const HttpRequest& request) {
  CURL* const handle = Handle();
  over_proxy_ = request.use_proxy && !request.proxy_name.empty();
  // Both set in any case, empty: else the environment's variables would count.
  curl_easy_setopt(handle, CURLOPT_PROXY, over_proxy_ ? request.proxy_name.c_str() : "");
  curl_easy_setopt(handle, CURLOPT_NOPROXY, "");
  if (!over_proxy_) return true;
  if (request.proxy_port < 0) return false;
  curl_easy_setopt(handle, CURLOPT_PROXYPORT, request.proxy_port == 0 ? 80L : long{request.proxy_port});
  if (!request.proxy_user.empty()) {
    curl_easy_setopt(handle, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC));
    curl_easy_setopt(handle, CURLOPT_PROXYUSERNAME, request.proxy_user.c_str());
    curl_easy_setopt(handle, CURLOPT_PROXYPASSWORD, request.proxy_password.c_str());
  }
  return true;
}

void HttpTransfer::SetAddress(const HttpAddress& address) {
  secure_ = address.secure;
  curl_easy_setopt(Handle(), CURLOPT_URL, address.url.c_str());
  const std::string& target = over_proxy_ && !secure_ ? address.proxy_target : address.target;
  curl_easy_setopt(Handle(), CURLOPT_REQUEST_TARGET, target.c_str());
  head_.Reset();
  skipped_bytes_ = 0;
  refusal_.clear();
  library_words_[0] = '\0';
  bytes_seen_ = 0;
  last_sign_ = runtime_.clock.Steady();
}

std::size_t HttpTransfer::TakeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<HttpTransfer*>(self);
  if (transfer.head_.TakeLine({data, size * count})) return size * count;
  transfer.refusal_ = Numbered(CURLE_WRITE_ERROR, "Header too large");
  return 0;
}

std::size_t HttpTransfer::TakeBody(char* data, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<HttpTransfer*>(self);
  const std::size_t length = size * count;
  if (!transfer.head_.IsSuccess()) {
    transfer.skipped_bytes_ += static_cast<std::int64_t>(length);
    return transfer.skipped_bytes_ > kMostSkipped ? 0 : length;
  }
  transfer.refusal_ = transfer.head_.Refusal();
  if (!transfer.refusal_.empty()) return 0;
  // No exception may pass through libcurl.
  try {
    transfer.body_.Add({data, length});
    return length;
  } catch (const platform::RuntimeError& error) {
    transfer.refusal_ = core::ErrorText(error);
  }
  return 0;
}

int HttpTransfer::Trace(void* /*handle*/, int kind, char* data, std::size_t size, void* self) {
  TraceKind shown = TraceKind::kRemark;
  if (kind == CURLINFO_HEADER_IN) {
    shown = TraceKind::kHeaderReceived;
  } else if (kind == CURLINFO_HEADER_OUT) {
    shown = TraceKind::kHeaderSent;
  } else if (kind != CURLINFO_TEXT) {
    return 0;
  }
  for (const std::string& line : TraceLines(shown, {data, size})) {
    static_cast<HttpTransfer*>(self)->runtime_.Log("HTTPGet: " + line, core::LogLevel::kDetailed);
  }
  return 0;
}

bool HttpTransfer::MustStop(std::int64_t received, std::int64_t total) {
  const std::int64_t seen = received + skipped_bytes_ + static_cast<std::int64_t>(head_.Bytes());
  const auto now = runtime_.clock.Steady();
  if (seen != bytes_seen_) {
    bytes_seen_ = seen;
    last_sign_ = now;
  } else if (now - last_sign_ >= kSilenceLimit) {
    refusal_ = Numbered(CURLE_OPERATION_TIMEDOUT,
                        "Nothing received for " + core::IntegerText(kSilenceLimit.count()) + " seconds");
    return true;
  }
  return on_progress_ && on_progress_(received, total);
}

bool HttpTransfer::GoesOn(int code) {
  if (refusal_.empty() && head_.IsRedirect()) return FollowRedirect();
  if (MeetsStrayBytes(code)) return TryNewConnection();
  const bool is_whole = code == CURLE_OK && head_.IsSuccess();
  if (is_whole && refusal_.empty()) refusal_ = head_.Refusal();
  if (!is_whole || !refusal_.empty()) return Fail(ErrorText(code));
  Store();
  return false;
}

bool HttpTransfer::FollowRedirect() {
  const char* location = nullptr;
  curl_easy_getinfo(Handle(), CURLINFO_REDIRECT_URL, &location);
  if (location == nullptr) return Fail(head_.Text());
  const HttpAddress address = ParseRedirect(location);
  if (address.fault != 0) return Fail(head_.Text() + ", refused: leads to no http or https address");
  if (secure_ && !address.secure) return Fail(head_.Text() + ", refused: leads from https to http");
  if (++redirects_ > kMostRedirects) {
    return Fail(head_.Text() + ", refused: more than " + core::IntegerText(kMostRedirects) + " redirects");
  }
  SetAddress(address);
  return true;
}

bool HttpTransfer::MeetsStrayBytes(int code) const {
  if (code != CURLE_UNSUPPORTED_PROTOCOL || head_.Status() != 0 || has_new_connection_) return false;
  long opened = 0;
  curl_easy_getinfo(Handle(), CURLINFO_NUM_CONNECTS, &opened);
  return opened == 0;
}

bool HttpTransfer::TryNewConnection() {
  has_new_connection_ = true;
  curl_easy_setopt(Handle(), CURLOPT_FRESH_CONNECT, 1L);
  return true;
}

void HttpTransfer::Store() {
  const core::ErrorTrap trap([this](const platform::RuntimeError& error) { Fail(core::ErrorText(error)); });
  outcome_.ok = trap([this] { body_.Commit(); });
}

bool HttpTransfer::Fail(std::string error) {
  body_.Drop();
  outcome_ = {.ok = false, .error = std::move(error)};
  return false;
}

std::string HttpTransfer::ErrorText(int code) const {
  if (!refusal_.empty()) return refusal_;
  if (code == CURLE_OK || head_.Status() >= 300) return head_.Text();
  // What libcurl says of a line that it will not gather any further.
  if (code == CURLE_OUT_OF_MEMORY && head_.Status() != 0 && !head_.IsComplete()) {
    return Numbered(code, "Header line too large");
  }
  const std::string_view words = library_words_.get();
  // libcurl keeps the socket's error of an earlier transfer, so it is asked only where this one set it.
  if (code == CURLE_COULDNT_CONNECT || words.starts_with("Recv failure") ||
      words.starts_with("Send failure")) {
    long socket_error = 0;
    curl_easy_getinfo(Handle(), CURLINFO_OS_ERRNO, &socket_error);
    const int number = static_cast<int>(socket_error);
    if (number != 0) return Numbered(number, std::system_category().message(number));
  }
  return words.empty() ? LibraryText(code) : Numbered(code, words);
}

}  // namespace vlmr::transfer
