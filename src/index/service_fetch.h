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

  /// Fetches a path of the index from the main source into `local_file`. True when the download succeeded.
  bool Fetch(const std::string& index_path, std::string local_file) const;
  /// The same from another base address.
  bool FetchFrom(const std::string& base, const std::string& index_path, std::string local_file) const;
  /// Moves a fetched file to its place in the mirror, whose missing folders are made silently.
  void Publish(const std::string& staged_file, const std::string& mirror_file) const;
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
