#include "support/fake_downloader.h"

#include <algorithm>

#include "core/text.h"

namespace vlmr::test {

std::vector<std::string> FakeDownloader::Urls() const {
  std::vector<std::string> urls;
  for (const Request& request : requests) urls.push_back(request.url);
  return urls;
}

int FakeDownloader::RequestsOf(std::string_view url) const {
  return static_cast<int>(
      std::count_if(requests.begin(), requests.end(), [&](const Request& r) { return r.url == url; }));
}

bool FakeDownloader::DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) {
  local_file = core::ReplaceAll(local_file, R"(\\)", R"(\)");
  requests.push_back({url, local_file, protocol});
  files_.Remove(local_file);
  if (on_request) on_request(url);
  if (transfers_nothing) return true;
  const auto found = served_.find(url);
  if (found == served_.end()) return false;
  files_.Put(local_file, found->second);
  return true;
}

}  // namespace vlmr::test
