#include "transfer/curl_ftp_exchange.h"

#include <curl/curl.h>

#include <array>
#include <utility>

#include "core/number.h"

namespace vlmr::transfer {

namespace {

/// The server's "going down" reply, which libcurl reports as a time-out.
constexpr int kServiceClosing = 421;

/// Faults of the connection itself: the server's last reply, if there was one, belongs to something that went
/// well.
bool IsConnectionFault(int code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_GOT_NOTHING:
    case CURLE_ABORTED_BY_CALLBACK:
      return true;
    default:
      return false;
  }
}

bool IsSocketFault(int code) {
  return code == CURLE_COULDNT_CONNECT || code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR;
}

curl_socket_t OpenNoSocket(void*, curlsocktype, curl_sockaddr*) { return CURL_SOCKET_BAD; }

}  // namespace

CurlFtpExchange::CurlFtpExchange(const Setup& setup)
    : handle_(setup.handle),
      clock_(setup.clock),
      loop_(setup.loop),
      limits_(setup.limits),
      silence_limit_(setup.limits.silence),
      afterwards_(nullptr, &curl_slist_free_all),
      error_text_(std::make_unique<char[]>(CURL_ERROR_SIZE)) {
  curl_easy_reset(handle_);
  curl_easy_setopt(handle_, CURLOPT_URL, setup.url.c_str());
  curl_easy_setopt(handle_, CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(handle_, CURLOPT_PROTOCOLS_STR, "ftp");
  // The environment's proxies are another program's business.
  curl_easy_setopt(handle_, CURLOPT_PROXY, "");
  if (!setup.user.empty()) {
    curl_easy_setopt(handle_, CURLOPT_USERNAME, setup.user.c_str());
    curl_easy_setopt(handle_, CURLOPT_PASSWORD, setup.password.c_str());
  }
  // One CWD with the folder's whole text, relative to the folder of the log-in; NLST and RETR then take bare
  // names.
  curl_easy_setopt(handle_, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
  if (!setup.passive) curl_easy_setopt(handle_, CURLOPT_FTPPORT, "-");
  curl_easy_setopt(handle_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits_.connect.count()));
  curl_easy_setopt(handle_, CURLOPT_ACCEPTTIMEOUT_MS, static_cast<long>(limits_.silence.count()));
  // While a large file comes the control connection is idle, and firewalls forget idle connections.
  curl_easy_setopt(handle_, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(handle_, CURLOPT_MAXCONNECTS, 1L);
  curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle_, CURLOPT_ERRORBUFFER, error_text_.get());
  curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, &TakeHeader);
  curl_easy_setopt(handle_, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, &TakeBody);
  curl_easy_setopt(handle_, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(handle_, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(handle_, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(
      handle_, CURLOPT_XFERINFOFUNCTION,
      +[](void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        return static_cast<CurlFtpExchange*>(self)->MustStop(received + sent) ? 1 : 0;
      });
}

CurlFtpExchange::~CurlFtpExchange() {
  // Options point into this object; the handle lives on, and closing it must not call back.
  curl_easy_reset(handle_);
}

void CurlFtpExchange::TransferNothing() { curl_easy_setopt(handle_, CURLOPT_NOBODY, 1L); }

void CurlFtpExchange::ListNames() { curl_easy_setopt(handle_, CURLOPT_DIRLISTONLY, 1L); }

void CurlFtpExchange::Receive(std::function<void(std::string_view)> sink) { sink_ = std::move(sink); }

void CurlFtpExchange::SendFrom(platform::InputFile& file) {
  source_ = &file;
  curl_easy_setopt(handle_, CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(handle_, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(file.Length()));
  curl_easy_setopt(handle_, CURLOPT_READFUNCTION, &GiveBody);
  curl_easy_setopt(handle_, CURLOPT_READDATA, this);
}

void CurlFtpExchange::SendAfterwards(const std::vector<std::string>& commands) {
  for (const std::string& command : commands) {
    curl_slist* longer = curl_slist_append(afterwards_.get(), command.c_str());
    if (longer == nullptr) throw platform::RuntimeError(platform::error_number::kOutOfMemory);
    static_cast<void>(afterwards_.release());
    afterwards_.reset(longer);
  }
  curl_easy_setopt(handle_, CURLOPT_POSTQUOTE, afterwards_.get());
}

void CurlFtpExchange::OnNewConnection() { curl_easy_setopt(handle_, CURLOPT_FRESH_CONNECT, 1L); }

void CurlFtpExchange::CloseAtEnd() {
  silence_limit_ = limits_.goodbye;
  curl_easy_setopt(handle_, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(handle_, CURLOPT_OPENSOCKETFUNCTION, &OpenNoSocket);
}

CurlFtpExchange::Outcome CurlFtpExchange::Perform() {
  long socket_error_before = 0;  // libcurl keeps the number of an earlier fault
  curl_easy_getinfo(handle_, CURLINFO_OS_ERRNO, &socket_error_before);
  last_sign_ = clock_.Steady();
  Outcome outcome;
  outcome.library_code = curl_easy_perform(handle_);
  long reply = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &reply);
  outcome.reply = static_cast<int>(reply);
  outcome.transfer_started = reply_.TransferStarted();
  if (outcome.library_code == CURLE_OK && IsPartial()) outcome.library_code = CURLE_PARTIAL_FILE;
  outcome.result = ResultOf(outcome.library_code, outcome.reply, socket_error_before);
  return outcome;
}

FtpResult CurlFtpExchange::ResultOf(int code, int reply, long socket_error_before) const {
  if (code == CURLE_OK) return {};
  if (local_fault_) return {local_fault_->Number(), local_fault_->Description()};
  if (silent_) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(silence_limit_).count();
    return {CURLE_OPERATION_TIMEDOUT, "Nothing received for " + core::IntegerText(seconds) + " seconds"};
  }
  std::string library_words = error_text_.get();
  if (library_words.empty()) library_words = curl_easy_strerror(static_cast<CURLcode>(code));
  if (reply >= 400 && (!IsConnectionFault(code) || reply == kServiceClosing)) {
    return {reply, reply_.Words().empty() ? library_words : reply_.Words()};
  }
  long socket_error = 0;
  curl_easy_getinfo(handle_, CURLINFO_OS_ERRNO, &socket_error);
  const bool is_fresh = socket_error != socket_error_before || code == CURLE_COULDNT_CONNECT;
  if (IsSocketFault(code) && socket_error != 0 && is_fresh) {
    return {static_cast<int>(socket_error), library_words};
  }
  return {code, library_words};
}

bool CurlFtpExchange::IsPartial() const {
  // libcurl takes a negative length for none of its cases and stores nothing, with success.
  return sink_ && reply_.ToldLength().value_or(received_) != received_;
}

bool CurlFtpExchange::MustStop(std::int64_t bytes) {
  if (loop_.CloseRequested()) return true;
  const auto now = clock_.Steady();
  if (bytes != bytes_seen_ || lines_ != lines_seen_) {
    bytes_seen_ = bytes;
    lines_seen_ = lines_;
    last_sign_ = now;
  }
  silent_ = now - last_sign_ >= silence_limit_;
  return silent_;
}

std::size_t CurlFtpExchange::TakeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<CurlFtpExchange*>(self);
  ++exchange.lines_;
  exchange.reply_.TakeLine({data, size * count});
  return size * count;
}

std::size_t CurlFtpExchange::TakeBody(char* data, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<CurlFtpExchange*>(self);
  if (!exchange.sink_) return size * count;
  exchange.received_ += static_cast<std::int64_t>(size * count);
  try {
    exchange.sink_({data, size * count});
    return size * count;
  } catch (const platform::RuntimeError& fault) {
    // No exception may cross the library's frames.
    exchange.local_fault_ = fault;
    return CURL_WRITEFUNC_ERROR;
  }
}

std::size_t CurlFtpExchange::GiveBody(char* buffer, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<CurlFtpExchange*>(self);
  try {
    const std::size_t given = exchange.source_->ReadAt(exchange.sent_, {buffer, size * count});
    exchange.sent_ += static_cast<std::int64_t>(given);
    return given;
  } catch (const platform::RuntimeError& fault) {
    exchange.local_fault_ = fault;
    return CURL_READFUNC_ABORT;
  }
}

}  // namespace vlmr::transfer
