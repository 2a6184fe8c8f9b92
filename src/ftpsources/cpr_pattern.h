#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/file_helpers.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "ftpsources/latest_ini.h"
#include "transfer/ftp_session.h"
#include "transfer/zip.h"

namespace vlmr::ftpsources {

/// The CPR pattern: a local copy of what the vendor publishes on an FTP server, with a "latest.ini" for the
/// network's clients. Until the last of its files is in place the old "latest.ini" stays.
class CprPattern {
 public:
  /// What this job needs of the notification floor.
  class VirusList {
   public:
    virtual ~VirusList() = default;
    /// Rebuilds the virus list report from a "whatsnew.txt"; returns the count of viruses as text, empty when
    /// the file holds no list, and the words for a missing file. Raises nothing.
    virtual std::string ReadVirusListFile(const std::string& whatsnew_path) = 0;
  };

  /// All references must outlive this object.
  CprPattern(const core::Runtime& runtime, core::FileHelpers& helpers, transfer::FtpClient& client,
             transfer::ZIP& zip, core::Notifier& notifier, VirusList& virus_list);

  /// Compares the published version and build with the held ones as text and fetches the pattern when it is
  /// newer. Reports through log and notifier. Raises nothing.
  void GET_CPR_PATTERN();

  /// Deletes every *.ini, *.zip and lpt$vpn.* of the scratch folder `\CPR_Temp`, in this order; *.txt stay.
  /// Raises nothing.
  void DeleteCprTempFiles();

 private:
  void EmptyScratchFolder();
  LatestIni ReadPublished(const std::string& file);
  bool IsNewer(const LatestIni& published);
  bool FetchArchive(const LatestIni& published);
  std::string FetchVirusList();
  bool TestArchive(LatestIni& published);
  void Publish(const LatestIni& published);
  void ReportError(const std::string& line);

  const core::Runtime& runtime_;
  core::FileHelpers& helpers_;
  transfer::FtpClient& client_;
  transfer::ZIP& zip_;
  core::Notifier& notifier_;
  VirusList& virus_list_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::ftpsources
