#include "core/startup.h"

#include <algorithm>
#include <vector>

#include "core/folder_tree.h"
#include "core/leftovers.h"
#include "core/number.h"
#include "core/text.h"
#include "core/version.h"

namespace vlmr::core {
namespace {

constexpr std::string_view kTitle = "Velmora Pelgrun";
constexpr std::size_t kCommandLength = 4;

/// One field of a split argument, counted from 1. Raises 9 when there are not so many.
const std::string& Field(const std::vector<std::string>& fields, std::size_t number) {
  if (number > fields.size()) {
    throw platform::RuntimeError(platform::error_number::kSubscriptOutOfRange);
  }
  return fields[number - 1];
}

}  // namespace

Startup::Startup(const Runtime& runtime, ProcessServices& services, platform::ProcessRunner& processes,
                 platform::InstanceLock& instance, platform::Form& form, Notifier& notifier, Needs& needs)
    : runtime_(runtime),
      services_(services),
      processes_(processes),
      instance_(instance),
      form_(form),
      notifier_(notifier),
      needs_(needs),
      trap_([this](const platform::RuntimeError& error) {
        runtime_.Log("Loading... Error number " + ErrorText(error));
      }) {}

void Startup::Form_Load(const std::string& command_line) {
  Prepare();
  Impersonate();
  if (instance_.PreviousInstance()) {
    runtime_.Log("Loading: Previous Instance detected...aborting");
    return;
  }
  RemoveLeftovers(runtime_.paths, runtime_.files);
  if (!command_line.empty()) {
    RunCommand(command_line);
    return;
  }
  // A second guard; the first has ended the process already when there is another instance.
  if (instance_.PreviousInstance()) {
    LogBanner();
    runtime_.Log("Loading, Another previous instance existing, autokill the thread");
    return;
  }
  LogBanner();
  if (trap_.Test([&] { return runtime_.settings.IsTrue(Setting::kRasEnable); })) {
    runtime_.settings.SetSwitch(Setting::kDialerDisconnect, true);
  }
  needs_.StartingOperations();
}

void Startup::Prepare() {
  runtime_.Log("Loading: Initialize parameters");
  needs_.DisableTimer();
  form_.Hide();
  needs_.SetHttpApi(runtime_.settings.Flag(Setting::kApiEnable));
  if (IsOn(Setting::kEnableDebugsWinsockHttp)) {
    runtime_.state.SetDebugHttp(true);
  }
  if (IsOn(Setting::kEnableDebugPelgrun)) {
    runtime_.state.SetDebugMain(true);
    runtime_.state.SetTempLogPath(runtime_.log.GetFileTempLogs());
  }
  processes_.Start(runtime_.paths / R"(\QueueMailer.exe)", platform::WindowMode::kHidden);
}

void Startup::Impersonate() {
  if (services_.MyOSVersion() != "NT" || !IsOn(Setting::kEnableCredential)) {
    return;
  }
  const std::string account = runtime_.settings.Text(Setting::kCredentialAccount);
  runtime_.Log("Load: Start impersonate function with [" + account + "]", LogLevel::kDetailed);
  services_.StartImpersonation(account, runtime_.settings.Secret(Setting::kCredentialPassword),
                               runtime_.settings.Text(Setting::kCredentialDomain));
}

void Startup::RunCommand(const std::string& command_line) {
  runtime_.Log("Command: [" + command_line + "]");
  const std::string_view command = TrimBlanks(command_line);
  if (command == "Mp") {
    notifier_.PrepareMail(MailSwitch::kPattern, "001");
    return;
  }
  if (command == "OPATCH") {
    CheckAllProducts();
    return;
  }
  if (command == "MANU") {
    needs_.StartingOperations();
    return;
  }
  if (command == "/DLLs") {
    services_.WriteDependencyReport();
    return;
  }
  const std::string_view word = command.substr(0, kCommandLength);
  runtime_.Log("Command: sTCom=[" + std::string(word) + "]");
  if (word == "PROD") {
    // The four characters are counted on the line as it was given: blanks in front of the word count.
    const std::string_view rest =
        std::string_view(command_line).substr(std::min(kCommandLength, command_line.size()));
    CheckOneProduct(std::string(TrimBlanks(rest)));
  }
}

void Startup::CheckAllProducts() {
  trap_([&] { TestingFolder(runtime_, FolderTree::kPublished); });
  needs_.GetProducts();
  needs_.GET_PRODUCTS_ByName();
}

void Startup::CheckOneProduct(const std::string& argument) {
  const std::vector<std::string> fields = Split(argument, '!');
  trap_([&] { runtime_.Log("Command: [PROD] [" + Field(fields, 1) + "][" + Field(fields, 2) + "]"); });
  trap_([&] { needs_.VerifyProductByIndex(ToInt16(Field(fields, 2)), Field(fields, 1)); });
}

void Startup::LogBanner() {
  runtime_.Log("Velmora Pelgrun.exe Start " + std::string(kTitle) + " " + VersionText());
}

/// A switch whose text is no number is off, after its error line.
bool Startup::IsOn(Setting setting) const {
  return trap_.Test([&] { return runtime_.settings.IsOn(setting); });
}

}  // namespace vlmr::core
