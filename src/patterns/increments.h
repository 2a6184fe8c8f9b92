#pragma once

#include <string>

#include "core/runtime.h"
#include "index/index_readers.h"
#include "index/service_fetch.h"
#include "patterns/merge_entries.h"
#include "patterns/pattern_store.h"

namespace vlmr::patterns {

/// Fetches increments into the staging tree, at their index path. Neither procedure raises.
class Increments {
 public:
  /// All references must outlive this object.
  Increments(const core::Runtime& runtime, const index::IndexReaders& readers,
             const index::ServiceFetch& fetch, PatternStore& store)
      : runtime_(runtime), readers_(readers), fetch_(fetch), store_(store), entries_(runtime) {}

  /// Fetches every increment that the index lists, unless a file of the stated size is staged already. The
  /// size of each fetched one is recorded in `\Downloaded.siz`.
  void GetAllIncrement();
  /// Fetches the one increment that applies to the pattern held: the last entry whose version equals it as
  /// text. True when it was found and downloaded.
  bool GetSingleIncrement();

 private:
  void GetIncrement(const index::Increment& row);
  void Download(const std::string& index_path, const std::string& local_file);

  const core::Runtime& runtime_;
  const index::IndexReaders& readers_;
  const index::ServiceFetch& fetch_;
  PatternStore& store_;
  MergeEntries entries_;
};

}  // namespace vlmr::patterns
