#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlmr::transfer {

/// What the header lines of a response tell (RFC 9112). Interim answers and a proxy's answer to CONNECT come
/// first; the last status line counts.
class HttpHead {
 public:
  /// The header bytes of one exchange, all its answers together; nobody who means well sends more.
  static constexpr std::size_t kMostBytes = std::size_t{256} << 10;

  /// Forgets everything: a new exchange begins.
  void Reset() { *this = HttpHead(); }
  /// Takes one line with its end. False when the header has become larger than `kMostBytes`.
  bool TakeLine(std::string_view line);

  /// The status, 0 before any.
  int Status() const { return status_; }
  /// 2xx.
  bool IsSuccess() const { return status_ >= 200 && status_ < 300; }
  /// One of the statuses that send a reader of the file to another address.
  bool IsRedirect() const;
  /// Status and reason as the log shows them, "404 Not Found".
  std::string Text() const;
  /// The empty line behind the last status line has come.
  bool IsComplete() const { return is_complete_; }
  /// Why what follows a header of success cannot be taken for the whole file: the status promises no file or
  /// a part of one (204, 205, 206), the header ends before its end, the length is told in two ways or is
  /// none, or the body is compressed, which nobody asked for. Empty when nothing speaks against it.
  std::string Refusal() const;
  /// Bytes so far.
  std::size_t Bytes() const { return bytes_; }

 private:
  void TakeStatusLine(std::string_view line);
  void TakeField(std::string_view name, std::string_view value);
  void TakeLength(std::string_view text);

  int status_ = 0;
  std::string reason_;
  bool is_complete_ = false;
  std::optional<std::int64_t> length_;
  bool has_unusable_length_ = false;
  std::string encoding_;  ///< the first compression that was named
  std::size_t bytes_ = 0;
};

}  // namespace vlmr::transfer
