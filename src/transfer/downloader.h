#pragma once

#include <cstdint>
#include <string>

namespace vlmr::transfer {

/// The protocol argument of `DownloadFiles`.
inline constexpr std::int16_t kProtocolHttp = -1;
inline constexpr std::int16_t kProtocolFtp = 0;

/// The single operation through which every HTTP fetch passes, as other floors see it.
class Downloader {
 public:
  virtual ~Downloader() = default;
  /// Fetches `url` into `local_file`, which is rewritten with doubled backslashes made single. True when the
  /// transfer is held to have succeeded; callers also look whether the file is there. Missing folders of the
  /// local file are made. Raises nothing.
  virtual bool DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) = 0;
};

}  // namespace vlmr::transfer
