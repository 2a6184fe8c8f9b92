#include "transfer/ftp_reply.h"

#include <algorithm>
#include <charconv>

#include "transfer/printable.h"

namespace vlmr::transfer {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool HasCode(std::string_view line) {
  return line.size() >= 3 && std::all_of(line.begin(), line.begin() + 3, IsDigit) &&
         (line.size() == 3 || line[3] == ' ' || line[3] == '-');
}

std::optional<std::int64_t> LengthIn(std::string_view text) {
  std::int64_t length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return length;
}

}  // namespace

void FtpReply::TakeLine(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  if (complete_) words_.clear();
  // The lines between the first and the last of a reply may lack the code.
  const bool has_code = HasCode(line);
  complete_ = has_code && (line.size() == 3 || line[3] == ' ');
  transfer_started_ = transfer_started_ || (complete_ && line[0] == '1');
  if (complete_ && line.starts_with("213 ")) told_length_ = LengthIn(line.substr(4));
  const std::string_view bare = has_code ? line.substr(std::min<std::size_t>(4, line.size())) : line;
  const std::string text = PrintableLine(bare);
  if (!words_.empty() && !text.empty()) words_ += ' ';
  words_ += text;
  if (words_.size() > kLongestWords) words_.resize(kLongestWords);
}

}  // namespace vlmr::transfer
