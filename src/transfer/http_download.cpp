#include "transfer/http_download.h"

#include <chrono>
#include <optional>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"
#include "core/version.h"
#include "platform/runtime_error.h"
#include "transfer/text_limits.h"

namespace vlmr::transfer {

using core::Setting;

namespace {

// A yield wakes up when a socket, a timer or a close request is due; this only bounds it.
constexpr std::chrono::milliseconds kYield{1000};

}  // namespace

void CompletionFlags::OnCompletion() {
  api_http_success_ = true;
  api_http_failed_ = false;
}

void CompletionFlags::OnError(const std::string& text) {
  api_http_failed_ = true;
  api_http_error_ = text;
}

HttpDownload::HttpDownload(const core::Runtime& runtime, platform::EventLoop& loop, platform::Form& form,
                           InternetFile& internet_file, HttpGet& http_get)
    : runtime_(runtime), loop_(loop), form_(form), internet_file_(internet_file), http_get_(http_get) {
  internet_file_.OnCompletion([this] { flags_.OnCompletion(); });
  internet_file_.OnError([this](const std::string& text) { flags_.OnError(text); });
}

bool HttpDownload::DownloadFiles(std::int16_t protocol, const std::string& url, std::string& local_file) {
  bool result = true;
  std::optional<platform::FileStamp> old;
  // Any error leaves the operation, without its last line.
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    if (error.Number() == platform::error_number::kFileNotFound) {
      runtime_.Log("DownloadFiles: error to kill (53) " + local_file);
      return;
    }
    runtime_.Log("DownloadFiles: error " + core::ErrorText(error));
    result = false;
  });
  trap([&] { result = Perform(protocol, url, local_file, old); });
  DropOld(local_file, old);
  return result;
}

void HttpDownload::DropOld(const std::string& local_file,
                           const std::optional<platform::FileStamp>& old) const {
  if (!old || runtime_.files.Stamp(local_file) != old) return;
  const core::ErrorTrap quiet([](const platform::RuntimeError&) {});
  quiet([&] { runtime_.files.Delete(local_file); });
}

bool HttpDownload::Perform(std::int16_t protocol, const std::string& url, std::string& local_file,
                           std::optional<platform::FileStamp>& old) {
  const ProxySettings proxy = ReadProxy();
  local_file = core::ReplaceAll(local_file, R"(\\)", R"(\)");
  const std::string found = runtime_.files.FindFile(local_file);
  if (found == platform::NameOf(local_file)) {
    runtime_.files.RequireDeletable(local_file);
    // It goes in the step that puts the new one in its place, or once it is known that there is none: it may
    // be one that the network reads.
    old = runtime_.files.Stamp(local_file);
  } else if (!found.empty()) {
    // The new one is to be named as it is asked for.
    runtime_.files.Delete(local_file);
  }

  runtime_.Log("DownloadFiles: Initialize-----------------------------------");
  runtime_.Log("DownloadFiles: URL=" + url);
  runtime_.Log("DownloadFiles: Remote port =" +
               core::IntegerText(runtime_.settings.Int(Setting::kWebServerPort)));
  runtime_.Log("DownloadFiles: LocalFilename=" + local_file);
  runtime_.Log("DownloadFiles: --------------------------------------------");

  flags_.SAVE_ApiHttpFailed(false);
  flags_.Save_ApiHTTPSuccess(false);
  bool result = true;
  if (protocol == kProtocolFtp) {
    runtime_.Log("DownloadFiles: Switch to FTP protocol....");
  } else if (protocol == kProtocolHttp) {
    runtime_.Log("DownloadFiles: Switch to HTTP protocol....");
    result = TransferByHttp(url, local_file, proxy);
  }
  runtime_.Log("DownloadFiles: --------------------------------------------" + core::VersionText());
  return result;
}

HttpDownload::ProxySettings HttpDownload::ReadProxy() const {
  core::Settings& settings = runtime_.settings;
  return {.name = settings.Text(Setting::kProxyName),
          .user = settings.Text(Setting::kProxyUser),
          .port = settings.Text(Setting::kProxyPort),
          .password = settings.Secret(Setting::kProxyPassword)};
}

