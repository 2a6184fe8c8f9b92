#include "transfer/http_body.h"

#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "core/number.h"
#include "platform/runtime_error.h"
#include "transfer/stage_file.h"

namespace vlmr::transfer {

namespace {

// libcurl hands out at most 16 KB at a time; fewer, larger writes take large files faster.
constexpr std::size_t kGathered = std::size_t{128} << 10;

// What a reader needs for a line beside its bytes: a text of nothing but line ends must not need many times
// the memory of another one of the same length.
constexpr std::int64_t kBytesOfALine = 16;

}  // namespace

void HttpBody::Open(std::string path, std::int64_t max_bytes) {
  Drop();
  path_ = std::move(path);
  max_bytes_ = max_bytes;
}

void HttpBody::Add(std::string_view bytes) {
  length_ += static_cast<std::int64_t>(bytes.size());
  if (max_bytes_ > 0 && length_ > max_bytes_) {
    throw platform::RuntimeError(CURLE_FILESIZE_EXCEEDED, curl_easy_strerror(CURLE_FILESIZE_EXCEEDED));
  }
  CountLines(bytes);
  if (staged_ == nullptr) staged_ = StageMakingFolders(files_, path_);
  gathered_ += bytes;
  if (gathered_.size() >= kGathered) Flush();
}

void HttpBody::CountLines(std::string_view bytes) {
  if (max_bytes_ == 0) return;
  line_feeds_ += std::count(bytes.begin(), bytes.end(), '\n');
  carriage_returns_ += std::count(bytes.begin(), bytes.end(), '\r');
  const std::int64_t most = max_bytes_ / kBytesOfALine;
  if (std::max(line_feeds_, carriage_returns_) <= most) return;
  throw platform::RuntimeError(CURLE_FILESIZE_EXCEEDED, "More than " + core::IntegerText(most) + " lines");
}

void HttpBody::Flush() {
  staged_->Write(gathered_);
  gathered_.clear();
}

void HttpBody::Commit() {
  if (staged_ == nullptr) staged_ = StageMakingFolders(files_, path_);
  if (!gathered_.empty()) Flush();
  const std::unique_ptr<platform::StagedFile> staged = std::move(staged_);
  Forget();
  staged->Commit();
}

void HttpBody::Drop() {
  staged_.reset();
  gathered_.clear();
  Forget();
}

void HttpBody::Forget() { length_ = line_feeds_ = carriage_returns_ = 0; }

}  // namespace vlmr::transfer
