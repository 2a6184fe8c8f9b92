#include "transfer/http_head.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "core/number.h"
#include "core/text.h"
#include "transfer/printable.h"

namespace vlmr::transfer {

namespace {

/// Splits at commas and takes the blanks around the pieces away.
template <class Use>
void ForEachElement(std::string_view list, Use use) {
  for (const std::string& element : core::Split(list, ',')) use(core::TrimBlanksAndTabs(element));
}

bool IsCompression(std::string_view name) {
  constexpr std::array<std::string_view, 7> kNames{"gzip",       "x-gzip", "deflate", "compress",
                                                   "x-compress", "br",     "zstd"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](std::string_view known) { return core::EqualsIgnoringCase(name, known); });
}

}  // namespace

bool HttpHead::TakeLine(std::string_view line) {
  bytes_ += line.size();
  if (bytes_ > kMostBytes) return false;
  if (line.starts_with("HTTP/")) {
    TakeStatusLine(line);
    return true;
  }
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  if (line.empty()) {
    is_complete_ = true;
  } else if (const std::size_t colon = line.find(':'); !is_complete_ && colon != std::string_view::npos) {
    // What comes behind the header is the trailer of a body in chunks; it tells nothing about the body.
    TakeField(line.substr(0, colon), line.substr(colon + 1));
  }
  return true;
}

void HttpHead::TakeStatusLine(std::string_view line) {
  line.remove_prefix(std::min(line.find(' '), line.size()));
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  int status = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), status);
  if (error != std::errc() || status < 100 || status > 999) return;
  const std::size_t bytes = bytes_;
  Reset();
  bytes_ = bytes;
  status_ = status;
  reason_ = PrintableLine(line.substr(static_cast<std::size_t>(end - line.data())));
}

void HttpHead::TakeField(std::string_view name, std::string_view value) {
  if (core::EqualsIgnoringCase(name, "Content-Length")) {
    ForEachElement(value, [this](std::string_view text) { TakeLength(text); });
  } else if (core::EqualsIgnoringCase(name, "Content-Encoding")) {
    ForEachElement(value, [this](std::string_view text) {
      if (encoding_.empty() && IsCompression(text)) encoding_ = text;
    });
  }
}

void HttpHead::TakeLength(std::string_view text) {
  std::int64_t length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  const bool is_number = error == std::errc() && end == text.data() + text.size() && length >= 0;
  if (!is_number || (length_ && *length_ != length)) has_unusable_length_ = true;
  length_ = length;
}

std::string HttpHead::Refusal() const {
  const auto because = [this](const std::string& reason) { return Text() + ", refused: " + reason; };
  if (status_ == 204 || status_ == 205) return because("no file is sent");
  if (status_ == 206) return because("a part was not asked for");
  if (!is_complete_) return because("the header is cut off");
  if (has_unusable_length_) return because("the length is not told, or told in two ways");
  if (!encoding_.empty())
    return because("the body is compressed by " + encoding_ + ", which was not asked for");
  return {};
}

bool HttpHead::IsRedirect() const {
  return status_ == 301 || status_ == 302 || status_ == 303 || status_ == 307 || status_ == 308;
}

std::string HttpHead::Text() const {
  const std::string number = core::IntegerText(status_);
  return reason_.empty() ? number : number + " " + reason_;
}

}  // namespace vlmr::transfer
