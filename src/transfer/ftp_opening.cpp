#include "transfer/ftp_opening.h"

#include "core/number.h"
#include "transfer/ftp_url.h"

namespace vlmr::transfer {

namespace {

using core::Setting;

void ChooseMode(const core::Runtime& runtime, FtpClient& client, const FtpCaller& caller,
                const std::string& prefix, const core::ErrorTrap& trap) {
  const bool passive = trap.Test([&] { return runtime.settings.IsOn(caller.passive); });
  if (passive) {
    runtime.Log(prefix + "Switch to FTP passive mode...");
  } else if (caller.reports_active_mode) {
    runtime.Log(prefix + "Switch to FTP Active mode...");
  }
  client.SetPassive(passive);
}

void ChooseProxy(const core::Runtime& runtime, FtpClient& client, const FtpCaller& caller,
                 const std::string& prefix, const core::ErrorTrap& trap) {
  std::string text;  // the client is shared: without a gateway an earlier caller's must go
  if (caller.uses_proxy && trap.Test([&] { return runtime.settings.IsOn(Setting::kCprProxy); })) {
    const std::string name = runtime.settings.Text(Setting::kCprProxyName);
    runtime.Log(prefix + "FTP proxy=" + name);
    const std::string port = runtime.settings.Text(Setting::kCprProxyPort);
    runtime.Log(prefix + "FTP proxy Port=" + port);
    text = "ftp=ftp://" + name + ":" + port;
    runtime.Log(prefix + "sProxyName=" + text);
  }
  client.SetProxy(text);
}

void ChooseLogin(const core::Runtime& runtime, FtpClient& client, const FtpCaller& caller,
                 const std::string& prefix) {
  if (!caller.login) {
    client.SetCredentials("anonymous", std::string(kAnonymousPassword));
    return;
  }
  const std::string user = runtime.settings.Text(caller.login->user);
  runtime.Log(prefix + "FTP Username=" + user);
  const std::string password = runtime.settings.Secret(caller.login->password);
  // Operators look for it here; the guide tells them to restrict the rights of the log.
  runtime.Log(prefix + "FTP Password=" + password);
  client.SetCredentials(user, password);
}

}  // namespace

FtpOpening OpenFtp(const core::Runtime& runtime, FtpClient& client, const FtpCaller& caller,
                   const core::ErrorTrap& trap) {
  const std::string prefix = std::string(caller.name) + ": ";
  FtpOpening opening;
  ChooseMode(runtime, client, caller, prefix, trap);
  ChooseProxy(runtime, client, caller, prefix, trap);
  ChooseLogin(runtime, client, caller, prefix);
  const FtpUrl url = SplitFtpUrl(runtime.settings.Text(caller.url));
  runtime.Log(prefix + "FtpServerName=" + url.host);
  runtime.Log(prefix + "Connecting...");
  const FtpResult connected = client.Connect(url.host);
  if (!connected.Ok()) {
    runtime.Log(ErrorConnecting(caller.name, connected));
    return opening;
  }
  opening.connected = true;
  runtime.Log(prefix + "Connected...");
  runtime.Log(prefix + "Attempting to read " + std::string(caller.reads) + " into " + url.folder + " folder");
  opening.listing = client.List(url.folder, opening.names);
  return opening;
}

std::string ErrorConnecting(std::string_view caller, const FtpResult& result) {
  return std::string(caller) + ": Error connecting " + core::IntegerText(result.number) + " => " +
         result.description;
}

}  // namespace vlmr::transfer
