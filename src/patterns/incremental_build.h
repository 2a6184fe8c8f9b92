#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/file_helpers.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "index/index_readers.h"
#include "index/service_fetch.h"
#include "patterns/merge_entries.h"
#include "patterns/patch_job.h"
#include "patterns/pattern_store.h"
#include "transfer/zip.h"

namespace vlmr::patterns {

/// Builds a newer pattern from a fetched increment, packs it as the mirror's full archive and publishes the
/// increments beside it, so that a mirror that is one version behind fetches kilobytes.
class IncrementalBuild {
 public:
  /// All references must outlive this object.
  IncrementalBuild(const core::Runtime& runtime, const index::IndexReaders& readers,
                   const index::ServiceFetch& fetch, transfer::ZIP& zip, core::Notifier& notifier,
                   PatternStore& store, PatchJob& job);

  /// True when the new pattern was packed as the mirror's archive. Versions held and offered are compared as
  /// text, the version of an increment as a number (the last that matches is used). Raises nothing.
  bool PatchVsapI();

 private:
  std::string FindIncrement(const std::string& my_pattern);
  bool IsStaged(const std::string& increment);
  bool ZipNewPattern(const std::string& new_pattern);
  void KillArchive();
  void KillStaged(const std::string& version);
  void PublishIncrements();
  void PublishIncrement(const std::string& index_path);

  const core::Runtime& runtime_;
  const index::IndexReaders& readers_;
  const index::ServiceFetch& fetch_;
  transfer::ZIP& zip_;
  PatternStore& store_;
  PatchJob& job_;
  MergeEntries entries_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::patterns
