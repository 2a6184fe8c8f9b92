#pragma once

#include <cstdint>
#include <string>

#include "core/runtime.h"

namespace vlmr::notify {

/// What a "whatsnew.txt" told.
struct VirusList {
  std::string status;  ///< "OK" when the file was found and parsed, "NO" when there is none
  std::string count;   ///< number of names as text; empty without a list; a notice when there is no file
  std::string names;   ///< one name a line, each ended by CR LF
};

/// Extracts the list of newly covered viruses from "whatsnew.txt" into the report `\ListVir_Official.ini`,
/// which other programs of the network read. Every error of a file is skipped silently; nothing here raises.
class VirusListReport {
 public:
  /// What is needed from the patterns' housekeeping.
  class WhatsNewSource {
   public:
    virtual ~WhatsNewSource() = default;
    /// Fetches the pattern's "whatsnew.txt" into the published pattern folder.
    virtual void DownloadWhatsNew() = 0;
  };

  /// A longer file counts as one without a list, and a line of the log says so: the whole of it would be
  /// held in memory. Bytes.
  static constexpr std::int64_t kLongestText = std::int64_t{4} << 20;

  /// Both references must outlive this object.
  VirusListReport(const core::Runtime& runtime, WhatsNewSource& source)
      : runtime_(runtime), source_(source) {}

  /// The list of the published pattern; its file is fetched once when it is missing.
  VirusList ReadPatternVirusList();
  /// The list of a file given by its path; nothing is fetched. A file that exists replaces the report, also
  /// when it holds no list: then there is no report.
  VirusList ReadVirusListFile(const std::string& whats_new_path);

 private:
  VirusList Parse(const std::string& whats_new_path);
  std::string ReadBounded(const std::string& path) const;

  const core::Runtime& runtime_;
  WhatsNewSource& source_;
};

}  // namespace vlmr::notify
