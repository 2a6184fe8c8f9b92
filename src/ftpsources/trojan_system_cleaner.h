#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/error_trap.h"
#include "core/file_helpers.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "transfer/ftp_session.h"
#include "transfer/zip.h"

namespace vlmr::ftpsources {

/// The Trojan System Cleaner: a local copy of the newest package that the vendor publishes on an FTP server,
/// unpacked in `\ActiveUpdate\TSC` with the archive beside it as "TSC.zip".
class TscPackage {
 public:
  /// All references must outlive this object.
  TscPackage(const core::Runtime& runtime, core::FileHelpers& helpers, transfer::FtpClient& client,
             transfer::ZIP& zip, core::Notifier& notifier);

  /// Fetches the package when its version is greater, as text, than the one of the last installation, or when
  /// "tsc.exe" is missing. Reports through log and notifier. Raises nothing.
  void TrojanSystemCleaner();

 private:
  /// The paths of the published files, each with what told it from others when it was looked at.
  using Contents = std::vector<std::pair<std::string, std::optional<platform::FileStamp>>>;

  Contents LookAtPublished() const;
  void DeleteUnchanged(const Contents& contents) const;
  bool Install(const std::string& archive_name);
  void Record(const std::string& version);

  const core::Runtime& runtime_;
  core::FileHelpers& helpers_;
  transfer::FtpClient& client_;
  transfer::ZIP& zip_;
  core::Notifier& notifier_;
  core::ErrorTrap trap_;
};

/// The greatest version, as text, among the package names of a listing ("a;b;c"); empty when none qualifies.
/// A name qualifies when, without regard to case, it ends in "zip", has 12 characters and is not
/// "sysclean.zip"; its version is what is left without the first 3 and the last 4 characters.
std::string PickTscVersion(const std::string& listing);

}  // namespace vlmr::ftpsources
