#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/folder_tree.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "index/engines_reduce.h"
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

  /// The parts of a pass on this floor.
  struct Parts {
    const ServiceFetch& fetch;
    const IndexReaders& readers;
    IndexWriter& writer;
    ScanEngines& engines;
    EnginesReduce& reduced_engines;
    Products& products;
  };

  /// All references, also those in `parts`, must outlive this object.
  UpdateSession(const core::Runtime& runtime, const Parts& parts, core::Notifier& notifier, Jobs& jobs);

  /// The pass itself; all it decides comes from the settings and the two indexes. Raises nothing.
  void StartActiveUpdate();

 private:
  /// Pattern versions as texts; compared as single-precision numbers.
  struct Versions {
    std::string stored;
    std::string fresh;
  };

  void LogProgramVersion() const;
  void CheckFolderTrees() const;
  void DeleteMailFile() const;
  bool IsEnabled() const;
  bool FetchIndex() const;

  bool RunReducedModes();
  bool RunServerProtectMode(bool reduced_done);
  bool RunOfficeScanMode(bool reduced_done);
  bool RunSmexMode(bool reduced_done);

  Versions ReadVersions() const;
  bool IsPatternNeeded(const Versions& versions) const;
  void RefreshPattern();
  bool BuildPattern();
  void FetchFullArchive() const;
  void PublishPattern();
  void NoteNewPattern(const Versions& versions);

  void MirrorEnginesAndProducts();
  void MirrorAuxiliaryPatterns();
  void QueueMails();

  bool IsOn(core::Setting setting) const;
  bool IsGreater(const std::string& version, const std::string& than) const;
  std::string VersionOf(const std::string& index) const;

  const core::Runtime& runtime_;
  const Parts parts_;
  core::Notifier& notifier_;
  Jobs& jobs_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::index
