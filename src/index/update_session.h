#pragma once

#include <string>

#include "core/file_helpers.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "index/index_readers.h"
#include "index/index_writer.h"
#include "index/products.h"
#include "index/scan_engines.h"
#include "index/service_fetch.h"

namespace vlmr::index {

/// One mirroring pass against the update service.
class UpdateSession {
 public:
  /// The jobs of a pass that live on higher floors. None raises but the auxiliary patterns.
  class Jobs {
   public:
    virtual ~Jobs() = default;
    virtual void DownloadOnlyFirstPattern() = 0;
    virtual void GetAllIncrement() = 0;
    /// True when the increment was found and downloaded.
    virtual bool GetSingleIncrement() = 0;
    /// True when a new archive was built.
    virtual bool PatchVsapI() = 0;
    virtual void DownloadWhatsNew() = 0;
    virtual void DeleteOldIncrementFiles(const std::string& keep) = 0;
    virtual void ReadPatternVirusList() = 0;
    /// True when the pattern was updated. Raises 5, 13, 53.
    virtual bool GetAuxiliaryPattern(AuxiliaryPattern pattern) = 0;
  };

  /// All references must outlive this object.
  UpdateSession(const core::Runtime& runtime, transfer::Downloader& downloader, IndexReaders& readers,
                IndexWriter& writer, ScanEngines& engines, Products& products, core::Notifier& notifier,
                Jobs& jobs);

  /// The pass itself; all it decides comes from the settings and the two indexes. Raises nothing.
  void StartActiveUpdate();
};

}  // namespace vlmr::index
