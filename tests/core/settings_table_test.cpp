#include "core/settings_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/ini_document.h"
#include "core/text.h"

namespace vlmr::core {
namespace {

using Kind = SettingKind;

struct Expected {
  Setting setting;
  const char* section;
  const char* key;
  Kind kind;
  const char* default_text;
};

constexpr const char* kFixedByTheMirror = nullptr;

const Expected kMainSettings[] = {
    {Setting::kEnableActiveUpdate, "SOURCES", "EnableActiveUpdate", Kind::kIntWriteBack, "1"},
    {Setting::kActiveUpdateMaster, "SOURCES", "ActiveUpdateMaster", Kind::kTextWriteBack, kFixedByTheMirror},
    {Setting::kActiveUpdateEps, "SOURCES", "ActiveUpdateEPS", Kind::kTextWriteBack, kFixedByTheMirror},
    {Setting::kOpp, "SOURCES", "OPP", Kind::kInt, "0"},
    {Setting::kMpp, "SOURCES", "MPP", Kind::kInt, "0"},
    {Setting::kSpam, "SOURCES", "SPAM", Kind::kInt, "0"},
    {Setting::kAlerts, "SOURCES", "Alerts", Kind::kInt, "0"},
    {Setting::kEngines, "SOURCES", "Engines", Kind::kInt, "0"},
    {Setting::kProducts, "SOURCES", "Products", Kind::kInt, "0"},
    {Setting::kOfficeScanOnly, "SOURCES", "OfficeScanOnly", Kind::kInt, "0"},
    {Setting::kOnlySmex, "SOURCES", "OnlySMEX", Kind::kIntWriteBack, "0"},
    {Setting::kOnlySp, "SOURCES", "OnlySP", Kind::kIntWriteBack, "0"},
    {Setting::kReduceOfficeScanProducts, "SOURCES", "ReduceOfficeScanProducts", Kind::kIntWriteBack, "0"},
    {Setting::kLimitProductSize, "SOURCES", "LimitProductSize", Kind::kIntWriteBack, "0"},
    {Setting::kTscEnable, "SOURCES", "TscEnable", Kind::kInt, "0"},
    {Setting::kTscFtp, "SOURCES", "TscFtp", Kind::kText, kFixedByTheMirror},
    {Setting::kApiEnable, "SERVICE", "ApiEnable", Kind::kFlag, "1"},
    {Setting::kWebServerPort, "SERVICE", "WebServerPort", Kind::kInt, "80"},
    {Setting::kViewMonitor, "SERVICE", "ViewMonitor", Kind::kText, "0"},
    {Setting::kViewMonitorAllTheTime, "SERVICE", "ViewMonitorAllTheTime", Kind::kIntWriteBack, "0"},
    {Setting::kCheckNow, "SERVICE", "CheckNow", Kind::kWriter, ""},
    {Setting::kEnableCredential, "SERVICE", "Enable_Credential", Kind::kIntWriteBack, "0"},
    {Setting::kCredentialAccount, "SERVICE", "Credential_account", Kind::kPlain, ""},
    {Setting::kCredentialDomain, "SERVICE", "Credential_Domain", Kind::kPlain, ""},
    {Setting::kCredentialPassword, "SERVICE", "Credential_Password", Kind::kSecret, ""},
    {Setting::kLevel, "LOGS", "Level", Kind::kIntWriteBack, "0"},
    {Setting::kMaxSize, "LOGS", "MaxSize", Kind::kSingleWriteBack, "150"},
    {Setting::kBackupByActions, "LOGS", "BackupByActions", Kind::kIntWriteBack, "1"},
    {Setting::kEnableDebugPelgrun, "LOGS", "EnableDebugPelgrun", Kind::kIntWriteBack, "0"},
    {Setting::kEnableDebugsWinsockHttp, "LOGS", "EnableDebugsWinsockHTTP", Kind::kIntWriteBack, "0"},
    {Setting::kEnableCpr, "FTP", "EnableCPR", Kind::kIntWriteBack, "0"},
    {Setting::kCprUrl, "FTP", "CPRUrl", Kind::kTextWriteBack, kFixedByTheMirror},
    {Setting::kPassive, "FTP", "Passive", Kind::kIntWriteBack, "0"},
    {Setting::kCprProxy, "FTP", "CprProxy", Kind::kIntWriteBack, "0"},
    {Setting::kCprProxyName, "FTP", "CprProxyName", Kind::kTextWriteBack, "MyProxyName"},
    {Setting::kCprProxyPort, "FTP", "CprProxyPort", Kind::kTextWriteBack, "21"},
    {Setting::kCprUsername, "FTP", "CprUsername", Kind::kTextWriteBack, "anonymous"},
    {Setting::kCprPassword, "FTP", "CprPassword", Kind::kSecret, kFixedByTheMirror},
    {Setting::kEnableIntelligent, "FTP", "EnableIntelligent", Kind::kIntWriteBack, "0"},
    {Setting::kIntelligentTarget, "FTP", "IntelligentTarget", Kind::kPlain, ""},
    {Setting::kIntelligentUsername, "FTP", "IntelligentUsername", Kind::kPlain, ""},
    {Setting::kIntelligentPassword, "FTP", "IntelligentPassword", Kind::kSecret, ""},
    {Setting::kIntelligentPassive, "FTP", "IntelligentPassive", Kind::kIntWriteBack, "0"},
    {Setting::kProxyEnable, "Proxy", "Enable", Kind::kText, "1"},
    {Setting::kProxyName, "Proxy", "ProxyName", Kind::kPlain, ""},
    {Setting::kProxyPort, "Proxy", "Port", Kind::kPlain, ""},
    {Setting::kProxyUser, "Proxy", "User", Kind::kPlain, ""},
    {Setting::kProxyPassword, "Proxy", "Password", Kind::kSecret, ""},
    {Setting::kRasEnable, "RAS", "Enable", Kind::kText, "0"},
    {Setting::kApacheEnable, "APACHE", "Enable", Kind::kIntWriteBack, "0"},
    {Setting::kOfficeScanUpdateEnable, "OFFICESCAN_UPDATE", "Enable", Kind::kInt, "0"},
    {Setting::kNotificationEnable, "NOTIFICATION", "Enable", Kind::kInt, "0"},
    {Setting::kEnableVirusNotifications, "NOTIFICATION", "EnableVirusNotifications", Kind::kText, "0"},
};

const Expected kMailSettings[] = {
    {Setting::kSubjectPattern, "NOTIFICATION", "Subject_PATTERN", Kind::kTextTrimmed,
     "[Velmora]: New Pattern found From %SERVER% %Pattern%"},
    {Setting::kBodyPattern, "NOTIFICATION", "Body_PATTERN", Kind::kText,
     "%SERVER% report a new Pattern update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectScanEngine, "NOTIFICATION", "Subject_SCANENGINE", Kind::kTextTrimmed,
     "[Velmora]: New Scan Engine found from %SERVER%"},
    {Setting::kBodyScanEngine, "NOTIFICATION", "Body_SCANENGINE", Kind::kText,
     "%SERVER% report a new Scan Engine update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectProducts, "NOTIFICATION", "Subject_PRODUCTS", Kind::kTextTrimmed,
     "[Velmora]: New Products found from %SERVER%"},
    {Setting::kBodyProducts, "NOTIFICATION", "Body_PRODUCTS", Kind::kText,
     "%SERVER% report a new product update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectOpp, "NOTIFICATION", "Subject_OPP", Kind::kTextTrimmed,
     "[Velmora]: New OPP found from %SERVER%"},
    {Setting::kBodyOpp, "NOTIFICATION", "Body_OPP", Kind::kText,
     "%SERVER% report a new Pattern update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectSpam, "NOTIFICATION", "Subject_SPAM", Kind::kTextTrimmed,
     "[Velmora]: New SPAM found from %SERVER%"},
    {Setting::kBodySpam, "NOTIFICATION", "Body_SPAM", Kind::kText,
     "%SERVER% report a new SPAM update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectRedAlerts, "NOTIFICATION", "Subject_REDALERTS", Kind::kTextTrimmed,
     "[Velmora]: New RedAlert found from %SERVER%"},
    {Setting::kBodyRedAlerts, "NOTIFICATION", "Body_REDALERTS", Kind::kText,
     "%SERVER% report a new RedAlert update %CRLF% Pattern=%Pattern% %CRLF%"},
    {Setting::kSubjectCpr, "NOTIFICATION", "Subject_CPR", Kind::kTextTrimmed,
     "[Velmora]: New CPR Pattern found from %SERVER%"},
    {Setting::kBodyCpr, "NOTIFICATION", "Body_CPR", Kind::kText,
     "%SERVER% report a new CPR update %CRLF% Pattern=%PatternCPR% %CRLF%"},
    {Setting::kSubjectTsc, "NOTIFICATION", "Subject_TSC", Kind::kTextTrimmed,
     "[Velmora]: New TSC Pattern found from %SERVER%"},
    {Setting::kBodyTsc, "NOTIFICATION", "Body_TSC", Kind::kText, "%SERVER% report a new TSC update"},
    {Setting::kEnableOppSend, "NOTIFICATION", "Enable_OPP_Send", Kind::kIntWriteBack, "0"},
    {Setting::kEnableSpamSend, "NOTIFICATION", "Enable_SPAM_Send", Kind::kIntWriteBack, "0"},
    {Setting::kEnableProductsSend, "NOTIFICATION", "Enable_PRODUCTS_Send", Kind::kIntWriteBack, "0"},
    {Setting::kEnableRedAlertSend, "NOTIFICATION", "Enable_RedAlert_Send", Kind::kIntWriteBack, "0"},
    {Setting::kEnableEngineSend, "NOTIFICATION", "Enable_Engine_Send", Kind::kIntWriteBack, "0"},
    {Setting::kEnableTscSend, "NOTIFICATION", "Enable_TSC_Send", Kind::kIntWriteBack, "0"},
};

void ExpectRow(const Expected& expected, SettingFile file) {
  const SettingRow& row = RowOf(expected.setting);
  EXPECT_EQ(row.section, expected.section) << expected.key;
  EXPECT_EQ(row.key, expected.key);
  EXPECT_EQ(row.kind, expected.kind) << expected.key;
  EXPECT_EQ(row.file, file) << expected.key;
  if (expected.default_text != kFixedByTheMirror) {
    EXPECT_EQ(row.default_text, expected.default_text) << expected.key;
  }
}

TEST(SettingsTable, TheMainSettingsHaveTheirSectionKindAndDefault) {
  for (const Expected& expected : kMainSettings) ExpectRow(expected, SettingFile::kMain);
}

TEST(SettingsTable, TheMailSettingsHaveTheirKindAndDefaultLetterByLetter) {
  for (const Expected& expected : kMailSettings) ExpectRow(expected, SettingFile::kMain);
}

TEST(SettingsTable, TheSharedFilesHoldTheirKeys) {
  EXPECT_EQ(RowOf(Setting::kDialerConnection).file, SettingFile::kDialer);
  EXPECT_EQ(RowOf(Setting::kDialerConnection).section, "RAS");
  EXPECT_EQ(RowOf(Setting::kDialerConnection).key, "Connection");
  ExpectRow({Setting::kDialerDisconnect, "RAS", "Disconnect", Kind::kWriter, ""}, SettingFile::kDialer);
  ExpectRow({Setting::kMailEngineVersion, "EMAIL-UPDATES", "EngineVersion", Kind::kPlain, ""},
            SettingFile::kMail);
  ExpectRow({Setting::kTscPatternBuild, "TSC", "PatternBuild", Kind::kText, "0"}, SettingFile::kTsc);
  ExpectRow({Setting::kTscBuild, "TSC", "Build", Kind::kWriter, ""}, SettingFile::kTsc);
  ExpectRow({Setting::kTscLen, "TSC", "Len", Kind::kWriter, ""}, SettingFile::kTsc);
  EXPECT_EQ(SettingTable().size(), std::size(kMainSettings) + std::size(kMailSettings) + 6);
}

TEST(SettingsTable, OnlyCprUrlIsWrittenBackUnderAnotherSpelling) {
  for (const SettingRow& row : SettingTable()) {
    if (row.key == "CPRUrl") {
      EXPECT_EQ(row.written_key, "CprUrl");
    } else {
      EXPECT_EQ(row.written_key, row.key);
    }
  }
}

TEST(SettingsTable, DefaultAddressesHaveTheirPathsOnHostsThatDoNotExist) {
  struct Address {
    Setting setting;
    std::string_view scheme;
    std::string_view path;
  };
  const Address addresses[] = {{Setting::kActiveUpdateMaster, "http://", "/activeupdate"},
                               {Setting::kActiveUpdateEps, "http://", "/activeupdate"},
                               {Setting::kTscFtp, "ftp://", "/products/tsc"},
                               {Setting::kCprUrl, "ftp://", "/products/pattern/cpr"}};
  for (const Address& address : addresses) {
    std::string_view text = RowOf(address.setting).default_text;
    EXPECT_TRUE(text.starts_with(address.scheme)) << text;
    text.remove_prefix(address.scheme.size());
    EXPECT_EQ(text.substr(text.find('/')), address.path);
    EXPECT_TRUE(text.substr(0, text.find('/')).ends_with(".example")) << text;
  }
  EXPECT_NE(RowOf(Setting::kActiveUpdateMaster).default_text, RowOf(Setting::kActiveUpdateEps).default_text);
}

TEST(SettingsTable, TheAnonymousPasswordLooksLikeAMailAddress) {
  const std::string_view password = RowOf(Setting::kCprPassword).default_text;
  EXPECT_NE(password.find('@'), std::string_view::npos);
  EXPECT_TRUE(password.ends_with(".example"));
}

TEST(SettingsTable, EveryRowCanBeStoredAndIsExplained) {
  std::set<std::string> seen;
  for (const SettingRow& row : SettingTable()) {
    EXPECT_TRUE(IniDocument::CanHold(row.section, row.written_key)) << row.key;
    EXPECT_LE(row.default_text.size(), 254U) << row.key;
    EXPECT_GE(row.meaning.size(), 10U) << row.key;
    const std::string place = std::to_string(static_cast<int>(row.file)) + std::string(row.section) + "/";
    EXPECT_TRUE(seen.insert(place + ToUpper(row.key)).second) << row.key;
  }
}

}  // namespace
}  // namespace vlmr::core
