#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "index/engines_reduce.h"
#include "index/index_readers.h"
#include "index/index_writer.h"
#include "index/products.h"
#include "index/scan_engines.h"
#include "index/service_fetch.h"
#include "support/fake_downloader.h"
#include "support/test_world.h"

namespace vlmr::test {

/// Counts how often a new archive was announced, and tells the test.
class RecordingNeeds : public index::IndexWriter::Needs {
 public:
  explicit RecordingNeeds(World& world) : world_(world) {}
  void RefreshPatternFolder() override {
    ++refreshes;
    world_.log.WriteLog("JOB RefreshPatternFolder");
  }
  int refreshes = 0;

 private:
  World& world_;
};

/// A world with both trees, an update service at "http://service/au", and everything of the index floor.
struct IndexWorld : World {
  IndexWorld() {
    SetSetting("SOURCES", "ActiveUpdateMaster", "http://service/au");
    SetSetting("SOURCES", "ActiveUpdateEPS", "http://eps/au");
    files.PutFolder(R"(\ActiveUpdate\Pattern)");
    files.PutFolder(R"(\TempDownload\ActiveUpdate\Pattern)");
  }

  /// Puts the service's index as fetched.
  void Fresh(std::string_view text) { files.Put(R"(\TempDownload\ActiveUpdate\server.ini)", text); }
  /// Puts the mirror's index.
  void Stored(std::string_view text) { files.Put(R"(\ActiveUpdate\server.ini)", text); }
  std::string FreshValue(std::string_view section, std::string_view key) const {
    return GetIni(R"(\TempDownload\ActiveUpdate\server.ini)", section, key);
  }
  std::string StoredValue(std::string_view section, std::string_view key) const {
    return GetIni(R"(\ActiveUpdate\server.ini)", section, key);
  }
  std::string StoredText() const { return files.Text(R"(\ActiveUpdate\server.ini)"); }
  /// Lets the service offer a file of its index.
  void Offer(std::string_view index_path, std::string bytes) {
    downloader.Serve("http://service/au/" + std::string(index_path), std::move(bytes));
  }

  FakeDownloader downloader{files};
  RecordingNeeds needs{*this};
  index::ServiceFetch fetch{runtime, downloader, helpers};
  index::IndexReaders readers{runtime};
  index::IndexWriter writer{runtime, readers, helpers, needs};
  index::ScanEngines engines{runtime, fetch, notifier};
  index::EnginesReduce reduced_engines{runtime, fetch, notifier};
  index::Products products{runtime, fetch};
};

}  // namespace vlmr::test
