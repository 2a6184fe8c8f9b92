#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/memory_file_system.h"
#include "transfer/downloader.h"

namespace vlmr::test {

/// An update service without a network: serves what a test lays ready by address, records every request, and
/// fails for every other address as a server does that answers 404. As the real one it rewrites the local
/// name, makes missing folders, and has deleted the old local file when the new one does not come.
///
/// Example:
///     FakeDownloader downloader{world.files};
///     downloader.Serve("http://service/au/Pattern/vsapi.zip", "bytes");
class FakeDownloader : public transfer::Downloader {
 public:
  /// One request.
  struct Request {
    std::string url;
    std::string local_file;  ///< with single backslashes
    std::int16_t protocol = transfer::kProtocolHttp;
    bool operator==(const Request&) const = default;
  };

  /// `files` must outlive this object.
  explicit FakeDownloader(MemoryFileSystem& files) : files_(files) {}

  /// From now on the address answers with these bytes.
  void Serve(std::string url, std::string bytes) { served_[std::move(url)] = std::move(bytes); }
  /// From now on the address fails.
  void Fail(const std::string& url) { served_.erase(url); }
  /// The addresses of all requests, in order.
  std::vector<std::string> Urls() const;
  /// How often an address was requested.
  int RequestsOf(std::string_view url) const;

  std::vector<Request> requests;                           ///< every request, also those that failed
  std::function<void(const std::string& url)> on_request;  ///< runs before a request is answered
  bool transfers_nothing = false;  ///< true without a file, as with a proxy mode that is none

  bool DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) override;

 private:
  MemoryFileSystem& files_;
  std::map<std::string, std::string, std::less<>> served_;
};

}  // namespace vlmr::test
