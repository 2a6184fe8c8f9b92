#pragma once

#include <string>

#include "core/runtime.h"

namespace vlmr::transfer {

/// The only place that touches archives. Failures reach the log only.
class ZIP {
 public:
  explicit ZIP(const core::Runtime& runtime) : runtime_(runtime) {}

  /// Extracts every entry of an archive into a folder (made when missing), with its stored sub-folders, over
  /// existing files. True when at least one file was written. No entry leaves the folder. The two further
  /// texts have no meaning.
  bool DezipFiles(const std::string& zip_file, const std::string& dest_folder, const std::string& filter,
                  const std::string& password);

  /// Builds `target_folder`\`archive_name` anew from files of `source_folder`, whose names stand in
  /// `file_list` separated by commas. True when at least one file was added; without any no archive is made.
  bool ZipFiles(const std::string& target_folder, const std::string& archive_name,
                const std::string& source_folder, const std::string& file_list);

  /// How many entries an archive holds; 0 when it is missing or is no archive. Logs and changes nothing.
  int EntryCount(const std::string& zip_file) const;

 private:
  const core::Runtime& runtime_;
};

}  // namespace vlmr::transfer
