#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "index/index_readers.h"
#include "index/service_fetch.h"
#include "patterns/auxiliary_patterns.h"
#include "patterns/housekeeping.h"
#include "patterns/incremental_build.h"
#include "patterns/increments.h"
#include "patterns/patch_job.h"
#include "patterns/pattern_store.h"
#include "patterns/reduced_download.h"
#include "platform/runtime_error.h"
#include "support/fake_downloader.h"
#include "support/test_world.h"
#include "transfer/zip.h"

namespace vlmr::patterns {

/// A mirror with both folder trees, a service to fetch from and a patch program to script. Paths below are
/// given as in the system: "Pattern/v_100.101" on the service, R"(\Pattern\lpt$vpn.100)" on disk.
class PatternWorld : public test::World {
 public:
  static constexpr const char* kMaster = "http://main.example/au";
  static constexpr const char* kEps = "http://second.example/au";

  /// Counts nothing by itself: answers what the test lays ready.
  class VirusCount : public Housekeeping::VirusListReader {
   public:
    std::string ReadVirusListFile(const std::string& whats_new_path) override {
      paths.push_back(whats_new_path);
      if (error != 0) {
        throw platform::RuntimeError(error);
      }
      return count;
    }
    std::string count = "3";
    int error = 0;
    std::vector<std::string> paths;
  };

  PatternWorld() {
    SetSetting("SOURCES", "ActiveUpdateMaster", kMaster);
    SetSetting("SOURCES", "ActiveUpdateEPS", kEps);
    files.PutFolder(R"(\ActiveUpdate\Pattern)");
    files.PutFolder(R"(\TempDownload\ActiveUpdate\Pattern)");
  }

  /// Makes the fresh index: its [PATTERN] section holds these keys and nothing else.
  void PutFreshIndex(std::initializer_list<std::pair<std::string, std::string>> keys) {
    std::string text = "[PATTERN]\r\n";
    for (const auto& [key, value] : keys) {
      text += key + "=" + value + "\r\n";
    }
    files.Put(R"(\TempDownload\ActiveUpdate\server.ini)", text);
  }
  std::string StoredKey(const std::string& key) const {
    return GetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", key);
  }

  /// The bytes of an archive that holds one pattern.
  std::string ArchiveOf(const std::string& version, const std::string& bytes = "pattern") {
    UnloggedScope scope(*this);
    files.Put(R"(\packing\lpt$vpn.)" + version, bytes);
    zip.ZipFiles(At(R"(\packing)"), "packed.zip", At(R"(\packing)"), "lpt$vpn." + version);
    std::string archive = files.Text(R"(\packing\packed.zip)");
    files.Remove(R"(\packing)");
    return archive;
  }
  void PutStoredArchive(const std::string& version) {
    files.Put(R"(\ActiveUpdate\Pattern\vsapi.zip)", ArchiveOf(version));
  }
  /// Name and contents of the files in the mirror's archive, as "name=contents".
  std::vector<std::string> StoredArchiveEntries() {
    UnloggedScope scope(*this);
    files.PutFolder(R"(\unpacking)");
    zip.DezipFiles(At(R"(\ActiveUpdate\Pattern\vsapi.zip)"), At(R"(\unpacking)"), "", "");
    std::vector<std::string> entries;
    for (const std::string& name : files.List(At(R"(\unpacking\*)"))) {
      entries.push_back(name + "=" + files.Text(R"(\unpacking\)" + name));
    }
    files.Remove(R"(\unpacking)");
    return entries;
  }

  /// Serves a file of the main source.
  void Serve(const std::string& path, const std::string& bytes) {
    downloader.Serve(std::string(kMaster) + "/" + path, bytes);
  }
  /// The paths requested from the main source; those of the second one keep their whole address.
  std::vector<std::string> Requests() const {
    std::vector<std::string> paths_requested;
    const std::string base = std::string(kMaster) + "/";
    for (const std::string& url : downloader.Urls()) {
      paths_requested.push_back(url.starts_with(base) ? url.substr(base.size()) : url);
    }
    return paths_requested;
  }

  /// What the patch program does with the pattern that it replaces, and where it puts the new one.
  enum class Patch { kMovesOldToBackup, kLeavesOld, kWritesIntoSource };
  /// Makes `\Patch.exe` a program that obeys its job file: "old+increment" becomes the new pattern.
  void ScriptPatchProgram(Patch kind = Patch::kMovesOldToBackup) {
    processes.Script(
        "Patch.exe", {.on_start = [this, kind] {
          const auto wanted = [this](const char* key) { return GetIni(R"(\Patch.ini)", "MAIN", key); };
          const std::string old = wanted("Destination") + R"(\lpt$vpn.)" + wanted("PatternFrom");
          const std::string bytes =
              files.Text(old) + "+" + files.Text(wanted("Source") + "\\" + wanted("Pattern"));
          if (kind != Patch::kLeavesOld) {
            files.Put(wanted("Backup") + R"(\lpt$vpn.)" + wanted("PatternFrom"), files.Text(old));
            files.Remove(old);
          }
          const std::string folder = wanted(kind == Patch::kWritesIntoSource ? "Source" : "Destination");
          files.Put(folder + R"(\lpt$vpn.)" + wanted("PatternTo"), bytes);
        }});
  }

  bool HasFile(const std::string& below) const { return files.Has(below); }
  std::vector<std::string> WorkingFolder() { return files.List(At(R"(\Pattern\*)")); }
  std::vector<std::string> PublishedFolder() { return files.List(At(R"(\ActiveUpdate\Pattern\*)")); }

  transfer::ZIP zip{runtime};
  index::IndexReaders readers{runtime};
  test::FakeDownloader downloader{files};
  index::ServiceFetch fetch{runtime, downloader, helpers};
  VirusCount viruses;
  PatternStore store{runtime, zip};
  PatchJob job{runtime, helpers};
  Increments increments{runtime, readers, fetch, store};
  IncrementalBuild build{runtime, readers, fetch, zip, notifier, store, job};
  Housekeeping housekeeping{runtime, fetch, viruses};
  ReducedDownload reduced{runtime, readers, fetch, zip, notifier, store, job, housekeeping};
  AuxiliaryPatterns auxiliary{runtime, fetch};

 private:
  /// Packing and unpacking for a test's own needs leaves the log as it was.
  class UnloggedScope {
   public:
    explicit UnloggedScope(PatternWorld& world)
        : world_(world), log_(world.files.Text(R"(\VlMR.log)")), had_log_(world.files.Has(R"(\VlMR.log)")) {}
    ~UnloggedScope() {
      world_.ClearLog();
      if (had_log_) {
        world_.files.Put(R"(\VlMR.log)", log_);
      }
    }
    UnloggedScope(const UnloggedScope&) = delete;
    UnloggedScope& operator=(const UnloggedScope&) = delete;

   private:
    PatternWorld& world_;
    std::string log_;
    bool had_log_;
  };
};

using Lines = std::vector<std::string>;
using Names = std::vector<std::string>;

}  // namespace vlmr::patterns
