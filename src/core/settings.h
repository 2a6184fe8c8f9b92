#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "core/app_paths.h"
#include "core/ini_store.h"
#include "core/secret.h"
#include "core/settings_table.h"

namespace vlmr::core {

/// The operator's settings. There is no cached value: every getter goes to its file, so an edit between two
/// calls counts at the second. A missing file is a file with every key missing. Rules per kind:
/// `SettingKind`.
class Settings {
 public:
  /// All references must outlive this object.
  Settings(const AppPaths& paths, IniStore& ini, SecretCipher& cipher);

  /// The text of any kind but secrets and writers, with its default. Raises nothing.
  std::string Text(Setting setting);
  /// A 16-bit number. Raises 13 or 6 for a text that is none; the caller's trap reports it.
  std::int16_t Int(Setting setting);
  /// A single-precision number. Raises 13 or 6.
  float Single(Setting setting);
  /// A flag: on for the exact text "1". Raises nothing.
  bool Flag(Setting setting);
  /// Whether a switch is on: its number equals 1. Raises 13 or 6.
  bool IsOn(Setting setting);
  /// A switch that also knows "True" and "False" ([RAS] "Enable", "EnableVirusNotifications"). Raises 13
  /// or 6.
  bool IsTrue(Setting setting);
  /// A password in clear. A stored text without the cipher's mark is clear text and returned as it stands.
  /// "CprPassword" that is empty or "Password" is replaced by the enciphered default in the file. Raises
  /// nothing.
  std::string Secret(Setting setting);
  /// Stores a text. Raises nothing.
  void Set(Setting setting, const std::string& value);
  /// Stores "1" or "0". Raises nothing.
  void SetSwitch(Setting setting, bool on);

  /// Who is told, in one line for the log, of a password that cannot be deciphered (it reads as empty then)
  /// or of a default that cannot be enciphered (it is used all the same). Nothing is overwritten. The same
  /// fault of the same setting is told once.
  void OnSecretFault(std::function<void(const std::string&)> report) { on_secret_fault_ = std::move(report); }

  /// The file of a setting.
  std::string FileOf(Setting setting) const;

 private:
  std::string ReadViewMonitor();
  void ReportFault(Setting setting, std::string_view what, SecretCipher::Fault fault);

  const AppPaths& paths_;
  IniStore& ini_;
  SecretCipher& cipher_;
  std::function<void(const std::string&)> on_secret_fault_;
  std::map<Setting, SecretCipher::Fault> last_fault_;
};

}  // namespace vlmr::core