bool HttpDownload::TransferByHttp(const std::string& url, const std::string& local_file,
                                  const ProxySettings& proxy) {
  const double enable = core::ToDouble(runtime_.settings.Text(Setting::kProxyEnable));
  const bool over_proxy = enable == 1;
  if (!over_proxy && enable != 0) return true;
  const bool api = runtime_.settings.Flag(Setting::kApiEnable);
  if (over_proxy) return api ? ProxyApi(url, local_file, proxy) : ProxyWinsock(url, local_file, proxy);
  return api ? DirectApi(url, local_file) : DirectWinsock(url, local_file);
}

bool HttpDownload::ProxyApi(const std::string& url, const std::string& local_file,
                            const ProxySettings& proxy) {
  runtime_.Log("DownloadFiles: Switch to proxy Mode API.. [" + proxy.name + "]");
  internet_file_.SetMaxBytes(MostBytesOf(local_file));
  internet_file_.SetAccess(InternetFile::Access::kProxy);
  internet_file_.SetUrl(url);
  internet_file_.SetLocalFile(local_file);
  internet_file_.SetProxyName(proxy.name);
  internet_file_.SetProxyPort(core::ToInt16(proxy.port));
  internet_file_.SetProxyPassword(proxy.password);
  internet_file_.SetProxyUser(proxy.user);
  internet_file_.SetRemotePort(runtime_.settings.Int(Setting::kWebServerPort));
  internet_file_.Start();
  return WaitForEvent();
}

bool HttpDownload::DirectApi(const std::string& url, const std::string& local_file) {
  runtime_.Log("DownloadFiles: Switch to Direct Mode API..");
  internet_file_.SetMaxBytes(MostBytesOf(local_file));
  internet_file_.SetAccess(InternetFile::Access::kDirect);
  internet_file_.SetUrl(url);
  internet_file_.SetLocalFile(local_file);
  internet_file_.Start();
  // Behind the start, where it still counts: the transfer connects at the first yield.
  internet_file_.SetRemotePort(runtime_.settings.Int(Setting::kWebServerPort));
  return WaitForEvent();
}

bool HttpDownload::WaitForEvent() {
  // Success is looked at before failure: a component that raised both events has succeeded.
  while (!flags_.GET_ApiHTTPSuccess()) {
    if (flags_.GET_ApiHttpFailed()) {
      runtime_.Log("DownloadFiles: HTTP Error [" + flags_.GET_ApiHTTPError() + "]");
      return false;
    }
    loop_.Pump(kYield);
  }
  return true;
}

bool HttpDownload::ProxyWinsock(const std::string& url, const std::string& local_file,
                                const ProxySettings& proxy) {
  runtime_.Log("DownloadFiles: Switch to proxy Mode Winsock..");
  HttpRequest request = DirectRequest(url, local_file);
  request.use_proxy = true;
  request.proxy_user = proxy.user;
  request.proxy_password = proxy.password;
  request.proxy_name = proxy.name;
  request.proxy_port = core::ToInt16(proxy.port);
  return GetWithMonitor(request);
}

bool HttpDownload::DirectWinsock(const std::string& url, const std::string& local_file) {
  runtime_.Log("DownloadFiles: Switch to Direct Mode Winsock..");
  return GetWithMonitor(DirectRequest(url, local_file));
}

HttpRequest HttpDownload::DirectRequest(const std::string& url, const std::string& local_file) const {
  return {.url = url,
          .local_file = local_file,
          .remote_port = runtime_.settings.Int(Setting::kWebServerPort),
          .proxy_name = {},
          .proxy_user = {},
          .proxy_password = {},
          .debug = runtime_.state.DebugHttp(),
          .max_bytes = MostBytesOf(local_file)};
}

bool HttpDownload::GetWithMonitor(const HttpRequest& request) {
  const auto is_watched = [this] { return runtime_.settings.Text(Setting::kViewMonitor) == "1"; };
  if (is_watched()) form_.Show();
  const bool result = http_get_.Get(request);
  if (is_watched()) form_.Hide();
  return result;
}

}  // namespace vlmr::transfer
