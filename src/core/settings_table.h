#pragma once

#include <span>
#include <string_view>

namespace vlmr::core {

/// How a getter treats its key.
enum class SettingKind {
  kFlag,             ///< on for the exact text "1"; an empty value is replaced by the default in the file
  kInt,              ///< 16-bit number; default used, nothing written
  kIntWriteBack,     ///< 16-bit number; default used and written
  kText,             ///< text; default used, nothing written
  kTextTrimmed,      ///< text, trimmed of blanks before the test for emptiness; default used, nothing written
  kTextWriteBack,    ///< text; default used and written
  kPlain,            ///< text as it stands, no default
  kSecret,           ///< password, enciphered in the file
  kSingleWriteBack,  ///< single-precision number; default used and written
  kWriter,           ///< only ever written
};

/// The files that hold settings and small states.
enum class SettingFile { kMain, kDialer, kMail, kTsc };

/// One key. The getters, the write-back, the setters and the reference in docs/ are all made from these rows.
struct SettingRow {
  std::string_view section;
  std::string_view key;          ///< as it is read
  std::string_view written_key;  ///< as it is written back; usually the same
  SettingKind kind;
  std::string_view default_text;  ///< empty: none
  std::string_view meaning;       ///< one line for the operator
  SettingFile file = SettingFile::kMain;
};

/// Every setting, named. The order is that of the table.
enum class Setting {
  kEnableActiveUpdate,
  kActiveUpdateMaster,
  kActiveUpdateEps,
  kOpp,
  kMpp,
  kSpam,
  kAlerts,
  kEngines,
  kProducts,
  kOfficeScanOnly,
  kOnlySmex,
  kOnlySp,
  kReduceOfficeScanProducts,
  kLimitProductSize,
  kTscEnable,
  kTscFtp,
  kApiEnable,
  kWebServerPort,
  kViewMonitor,
  kViewMonitorAllTheTime,
  kCheckNow,
  kEnableCredential,
  kCredentialAccount,
  kCredentialDomain,
  kCredentialPassword,
  kLevel,
  kMaxSize,
  kBackupByActions,
  kEnableDebugPelgrun,
  kEnableDebugsWinsockHttp,
  kEnableCpr,
  kCprUrl,
  kPassive,
  kCprProxy,
  kCprProxyName,
  kCprProxyPort,
  kCprUsername,
  kCprPassword,
  kEnableIntelligent,
  kIntelligentTarget,
  kIntelligentUsername,
  kIntelligentPassword,
  kIntelligentPassive,
  kProxyEnable,
  kProxyName,
  kProxyPort,
  kProxyUser,
  kProxyPassword,
  kRasEnable,
  kApacheEnable,
  kOfficeScanUpdateEnable,
  kNotificationEnable,
  kEnableVirusNotifications,
  kSubjectPattern,
  kBodyPattern,
  kSubjectScanEngine,
  kBodyScanEngine,
  kSubjectProducts,
  kBodyProducts,
  kSubjectOpp,
  kBodyOpp,
  kSubjectSpam,
  kBodySpam,
  kSubjectRedAlerts,
  kBodyRedAlerts,
  kSubjectCpr,
  kBodyCpr,
  kSubjectTsc,
  kBodyTsc,
  kEnableOppSend,
  kEnableSpamSend,
  kEnableProductsSend,
  kEnableRedAlertSend,
  kEnableEngineSend,
  kEnableTscSend,
  kDialerConnection,
  kDialerDisconnect,
  kMailEngineVersion,
  kTscPatternBuild,
  kTscBuild,
  kTscLen,
  kCount
};

/// The row of a setting.
const SettingRow& RowOf(Setting setting);
/// All rows, in the order of `Setting`.
std::span<const SettingRow> SettingTable();

}  // namespace vlmr::core
