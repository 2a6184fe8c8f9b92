#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "index/index_readers.h"
#include "index/service_fetch.h"
#include "patterns/housekeeping.h"
#include "patterns/patch_job.h"
#include "patterns/pattern_store.h"
#include "transfer/zip.h"

namespace vlmr::patterns {

/// The mode that keeps only the virus pattern current, with the least traffic: one increment, and the full
/// archive only when that fails. No procedure here raises.
class ReducedDownload {
 public:
  /// All references must outlive this object.
  ReducedDownload(const core::Runtime& runtime, const index::IndexReaders& readers,
                  const index::ServiceFetch& fetch, transfer::ZIP& zip, core::Notifier& notifier,
                  PatternStore& store, PatchJob& job, Housekeeping& housekeeping);

  /// Brings archive and index of the mirror up to date; all outcomes are logged and notified. Versions are
  /// compared as text, so a held "99" is not followed by "100".
  void DownloadOnlyFirstPattern();
  /// Fetches one increment, named by its index path, into the staging tree. True when it was downloaded.
  bool GET_INCREMENT(const std::string& url);
  /// Fetches the full archive, unpacks it into `\ActiveUpdate\Source`, publishes it and writes its keys. True
  /// when it was downloaded.
  bool GET_BIG_VSAPI();

 private:
  /// What a killed run began: a pattern that the patch program made but nobody published would count as held
  /// for ever, so it is deleted; for an archive that is published the rest is done. `\Reduced.pending` holds
  /// its version from before the first change until the index is written.
  void MendInterrupted();
  std::string MethodOf(const std::string& version) const;
  std::string PendingMark() const;
  bool TestServerIni();
  /// Archive and index; false when the index could not be written.
  bool Refresh(const std::string& stored, const std::string& web);
  bool BuildFromIncrement(const std::string& stored, const std::string& web);
  bool FinishWith(const std::string& web, const std::string& method);
  bool WriteMirrorIndex(const std::string& version, const std::string& archive, const std::string& procedure);
  void NotifyError(const std::string& text);

  const core::Runtime& runtime_;
  const index::IndexReaders& readers_;
  const index::ServiceFetch& fetch_;
  transfer::ZIP& zip_;
  core::Notifier& notifier_;
  PatternStore& store_;
  PatchJob& job_;
  Housekeeping& housekeeping_;
};

}  // namespace vlmr::patterns
