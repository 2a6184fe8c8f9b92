#include "core/settings_table.h"

#include <array>
#include <cstddef>

namespace vlmr::core {
namespace {

using Kind = SettingKind;

/// A row of the main file whose key is written as it is read.
constexpr SettingRow Row(std::string_view section, std::string_view key, Kind kind,
                         std::string_view default_text, std::string_view meaning) {
  return {section, key, key, kind, default_text, meaning, SettingFile::kMain};
}

constexpr SettingRow RowIn(SettingFile file, std::string_view section, std::string_view key, Kind kind,
                           std::string_view default_text, std::string_view meaning) {
  return {section, key, key, kind, default_text, meaning, file};
}

// clang-format off
constexpr std::array<SettingRow, static_cast<std::size_t>(Setting::kCount)> kTable = {{
    // What is mirrored, and from where. The default hosts are reserved names: an unconfigured mirror contacts nobody.
    Row("SOURCES", "EnableActiveUpdate", Kind::kIntWriteBack, "1", "Run the update pass: 0 = no, anything else = yes"),
    Row("SOURCES", "ActiveUpdateMaster", Kind::kTextWriteBack, "http://activeupdate.example/activeupdate", "Address of the update service, http or https, without \"/\" at its end"),
    Row("SOURCES", "ActiveUpdateEPS", Kind::kTextWriteBack, "http://eps.activeupdate.example/activeupdate", "Address of the second update service, which carries the auxiliary patterns"),
    Row("SOURCES", "OPP", Kind::kInt, "0", "1 = mirror the OPP pattern (P.20)"),
    Row("SOURCES", "MPP", Kind::kInt, "0", "1 = mirror the MPP pattern (P.10)"),
    Row("SOURCES", "SPAM", Kind::kInt, "0", "1 = mirror the SPAM pattern (P.40)"),
    Row("SOURCES", "Alerts", Kind::kInt, "0", "1 = mirror the RedAlert pattern (P.80)"),
    Row("SOURCES", "Engines", Kind::kInt, "0", "1 = mirror all scan engines"),
    Row("SOURCES", "Products", Kind::kInt, "0", "1 = mirror all products"),
    Row("SOURCES", "OfficeScanOnly", Kind::kInt, "0", "1 = mirror only what OfficeScan needs"),
    Row("SOURCES", "OnlySMEX", Kind::kIntWriteBack, "0", "1 = mirror only what SMEX needs"),
    Row("SOURCES", "OnlySP", Kind::kIntWriteBack, "0", "1 = mirror only what ServerProtect needs"),
    Row("SOURCES", "ReduceOfficeScanProducts", Kind::kIntWriteBack, "0", "1 = with \"OfficeScanOnly\", check the OfficeScan products a second time"),
    Row("SOURCES", "LimitProductSize", Kind::kIntWriteBack, "0", "1 = leave out product files of more than 1,000,000 bytes"),
    Row("SOURCES", "TscEnable", Kind::kInt, "0", "1 = mirror the Trojan System Cleaner"),
    Row("SOURCES", "TscFtp", Kind::kText, "ftp://ftp.activeupdate.example/products/tsc", "FTP folder of the Trojan System Cleaner; \"ftp://host:port/folder\" is understood"),

    // How the program works.
    Row("SERVICE", "ApiEnable", Kind::kFlag, "1", "HTTP by the asynchronous component: exactly 1 = yes, anything else = by the synchronous one"),
    Row("SERVICE", "WebServerPort", Kind::kInt, "80", "Port of the update service when its address names none, up to 32767; with https, 80 stands for 443"),
    Row("SERVICE", "ViewMonitor", Kind::kText, "0", "1 = show the form with the transfer's progress during a synchronous download"),
    Row("SERVICE", "ViewMonitorAllTheTime", Kind::kIntWriteBack, "0", "1 = leave an empty \"ViewMonitor\" empty instead of writing 0 into it"),
    Row("SERVICE", "CheckNow", Kind::kWriter, "", "Written as 0 by each run; other programs set it to ask for a check"),
    Row("SERVICE", "Enable_Credential", Kind::kIntWriteBack, "0", "1 = work under another account (Windows)"),
    Row("SERVICE", "Credential_account", Kind::kPlain, "", "That account's name"),
    Row("SERVICE", "Credential_Domain", Kind::kPlain, "", "That account's domain"),
    Row("SERVICE", "Credential_Password", Kind::kSecret, "", "That account's password"),

    Row("LOGS", "Level", Kind::kIntWriteBack, "0", "0 = the log holds the ordinary lines, 1 = only the detailed ones, else none"),
    Row("LOGS", "MaxSize", Kind::kSingleWriteBack, "150", "Kilobytes; a larger log begins anew"),
    Row("LOGS", "BackupByActions", Kind::kIntWriteBack, "1", "1 = copy the log to BackupLogs at the end of each run"),
    Row("LOGS", "EnableDebugPelgrun", Kind::kIntWriteBack, "0", "1 = also write every line into a log of this run alone"),
    Row("LOGS", "EnableDebugsWinsockHTTP", Kind::kIntWriteBack, "0", "1 = trace synchronous HTTP transfers, as detailed lines"),

    Row("FTP", "EnableCPR", Kind::kIntWriteBack, "0", "1 = mirror the CPR pattern"),
    {"FTP", "CPRUrl", "CprUrl", Kind::kTextWriteBack, "ftp://ftp.activeupdate.example/products/pattern/cpr", "FTP folder of the CPR pattern; \"ftp://host:port/folder\" is understood", SettingFile::kMain},
    Row("FTP", "Passive", Kind::kIntWriteBack, "0", "1 = passive FTP for CPR and TSC, else active"),
    Row("FTP", "CprProxy", Kind::kIntWriteBack, "0", "1 = go through an FTP gateway for CPR and TSC"),
    Row("FTP", "CprProxyName", Kind::kTextWriteBack, "MyProxyName", "The gateway's host"),
    Row("FTP", "CprProxyPort", Kind::kTextWriteBack, "21", "The gateway's port"),
    Row("FTP", "CprUsername", Kind::kTextWriteBack, "anonymous", "User of the CPR server"),
    Row("FTP", "CprPassword", Kind::kSecret, "mirror@velmora.example", "Password of the CPR server; empty or \"Password\" = the default"),
    Row("FTP", "EnableIntelligent", Kind::kIntWriteBack, "0", "1 = exchange the newest pattern with other mirrors over an FTP folder"),
    Row("FTP", "IntelligentTarget", Kind::kPlain, "", "That folder, \"ftp://host/folder\""),
    Row("FTP", "IntelligentUsername", Kind::kPlain, "", "User of that server"),
    Row("FTP", "IntelligentPassword", Kind::kSecret, "", "Password of that server"),
    Row("FTP", "IntelligentPassive", Kind::kIntWriteBack, "0", "1 = passive FTP with that server, else active"),

    Row("Proxy", "Enable", Kind::kText, "1", "1 = HTTP proxy (direct while \"ProxyName\" is empty), 0 = direct, any other number = transfer nothing"),
    Row("Proxy", "ProxyName", Kind::kPlain, "", "The proxy's host"),
    Row("Proxy", "Port", Kind::kPlain, "", "The proxy's port, up to 32767; empty = 80"),
    Row("Proxy", "User", Kind::kPlain, "", "User of the proxy; empty = no log-in"),
    Row("Proxy", "Password", Kind::kSecret, "", "Password of the proxy"),

    Row("RAS", "Enable", Kind::kText, "0", "1 or True = dial up before the run, by Dialer.exe"),
    Row("APACHE", "Enable", Kind::kIntWriteBack, "0", "1 = start PageScribe.exe at fixed points of the run"),
    Row("OFFICESCAN_UPDATE", "Enable", Kind::kInt, "0", "1 = start ClientAudit.exe after the updates and wait for it"),

    // Mails. Placeholders: %SERVER% %Pattern% %PatternCPR% %Line% %CRLF%
    Row("NOTIFICATION", "Enable", Kind::kInt, "0", "1 = queue pattern, virus-list and CPR mails"),
    Row("NOTIFICATION", "EnableVirusNotifications", Kind::kText, "0", "1 or True = start Ledgerbook.exe behind ClientAudit.exe"),
    Row("NOTIFICATION", "Subject_PATTERN", Kind::kTextTrimmed, "[Velmora]: New Pattern found From %SERVER% %Pattern%", "Subject of the pattern mail"),
    Row("NOTIFICATION", "Body_PATTERN", Kind::kText, "%SERVER% report a new Pattern update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the pattern mail"),
    Row("NOTIFICATION", "Subject_SCANENGINE", Kind::kTextTrimmed, "[Velmora]: New Scan Engine found from %SERVER%", "Subject of the engine mail"),
    Row("NOTIFICATION", "Body_SCANENGINE", Kind::kText, "%SERVER% report a new Scan Engine update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the engine mail"),
    Row("NOTIFICATION", "Subject_PRODUCTS", Kind::kTextTrimmed, "[Velmora]: New Products found from %SERVER%", "Subject of the product mail"),
    Row("NOTIFICATION", "Body_PRODUCTS", Kind::kText, "%SERVER% report a new product update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the product mail"),
    Row("NOTIFICATION", "Subject_OPP", Kind::kTextTrimmed, "[Velmora]: New OPP found from %SERVER%", "Subject of the OPP mail"),
    Row("NOTIFICATION", "Body_OPP", Kind::kText, "%SERVER% report a new Pattern update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the OPP mail"),
    Row("NOTIFICATION", "Subject_SPAM", Kind::kTextTrimmed, "[Velmora]: New SPAM found from %SERVER%", "Subject of the SPAM mail"),
    Row("NOTIFICATION", "Body_SPAM", Kind::kText, "%SERVER% report a new SPAM update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the SPAM mail"),
    Row("NOTIFICATION", "Subject_REDALERTS", Kind::kTextTrimmed, "[Velmora]: New RedAlert found from %SERVER%", "Subject of the RedAlert mail"),
    Row("NOTIFICATION", "Body_REDALERTS", Kind::kText, "%SERVER% report a new RedAlert update %CRLF% Pattern=%Pattern% %CRLF%", "Body of the RedAlert mail"),
    Row("NOTIFICATION", "Subject_CPR", Kind::kTextTrimmed, "[Velmora]: New CPR Pattern found from %SERVER%", "Subject of the CPR mail"),
    Row("NOTIFICATION", "Body_CPR", Kind::kText, "%SERVER% report a new CPR update %CRLF% Pattern=%PatternCPR% %CRLF%", "Body of the CPR mail"),
    Row("NOTIFICATION", "Subject_TSC", Kind::kTextTrimmed, "[Velmora]: New TSC Pattern found from %SERVER%", "Subject of the TSC mail"),
    Row("NOTIFICATION", "Body_TSC", Kind::kText, "%SERVER% report a new TSC update", "Body of the TSC mail"),
    Row("NOTIFICATION", "Enable_OPP_Send", Kind::kIntWriteBack, "0", "1 = queue OPP mails"),
    Row("NOTIFICATION", "Enable_SPAM_Send", Kind::kIntWriteBack, "0", "1 = queue SPAM mails"),
    Row("NOTIFICATION", "Enable_PRODUCTS_Send", Kind::kIntWriteBack, "0", "1 = queue product mails"),
    Row("NOTIFICATION", "Enable_RedAlert_Send", Kind::kIntWriteBack, "0", "1 = queue RedAlert mails"),
    Row("NOTIFICATION", "Enable_Engine_Send", Kind::kIntWriteBack, "0", "1 = queue engine mails"),
    Row("NOTIFICATION", "Enable_TSC_Send", Kind::kIntWriteBack, "0", "1 = queue TSC mails"),

    // Files shared with other programs.
    RowIn(SettingFile::kDialer, "RAS", "Connection", Kind::kPlain, "", "2 = dial (written here), 1 = connected, 3 = failed (written by Dialer.exe)"),
    RowIn(SettingFile::kDialer, "RAS", "Disconnect", Kind::kWriter, "", "1 = hang up, 0 = keep the line; written here"),
    RowIn(SettingFile::kMail, "EMAIL-UPDATES", "EngineVersion", Kind::kPlain, "", "Engines that the mail side has gathered; read only"),
    RowIn(SettingFile::kTsc, "TSC", "PatternBuild", Kind::kText, "0", "Version of the last cleaner package installed; written here"),
    RowIn(SettingFile::kTsc, "TSC", "Build", Kind::kWriter, "", "File version of the installed tsc.exe; written here"),
    RowIn(SettingFile::kTsc, "TSC", "Len", Kind::kWriter, "", "Bytes of the installed tsc.ptn; written here"),
}};
// clang-format on

}  // namespace

const SettingRow& RowOf(Setting setting) { return kTable[static_cast<std::size_t>(setting)]; }

std::span<const SettingRow> SettingTable() { return kTable; }

}  // namespace vlmr::core
