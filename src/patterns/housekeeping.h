#pragma once

#include <string>

#include "core/runtime.h"
#include "index/service_fetch.h"

namespace vlmr::patterns {

/// The two small jobs that follow a pattern update. Neither raises.
class Housekeeping {
 public:
  /// What is needed from the virus list report.
  class VirusListReader {
   public:
    virtual ~VirusListReader() = default;
    /// Reports the new viruses of a "whatsnew.txt" on disk and returns their number as text, empty when the
    /// file lists none. Must not fetch that file: the report itself calls `DownloadWhatsNew`.
    virtual std::string ReadVirusListFile(const std::string& whats_new_path) = 0;
  };

  /// All references must outlive this object.
  Housekeeping(const core::Runtime& runtime, const index::ServiceFetch& fetch, VirusListReader& virus_list)
      : runtime_(runtime), fetch_(fetch), virus_list_(virus_list) {}

  /// Deletes every file of the published pattern folder but archives (the last three letters are "zip" in any
  /// case) and the one named exactly `keep`. Folders and files that cannot be deleted stay.
  void DeleteOldIncrementFiles(const std::string& keep);
  /// Fetches the service's list of newly covered viruses into the published pattern folder and reports it.
  void DownloadWhatsNew();

 private:
  const core::Runtime& runtime_;
  const index::ServiceFetch& fetch_;
  VirusListReader& virus_list_;
};

}  // namespace vlmr::patterns
