#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlmr::transfer {

/// Gathers the words of a server's last reply from the lines of a control connection (RFC 959, 4.2).
class FtpReply {
 public:
  /// What is kept of one reply, in bytes: it becomes part of one log line.
  static constexpr std::size_t kLongestWords = 400;

  /// Takes one line, with or without its end.
  void TakeLine(std::string_view line);

  /// The text of the last reply without its codes, the lines of one reply joined by a blank; control
  /// characters have become blanks.
  const std::string& Words() const { return words_; }
  /// Whether a transfer was announced (a reply 1xx).
  bool TransferStarted() const { return transfer_started_; }
  /// What the server last told as the length of a file (213, RFC 3659, 4); empty when it told no number.
  std::optional<std::int64_t> ToldLength() const { return told_length_; }

 private:
  std::string words_;
  bool complete_ = true;
  bool transfer_started_ = false;
  std::optional<std::int64_t> told_length_;
};

}  // namespace vlmr::transfer
