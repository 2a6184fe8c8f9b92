#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/file_system.h"
#include "platform/runtime_error.h"
#include "transfer/ftp_reply.h"
#include "transfer/ftp_session.h"

struct curl_slist;

namespace vlmr::transfer {

/// The limits of one FTP operation.
struct FtpLimits {
  std::chrono::milliseconds connect{30'000};  ///< until the log-in is through
  std::chrono::milliseconds silence{
      60'000};                               ///< without a byte or a line of a reply; looked at once a second
  std::chrono::milliseconds goodbye{5'000};  ///< for the answer to QUIT
  std::size_t listing = std::size_t{16} << 20;  ///< bytes of one listing
};

/// One request over the FTP client's libcurl handle. Its options are set anew for each request, so that none
/// lingers from the one before; connections and the state of the handle stay.
///
/// Example:
///     CurlFtpExchange exchange({.handle = handle, .clock = clock, ..., .url = "ftp://h/pub/a.zip"});
///     exchange.Receive([&](std::string_view bytes) { staged.Write(bytes); });
///     if (!exchange.Perform().result.Ok()) ...
class CurlFtpExchange {
 public:
  /// What every request needs.
  struct Setup {
    void* handle;  ///< outlives the exchange, like the references
    const platform::Clock& clock;
    const platform::EventLoop& loop;
    const FtpLimits& limits;
    std::string url;
    std::string user;  ///< empty = anonymous
    std::string password;
    bool passive = false;
  };
  /// How a request ended.
  struct Outcome {
    FtpResult result;
    int library_code = 0;           ///< libcurl's `CURLcode`
    int reply = 0;                  ///< the server's last reply code, 0 = none
    bool transfer_started = false;  ///< the server announced a data transfer (150, 125)
  };

  explicit CurlFtpExchange(const Setup& setup);
  ~CurlFtpExchange();
  CurlFtpExchange(const CurlFtpExchange&) = delete;
  CurlFtpExchange& operator=(const CurlFtpExchange&) = delete;

  /// Transfers no data: logs in, changes into the folder, sends the commands of `SendAfterwards`.
  void TransferNothing();
  /// Asks for the names of the folder instead of a file.
  void ListNames();
  /// Hands over what comes; the sink may raise a run-time error, which ends the transfer and becomes its
  /// result.
  void Receive(std::function<void(std::string_view)> sink);
  /// Stores the file's bytes.
  void SendFrom(platform::InputFile& file);
  /// Commands sent after a transfer that went well; one that the server refuses makes the whole a failure.
  void SendAfterwards(const std::vector<std::string>& commands);
  /// Opens a connection of its own, because the present one is in an unknown state.
  void OnNewConnection();
  /// Closes the connection with QUIT at the end; opens none for that.
  void CloseAtEnd();

  /// Runs the request. Blocks, within the limits; gives way when the process is asked to end.
  Outcome Perform();

 private:
  static std::size_t TakeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t TakeBody(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t GiveBody(char* buffer, std::size_t size, std::size_t count, void* self);
  bool MustStop(std::int64_t bytes);
  FtpResult ResultOf(int code, int reply, long socket_error_before) const;
  bool IsPartial() const;

  void* handle_;
  const platform::Clock& clock_;
  const platform::EventLoop& loop_;
  const FtpLimits& limits_;

  std::chrono::milliseconds silence_limit_;
  std::chrono::steady_clock::time_point last_sign_;
  std::int64_t bytes_seen_ = 0;
  std::int64_t lines_ = 0;
  std::int64_t lines_seen_ = 0;
  bool silent_ = false;

  FtpReply reply_;
  std::function<void(std::string_view)> sink_;
  std::int64_t received_ = 0;
  platform::InputFile* source_ = nullptr;
  std::int64_t sent_ = 0;
  std::optional<platform::RuntimeError> local_fault_;
  std::unique_ptr<curl_slist, void (*)(curl_slist*)> afterwards_;
  std::unique_ptr<char[]> error_text_;
};

}  // namespace vlmr::transfer
