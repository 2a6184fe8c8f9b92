#include "transfer/http_head.h"

#include <charconv>

#include "core/number.h"
#include "transfer/printable.h"

namespace vlmr::transfer {

bool HttpHead::TakeLine(std::string_view line) {
  bytes_ += line.size();
  if (bytes_ > kMostBytes) return false;
  if (!line.starts_with("HTTP/")) return true;
  line.remove_prefix(std::min(line.find(' '), line.size()));
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  int status = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), status);
  if (error != std::errc() || status < 100 || status > 999) return true;
  status_ = status;
  reason_ = PrintableLine(line.substr(static_cast<std::size_t>(end - line.data())));
  return true;
}

bool HttpHead::IsRedirect() const {
  return status_ == 301 || status_ == 302 || status_ == 303 || status_ == 307 || status_ == 308;
}

std::string HttpHead::Text() const {
  const std::string number = core::IntegerText(status_);
  return reason_.empty() ? number : number + " " + reason_;
}

}  // namespace vlmr::transfer
