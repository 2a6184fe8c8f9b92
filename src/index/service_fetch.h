#pragma once

#include <string>

#include "core/file_helpers.h"
#include "core/runtime.h"
#include "transfer/downloader.h"

namespace vlmr::index {

/// The road of every file that an index names: the name is checked, fetched into the staging tree, and moved
/// into the mirror. What is unsafe or empty is refused before any request and counts as a failed download;
/// the caller's own words follow.
class ServiceFetch {
 public:
  /// All references must outlive this object.
  ServiceFetch(const core::Runtime& runtime, transfer::Downloader& downloader, core::FileHelpers& helpers);

  /// Fetches a path of the index from the main source into the staging tree. True when the download
  /// succeeded.
  bool Fetch(const std::string& index_path) const;
  /// The same into `local_file`.
  bool Fetch(const std::string& index_path, std::string local_file) const;
  /// The same from another base address.
  bool FetchFrom(const std::string& base, const std::string& index_path, std::string local_file) const;
  /// Moves a fetched file of the index to its place in the mirror, whose missing folders are made silently. A
  /// path that is empty or unsafe moves nothing.
  void Publish(const std::string& index_path) const;
  /// Where a path of the index lies in the staging tree, for the log whatever the path; nothing is done there
  /// with one that is not usable.
  std::string Staged(const std::string& index_path) const;
  /// The same in the mirror.
  std::string Mirrored(const std::string& index_path) const;
  /// Address of a path below the main source, as the log shows it.
  std::string AddressOf(const std::string& index_path) const;
  /// The on-disk name of the mirror's file for a path of the index; empty when there is none, and for a path
  /// that is empty or unsafe, which is never looked up. Logs nothing.
  std::string FindMirrored(const std::string& index_path) const;
  /// Whether a path of the index may become a local path; logs a refusal of a path that is not empty once per
  /// call.
  bool IsUsable(const std::string& index_path) const;

 private:
  const core::Runtime& runtime_;
  transfer::Downloader& downloader_;
  core::FileHelpers& helpers_;
};

}  // namespace vlmr::index
