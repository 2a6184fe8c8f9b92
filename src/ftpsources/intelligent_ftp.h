#pragma once

#include <string>

#include "core/error_trap.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "ftpsources/held_pattern.h"
#include "transfer/ftp_session.h"
#include "transfer/zip.h"

namespace vlmr::ftpsources {

/// Exchange of the newest pattern with the other mirrors that share one FTP folder.
class IntelligentFtp {
 public:
  /// All references must outlive this object.
  IntelligentFtp(const core::Runtime& runtime, transfer::FtpClient& client, transfer::ZIP& zip,
                 core::Notifier& notifier, HeldPattern& held);

  /// Uploads the held pattern when it is greater, as text, than the newest of the folder; downloads and
  /// publishes that one when it is greater. Reports through log and notifier. Raises nothing.
  void StartIntelligentFTP();

  /// The greatest version, as text, among the pattern files of a listing ("a;b;c"): the three characters
  /// behind each "lpt$vpn.", whatever the case, in upper case; empty when there is none. Fewer than three
  /// before the next ";" or the end do not count.
  std::string GetLastPatternFromList(const std::string& listing);

 private:
  void Upload(const std::string& local);
  void Download(const std::string& remote);
  /// False when the archive is published but the index could not be written.
  bool FetchAndPublish(const std::string& remote);
  /// A pattern that was fetched but never published, because the run was killed between the two, would count
  /// as held for ever: it is deleted, so that this run fetches it anew. One whose archive is published but
  /// not its index gets that. `\Exchange.pending` holds its version from before the fetch until it is
  /// published.
  void MendUnpublished();
  std::string PendingMark() const;
  bool Pack(const std::string& remote);
  bool WriteIndex(const std::string& remote);
  void ReportFailure(const transfer::FtpResult& result);
  std::string WorkingPattern(const std::string& version) const;

  const core::Runtime& runtime_;
  transfer::FtpClient& client_;
  transfer::ZIP& zip_;
  core::Notifier& notifier_;
  HeldPattern& held_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::ftpsources
