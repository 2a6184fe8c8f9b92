#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/file_system.h"

namespace vlmr::transfer {

/// Takes the body of one response to a temporary file beside its target, so that the target appears whole or
/// not at all. The file is made with the first bytes: an exchange that fails before touches no disk.
class HttpBody {
 public:
  explicit HttpBody(platform::FileSystem& files) : files_(files) {}

  /// A new body for `path`, of at most `max_bytes` and a line for every 16 of them (0 = any length). What was
  /// there before is dropped.
  void Open(std::string path, std::int64_t max_bytes);
  /// Takes bytes. Raises as `StageMakingFolders` and `StagedFile::Write`; libcurl's 63 for a body that is too
  /// long or has too many lines.
  void Add(std::string_view bytes);
  /// Makes the file appear, an empty one when no bytes came. Raises likewise and as `StagedFile::Commit`.
  void Commit();
  /// Drops what was taken, and the temporary file with it. Clears up after an error, too.
  void Drop();

 private:
  void CountLines(std::string_view bytes);
  void Flush();
  void Forget();

  platform::FileSystem& files_;
  std::string path_;
  std::int64_t max_bytes_ = 0;
  std::int64_t length_ = 0;
  std::int64_t line_feeds_ = 0;
  std::int64_t carriage_returns_ = 0;
  std::string gathered_;
  std::unique_ptr<platform::StagedFile> staged_;
};

}  // namespace vlmr::transfer
