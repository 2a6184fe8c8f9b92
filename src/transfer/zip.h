#pragma once

#include <cstdint>
#include <string>

#include "core/runtime.h"

namespace vlmr::transfer {

/// The only place that touches archives. Failures reach the log only; a run-time error carries libzip's
/// number and text, or that of the file operation that failed.
class ZIP {
 public:
  /// What an archive may hold at most; more is refused with a line in the log before anything is unpacked. So
  /// is an archive that unpacks to more than the space that is free where its target folder lies (61).
  struct Limits {
    std::int64_t entries = 100'000;
    std::int64_t unpacked_bytes = std::int64_t{4}
                                  << 30;  ///< all entries together, as declared and as they are
    std::int64_t directory_bytes = std::int64_t{16} << 20;  ///< of the archive's directory
  };

  /// `runtime` must outlive this object.
  explicit ZIP(const core::Runtime& runtime) : ZIP(runtime, Limits()) {}
  ZIP(const core::Runtime& runtime, Limits limits) : runtime_(runtime), limits_(limits) {}

  /// Extracts every entry of an archive into a folder (made when missing), with its stored sub-folders, over
  /// existing files, each of which appears whole. True when at least one file was written; folder entries do
  /// not count. No entry leaves the folder. The two further texts have no meaning.
  bool DezipFiles(const std::string& zip_file, const std::string& dest_folder, const std::string& filter,
                  const std::string& password);

  /// Builds `target_folder`\`archive_name` anew from files of `source_folder`, whose names stand in
  /// `file_list` separated by commas. True when at least one file was added; without any, or when it cannot
  /// be built, there is no archive of that name afterwards. Others see the old archive or the whole new one.
  bool ZipFiles(const std::string& target_folder, const std::string& archive_name,
                const std::string& source_folder, const std::string& file_list);

  /// How many entries an archive holds; 0 when it is missing or is no archive. Logs and changes nothing.
  int EntryCount(const std::string& zip_file) const;

 private:
  const core::Runtime& runtime_;
  const Limits limits_;
};

}  // namespace vlmr::transfer
