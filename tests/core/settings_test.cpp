#include "core/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/error_of.h"
#include "support/fake_clock.h"
#include "support/fake_event_loop.h"
#include "support/memory_file_system.h"

namespace vlmr::core {
namespace {

using test::ErrorOf;
using test::MemoryFileSystem;

constexpr const char* kSettings = R"(\VLMR.ini)";

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() {
    settings.OnSecretFault([this](const std::string& text) { faults.push_back(text); });
  }
  /// A settings file with one key, as an operator's editor writes it.
  void Put(const std::string& section, const std::string& key, const std::string& value) {
    files.Put(kSettings, "[" + section + "]\r\n" + key + "=" + value + "\r\n");
  }
  std::string Stored(const char* section, const char* key) {
    return ini.ReadIniValue(section, key, paths.Settings());
  }

  MemoryFileSystem files;
  test::FakeClock clock;
  test::FakeEventLoop loop{clock};
  AppPaths paths{files.Folder(), "VlMr"};
  IniStore ini{files, loop, clock};
  SecretCipher cipher{paths, files};
  Settings settings{paths, ini, cipher};
  std::vector<std::string> faults;
};

TEST_F(SettingsTest, AMissingFileGivesEveryDefault) {
  for (std::size_t i = 0; i < SettingTable().size(); ++i) {
    const SettingRow& row = SettingTable()[i];
    if (row.kind == SettingKind::kSecret) continue;
    EXPECT_EQ(settings.Text(static_cast<Setting>(i)), row.default_text) << row.key;
  }
}

TEST_F(SettingsTest, OnlyTheKindsThatKeepTheirDefaultWriteIt) {
  for (std::size_t i = 0; i < SettingTable().size(); ++i) {
    const auto setting = static_cast<Setting>(i);
    const SettingRow& row = RowOf(setting);
    if (setting == Setting::kViewMonitor || row.kind == SettingKind::kSecret) continue;
    files.Remove(kSettings);
    settings.Text(setting);
    const bool keeps = row.kind == SettingKind::kFlag || row.kind == SettingKind::kIntWriteBack ||
                       row.kind == SettingKind::kTextWriteBack || row.kind == SettingKind::kSingleWriteBack;
    const std::string expected = "[" + std::string(row.section) + "]\r\n" + std::string(row.written_key) +
                                 "=" + std::string(row.default_text) + "\r\n";
    EXPECT_EQ(files.Text(kSettings), keeps ? expected : "") << row.key;
  }
}

TEST_F(SettingsTest, AnEmptyValueIsAMissingOne) {
  Put("LOGS", "MaxSize", "");
  EXPECT_EQ(settings.Single(Setting::kMaxSize), 150.0F);
  EXPECT_EQ(files.Text(kSettings), "[LOGS]\r\nMaxSize=150\r\n");
  Put("SERVICE", "WebServerPort", "");
  EXPECT_EQ(settings.Int(Setting::kWebServerPort), 80);
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nWebServerPort=\r\n");
}

TEST_F(SettingsTest, AFirstReadOfTheStartSettingsWritesTheirDefaults) {
  files.Put(kSettings, "");
  settings.Flag(Setting::kApiEnable);
  settings.Int(Setting::kEnableDebugsWinsockHttp);
  settings.Int(Setting::kEnableDebugPelgrun);
  settings.Int(Setting::kLevel);
  settings.Single(Setting::kMaxSize);
  settings.Int(Setting::kOpp);
  EXPECT_EQ(files.Text(kSettings),
            "[SERVICE]\r\nApiEnable=1\r\n[LOGS]\r\nEnableDebugsWinsockHTTP=0\r\nEnableDebugPelgrun=0\r\n"
            "Level=0\r\nMaxSize=150\r\n");
}

TEST_F(SettingsTest, ApiEnableIsOnForTheExactText1) {
  for (const char* off : {"yes", "True", "2", "01", "1.0", "-1", "0"}) {
    Put("SERVICE", "ApiEnable", off);
    EXPECT_FALSE(settings.Flag(Setting::kApiEnable)) << off;
    EXPECT_EQ(Stored("SERVICE", "ApiEnable"), off);
  }
  Put("SERVICE", "ApiEnable", "1");
  EXPECT_TRUE(settings.Flag(Setting::kApiEnable));
}

TEST_F(SettingsTest, AnEmptyApiEnableIsOnAndRewritten) {
  Put("SERVICE", "ApiEnable", "");
  EXPECT_TRUE(settings.Flag(Setting::kApiEnable));
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nApiEnable=1\r\n");
}

TEST_F(SettingsTest, ASwitchIsOnWhenItsNumberIs1) {
  for (const char* on : {"1", " 1 ", "1.0", "+1", "1e0", "0.6"}) {
    Put("FTP", "EnableCPR", on);
    EXPECT_TRUE(settings.IsOn(Setting::kEnableCpr)) << on;
  }
  for (const char* off : {"0", "2", "-1", "0.5"}) {
    Put("FTP", "EnableCPR", off);
    EXPECT_FALSE(settings.IsOn(Setting::kEnableCpr)) << off;
  }
}

TEST_F(SettingsTest, ATextThatIsNoNumberRaisesAnError) {
  Put("LOGS", "Level", "abc");
  EXPECT_EQ(ErrorOf([&] { settings.Int(Setting::kLevel); }), 13);
  EXPECT_EQ(ErrorOf([&] { settings.IsOn(Setting::kLevel); }), 13);
  Put("LOGS", "Level", "40000");
  EXPECT_EQ(ErrorOf([&] { settings.Int(Setting::kLevel); }), 6);
  Put("LOGS", "MaxSize", "1,5");
  EXPECT_EQ(ErrorOf([&] { settings.Single(Setting::kMaxSize); }), 13);
  Put("RAS", "Enable", "yes");
  EXPECT_EQ(ErrorOf([&] { settings.IsTrue(Setting::kRasEnable); }), 13);
}

TEST_F(SettingsTest, TheTwoBooleanSettingsAlsoKnowTrueAndFalse) {
  for (const Setting setting : {Setting::kRasEnable, Setting::kEnableVirusNotifications}) {
    const SettingRow& row = RowOf(setting);
    for (const char* on : {"True", "TRUE", "1", "2", "-1"}) {
      Put(std::string(row.section), std::string(row.key), on);
      EXPECT_TRUE(settings.IsTrue(setting)) << on;
    }
    for (const char* off : {"False", "0", ""}) {
      Put(std::string(row.section), std::string(row.key), off);
      EXPECT_FALSE(settings.IsTrue(setting)) << off;
    }
  }
}

TEST_F(SettingsTest, AnEditBetweenTwoCallsCountsAtTheSecond) {
  Put("SERVICE", "WebServerPort", "8081");
  EXPECT_EQ(settings.Int(Setting::kWebServerPort), 8081);
  Put("SERVICE", "WebServerPort", "8082");
  EXPECT_EQ(settings.Int(Setting::kWebServerPort), 8082);
}

TEST_F(SettingsTest, AValueOf300CharactersIsCutAt254) {
  Put("SOURCES", "ActiveUpdateMaster", std::string(300, 'x'));
  EXPECT_EQ(settings.Text(Setting::kActiveUpdateMaster), std::string(254, 'x'));
}

TEST_F(SettingsTest, BothSpellingsOfCprUrlAreObeyed) {
  for (const char* key : {"CPRUrl", "CprUrl", "cprurl"}) {
    Put("FTP", key, "ftp://host/folder");
    EXPECT_EQ(settings.Text(Setting::kCprUrl), "ftp://host/folder") << key;
  }
  files.Remove(kSettings);
  settings.Text(Setting::kCprUrl);
  EXPECT_NE(files.Text(kSettings).find("\r\nCprUrl="), std::string::npos);
}

TEST_F(SettingsTest, SubjectsAreTrimmedAndBodiesAreNot) {
  Put("NOTIFICATION", "Subject_TSC", "\"  a subject  \"");
  EXPECT_EQ(settings.Text(Setting::kSubjectTsc), "a subject");
  Put("NOTIFICATION", "Subject_TSC", "\"   \"");
  EXPECT_EQ(settings.Text(Setting::kSubjectTsc), RowOf(Setting::kSubjectTsc).default_text);
  Put("NOTIFICATION", "Body_TSC", "\"   \"");
  EXPECT_EQ(settings.Text(Setting::kBodyTsc), "   ");
}

TEST_F(SettingsTest, TheMailSwitchIsTrimmedFirst) {
  Put("NOTIFICATION", "Enable", "\"  1 \"");
  EXPECT_TRUE(settings.IsOn(Setting::kNotificationEnable));
  Put("NOTIFICATION", "Enable", "\"   \"");
  EXPECT_FALSE(settings.IsOn(Setting::kNotificationEnable));
}

TEST_F(SettingsTest, AnEmptyViewMonitorIsResetUnlessItIsToStay) {
  EXPECT_EQ(settings.Text(Setting::kViewMonitor), "0");
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nViewMonitorAllTheTime=0\r\nViewMonitor=0\r\n");
  Put("SERVICE", "ViewMonitorAllTheTime", "1");
  EXPECT_EQ(settings.Text(Setting::kViewMonitor), "0");
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nViewMonitorAllTheTime=1\r\n");
  Put("SERVICE", "ViewMonitorAllTheTime", "abc");
  EXPECT_EQ(settings.Text(Setting::kViewMonitor), "0");
  EXPECT_EQ(Stored("SERVICE", "ViewMonitor"), "0");
  Put("SERVICE", "ViewMonitor", "1");
  EXPECT_EQ(settings.Text(Setting::kViewMonitor), "1");
}

TEST_F(SettingsTest, WritersStoreTextsAndSwitches) {
  settings.SetSwitch(Setting::kCheckNow, true);
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nCheckNow=1\r\n");
  settings.SetSwitch(Setting::kCheckNow, false);
  EXPECT_EQ(files.Text(kSettings), "[SERVICE]\r\nCheckNow=0\r\n");
  settings.Set(Setting::kActiveUpdateMaster, "http://host/au");
  EXPECT_EQ(settings.Text(Setting::kActiveUpdateMaster), "http://host/au");
}

TEST_F(SettingsTest, EachFileHoldsItsOwnSettings) {
  settings.Set(Setting::kDialerConnection, "2");
  settings.SetSwitch(Setting::kDialerDisconnect, true);
  settings.Set(Setting::kTscPatternBuild, "5");
  settings.Set(Setting::kTscLen, "4711");
  files.Put(R"(\Mail.ini)", "[EMAIL-UPDATES]\r\nEngineVersion=7.1\r\n");
  EXPECT_EQ(files.Text(R"(\Dialer.ini)"), "[RAS]\r\nConnection=2\r\nDisconnect=1\r\n");
  EXPECT_EQ(files.Text(R"(\TscVLMR.ini)"), "[TSC]\r\nPatternBuild=5\r\nLen=4711\r\n");
  EXPECT_EQ(settings.Int(Setting::kDialerConnection), 2);
  EXPECT_EQ(settings.Text(Setting::kMailEngineVersion), "7.1");
  EXPECT_FALSE(files.Has(kSettings));
}

TEST_F(SettingsTest, AConnectionThatIsMissingIsZero) {
  EXPECT_EQ(settings.Int(Setting::kDialerConnection), 0);
}

TEST_F(SettingsTest, AClearPasswordIsReturnedAsItStandsAndNotRewritten) {
  Put("FTP", "IntelligentPassword", "secret");
  EXPECT_EQ(settings.Secret(Setting::kIntelligentPassword), "secret");
  EXPECT_EQ(files.Text(kSettings), "[FTP]\r\nIntelligentPassword=secret\r\n");
  EXPECT_FALSE(files.Has(R"(\VLMR.key)"));
}

TEST_F(SettingsTest, AnEmptyPasswordStaysEmpty) {
  for (const Setting setting :
       {Setting::kCredentialPassword, Setting::kIntelligentPassword, Setting::kProxyPassword}) {
    EXPECT_EQ(settings.Secret(setting), "");
  }
  EXPECT_TRUE(files.Files().empty());
}

TEST_F(SettingsTest, AnEncipheredPasswordIsReturnedInClear) {
  Put("Proxy", "Password", cipher.Encipher("secret").text);
  EXPECT_EQ(settings.Secret(Setting::kProxyPassword), "secret");
  EXPECT_TRUE(faults.empty());
}

TEST_F(SettingsTest, AnUnsetCprPasswordIsReplacedByTheEncipheredDefault) {
  const std::string_view clear = RowOf(Setting::kCprPassword).default_text;
  for (const char* unset : {"", "Password"}) {
    Put("FTP", "CprPassword", unset);
    EXPECT_EQ(settings.Secret(Setting::kCprPassword), clear);
    const std::string stored = Stored("FTP", "CprPassword");
    EXPECT_TRUE(SecretCipher::IsEnciphered(stored)) << stored;
    EXPECT_EQ(files.Text(kSettings).find(clear), std::string::npos);
    EXPECT_EQ(settings.Secret(Setting::kCprPassword), clear);
    EXPECT_EQ(Stored("FTP", "CprPassword"), stored);
  }
  Put("FTP", "CprPassword", "password");
  EXPECT_EQ(settings.Secret(Setting::kCprPassword), "password");
}

TEST_F(SettingsTest, APasswordWithoutItsKeyIsEmptyAndToldOnceWithItsSetting) {
  const std::string stored = cipher.Encipher("secret").text;
  Put("Proxy", "Password", stored);
  files.Remove(R"(\VLMR.key)");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(settings.Secret(Setting::kProxyPassword), "");
  EXPECT_EQ(faults,
            std::vector<std::string>{"Settings: the password [Proxy] \"Password\" cannot be deciphered: the "
                                     "key file VLMR.key is missing"});
  EXPECT_EQ(Stored("Proxy", "Password"), stored);
  EXPECT_FALSE(files.Has(R"(\VLMR.key)"));
  files.Put(R"(\VLMR.key)", "short");
  EXPECT_EQ(settings.Secret(Setting::kProxyPassword), "");
  EXPECT_EQ(faults.size(), 2U);
  files.Put(R"(\VLMR.key)", std::string(32, 'k'));
  EXPECT_EQ(settings.Secret(Setting::kProxyPassword), "");
  EXPECT_EQ(faults.size(), 3U);
  EXPECT_EQ(Stored("Proxy", "Password"), stored);
}

TEST_F(SettingsTest, ADefaultThatCannotBeEncipheredIsUsedAndTheFileStays) {
  Put("FTP", "CprPassword", "Password");
  files.Put(R"(\VLMR.key)", "short");
  EXPECT_EQ(settings.Secret(Setting::kCprPassword), RowOf(Setting::kCprPassword).default_text);
  EXPECT_EQ(files.Text(kSettings), "[FTP]\r\nCprPassword=Password\r\n");
  ASSERT_EQ(faults.size(), 1U);
  EXPECT_NE(faults[0].find("[FTP] \"CprPassword\" cannot be enciphered"), std::string::npos);
}

TEST_F(SettingsTest, GettersRaiseNothingWhenTheFileCannotBeWritten) {
  files.Fail(MemoryFileSystem::Operation::kAnyChange, "*", 70);
  EXPECT_TRUE(settings.Flag(Setting::kApiEnable));
  EXPECT_EQ(settings.Int(Setting::kEnableActiveUpdate), 1);
  EXPECT_EQ(settings.Text(Setting::kCprUsername), "anonymous");
  EXPECT_FALSE(settings.Secret(Setting::kCprPassword).empty());
  settings.SetSwitch(Setting::kCheckNow, true);
  EXPECT_TRUE(files.Files().empty());
}

}  // namespace
}  // namespace vlmr::core
