#include "core/settings.h"

#include <utility>

#include "core/number.h"
#include "core/text.h"
#include "platform/runtime_error.h"

namespace vlmr::core {

Settings::Settings(const AppPaths& paths, IniStore& ini, SecretCipher& cipher)
    : paths_(paths), ini_(ini), cipher_(cipher) {}

std::string Settings::FileOf(Setting setting) const {
  switch (RowOf(setting).file) {
    case SettingFile::kMain:
      return paths_.Settings();
    case SettingFile::kDialer:
      return paths_ / R"(\Dialer.ini)";
    case SettingFile::kMail:
      return paths_ / R"(\Mail.ini)";
    case SettingFile::kTsc:
      return paths_ / R"(\TscVLMR.ini)";
  }
  return paths_.Settings();
}

std::string Settings::Text(Setting setting) {
  if (setting == Setting::kViewMonitor) return ReadViewMonitor();
  const SettingRow& row = RowOf(setting);
  std::string value = ini_.ReadIniValue(row.section, row.key, FileOf(setting));
  switch (row.kind) {
    case SettingKind::kTextTrimmed: {
      const std::string_view trimmed = TrimBlanks(value);
      return std::string(trimmed.empty() ? row.default_text : trimmed);
    }
    case SettingKind::kFlag:
    case SettingKind::kIntWriteBack:
    case SettingKind::kTextWriteBack:
    case SettingKind::kSingleWriteBack:
      if (!value.empty()) return value;
      ini_.WriteIniValue(row.section, row.written_key, row.default_text, FileOf(setting));
      return std::string(row.default_text);
    case SettingKind::kInt:
    case SettingKind::kText:
      return value.empty() ? std::string(row.default_text) : value;
    case SettingKind::kPlain:
    case SettingKind::kSecret:
    case SettingKind::kWriter:
      return value;
  }
  return value;
}

std::int16_t Settings::Int(Setting setting) {
  const std::string text = Text(setting);
  // Only blanks count as empty here, so that the default is converted and not a 0.
  const bool blank = TrimBlanksAndTabs(text).empty();
  return ToInt16(blank ? RowOf(setting).default_text : std::string_view(text));
}

float Settings::Single(Setting setting) { return ToSingle(Text(setting)); }

bool Settings::Flag(Setting setting) { return Text(setting) == "1"; }

bool Settings::IsOn(Setting setting) { return Int(setting) == 1; }

bool Settings::IsTrue(Setting setting) { return ToBoolean(Text(setting)); }

std::string Settings::Secret(Setting setting) {
  const SettingRow& row = RowOf(setting);
  std::string stored = ini_.ReadIniValue(row.section, row.key, FileOf(setting));
  const bool unset = setting == Setting::kCprPassword && (stored.empty() || stored == "Password");
  if (unset) {
    const SecretCipher::Result enciphered = cipher_.Encipher(row.default_text);
    if (enciphered.fault == SecretCipher::Fault::kNone) Set(setting, enciphered.text);
    ReportFault(setting, "enciphered", enciphered.fault);
    return std::string(row.default_text);
  }
  if (!SecretCipher::IsEnciphered(stored)) return stored;
  const SecretCipher::Result clear = cipher_.Decipher(stored);
  ReportFault(setting, "deciphered", clear.fault);
  return clear.text;
}

void Settings::ReportFault(Setting setting, std::string_view what, SecretCipher::Fault fault) {
  // A password is read for every transfer; one line for each new fault is enough.
  if (std::exchange(last_fault_[setting], fault) == fault) return;
  if (fault == SecretCipher::Fault::kNone || !on_secret_fault_) return;
  const SettingRow& row = RowOf(setting);
  on_secret_fault_("Settings: the password [" + std::string(row.section) + "] \"" + std::string(row.key) +
                   "\" cannot be " + std::string(what) + ": " + SecretCipher::Describe(fault));
}

void Settings::Set(Setting setting, const std::string& value) {
  const SettingRow& row = RowOf(setting);
  ini_.WriteIniValue(row.section, row.written_key, value, FileOf(setting));
}

void Settings::SetSwitch(Setting setting, bool on) { Set(setting, on ? "1" : "0"); }

/// An empty value is reset to "0", unless the form is to be left alone; the answer is "0" either way.
std::string Settings::ReadViewMonitor() {
  const SettingRow& row = RowOf(Setting::kViewMonitor);
  std::string value = ini_.ReadIniValue(row.section, row.key, paths_.Settings());
  if (!value.empty()) return value;
  bool keep = false;
  try {
    keep = IsOn(Setting::kViewMonitorAllTheTime);
  } catch (const platform::RuntimeError&) {
    // A switch that is no number is off; this getter has nobody to tell.
  }
  if (!keep) Set(Setting::kViewMonitor, "0");
  return "0";
}

}  // namespace vlmr::core
