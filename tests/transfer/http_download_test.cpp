#include "transfer/http_download.h"

#include <gtest/gtest.h>

#include "core/version.h"
#include "platform/runtime_error.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using Lines = std::vector<std::string>;
using Operation = test::MemoryFileSystem::Operation;

/// Records the properties and methods in the order of the calls; at the next yield it raises the event that
/// the test chose.
class RecordingInternetFile : public InternetFile {
 public:
  explicit RecordingInternetFile(test::FakeEventLoop& loop) : loop_(loop) {}

  void SetAccess(Access access) override {
    calls.push_back(access == Access::kProxy ? "access 1" : "access 2");
  }
  void SetUrl(const std::string& url) override { calls.push_back("url " + url); }
  void SetLocalFile(const std::string& path) override { calls.push_back("file " + path); }
  void SetProxyName(const std::string& name) override { calls.push_back("proxy name " + name); }
  void SetProxyPort(std::int16_t port) override { calls.push_back("proxy port " + std::to_string(port)); }
  void SetProxyPassword(const std::string& password) override {
    calls.push_back("proxy password " + password);
  }
  void SetProxyUser(const std::string& user) override { calls.push_back("proxy user " + user); }
  void SetRemotePort(std::int16_t port) override { calls.push_back("remote port " + std::to_string(port)); }
  void SetMaxBytes(std::int64_t bytes) override { max_bytes = bytes; }
  void Start() override {
    calls.emplace_back("start");
    loop_.AtPump(yields, [this] { events(*this); });
  }
  void OnCompletion(std::function<void()> handler) override { complete = std::move(handler); }
  void OnError(std::function<void(const std::string&)> handler) override { fail = std::move(handler); }

  Lines calls;
  std::int64_t max_bytes = -1;
  std::size_t yields = 1;  ///< the yield in which the event comes
  std::function<void(RecordingInternetFile&)> events = [](RecordingInternetFile& file) { file.complete(); };
  std::function<void()> complete;
  std::function<void(const std::string&)> fail;

 private:
  test::FakeEventLoop& loop_;
};

class RecordingHttpGet : public HttpGet {
 public:
  bool Get(const HttpRequest& request) override {
    requests.push_back(request);
    if (on_get) on_get();
    return result;
  }
  std::vector<HttpRequest> requests;
  bool result = true;
  std::function<void()> on_get;
};

class DownloadFiles : public testing::Test {
 protected:
  DownloadFiles() {
    world.SetSetting("Proxy", "Enable", "0");
    world.SetSetting("Proxy", "ProxyName", "gateway");
    world.SetSetting("Proxy", "Port", "3128");
    world.SetSetting("Proxy", "User", "operator");
    world.SetSetting("Proxy", "Password", "secret");
    world.SetSetting("SERVICE", "WebServerPort", "8081");
  }

  bool Fetch(std::int16_t protocol = kProtocolHttp) { return download.DownloadFiles(protocol, url, local); }

  /// The log of a whole call between its first five lines and its last one.
  Lines Whole(const Lines& middle, const std::string& port = "8081") const {
    Lines lines = {"DownloadFiles: Initialize-----------------------------------",
                   "DownloadFiles: URL=" + url, "DownloadFiles: Remote port =" + port,
                   "DownloadFiles: LocalFilename=" + local,
                   "DownloadFiles: --------------------------------------------"};
    lines.insert(lines.end(), middle.begin(), middle.end());
    lines.push_back("DownloadFiles: --------------------------------------------" + core::VersionText());
    return lines;
  }

  test::World world;
  RecordingInternetFile internet_file{world.loop};
  RecordingHttpGet http_get;
  HttpDownload download{world.runtime, world.loop, world.form, internet_file, http_get};
  std::string url = "http://service.example/au/server.ini";
  std::string local = world.At(R"(\TempDownload\a.zip)");
};

TEST_F(DownloadFiles, DirectApiModeSetsThePortBehindTheStart) {
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(internet_file.calls,
            (Lines{"access 2", "url " + url, "file " + local, "start", "remote port 8081"}));
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol....",
                                        "DownloadFiles: Switch to Direct Mode API.."}));
  EXPECT_TRUE(http_get.requests.empty());
}

TEST_F(DownloadFiles, ProxyApiModeSetsNineThingsInTheirOrder) {
  world.SetSetting("Proxy", "Enable", "1");
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(internet_file.calls,
            (Lines{"access 1", "url " + url, "file " + local, "proxy name gateway", "proxy port 3128",
                   "proxy password secret", "proxy user operator", "remote port 8081", "start"}));
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol....",
                                        "DownloadFiles: Switch to proxy Mode API.. [gateway]"}));
}

TEST_F(DownloadFiles, DirectWinsockModePassesNoProxy) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  EXPECT_TRUE(Fetch());
  ASSERT_EQ(http_get.requests.size(), 1U);
  const HttpRequest& request = http_get.requests.front();
  EXPECT_EQ(request.url, url);
  EXPECT_EQ(request.local_file, local);
  EXPECT_EQ(request.remote_port, 8081);
  EXPECT_FALSE(request.use_proxy);
  EXPECT_EQ(request.proxy_name + request.proxy_user + request.proxy_password, "");
  EXPECT_EQ(request.proxy_port, 0);
  EXPECT_FALSE(request.debug);
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol....",
                                        "DownloadFiles: Switch to Direct Mode Winsock.."}));
  EXPECT_TRUE(internet_file.calls.empty());
}

TEST_F(DownloadFiles, ProxyWinsockModePassesTheProxyAndTheDebugSwitch) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  world.SetSetting("Proxy", "Enable", "1");
  world.state.SetDebugHttp(true);
  EXPECT_TRUE(Fetch());
  ASSERT_EQ(http_get.requests.size(), 1U);
  const HttpRequest& request = http_get.requests.front();
  EXPECT_TRUE(request.use_proxy);
  EXPECT_EQ(request.remote_port, 8081);
  EXPECT_EQ(request.proxy_user, "operator");
  EXPECT_EQ(request.proxy_password, "secret");
  EXPECT_EQ(request.proxy_name, "gateway");
  EXPECT_EQ(request.proxy_port, 3128);
  EXPECT_TRUE(request.debug);
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol....",
                                        "DownloadFiles: Switch to proxy Mode Winsock.."}));
}

TEST_F(DownloadFiles, DoubledBackslashesAreStoredBackSingleAndAnOldFileOfAnotherSpellingIsDeletedFirst) {
  local = world.At(R"(\TempDownload\\ActiveUpdate\\a.zip)");
  const std::string single = world.At(R"(\TempDownload\ActiveUpdate\a.zip)");
  world.files.Put(R"(\TempDownload\ActiveUpdate\A.ZIP)", "old");
  internet_file.events = [&](RecordingInternetFile& file) {
    EXPECT_EQ(world.files.FindFile(single), "");
    file.complete();
  };
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(local, single);
  EXPECT_EQ(world.files.files_deleted, (Lines{single}));
  EXPECT_TRUE(world.Logged("DownloadFiles: LocalFilename=" + single));
}

TEST_F(DownloadFiles, TheOldFileStaysUntilTheNewOneTakesItsPlaceOrTheTransferHasFailed) {
  world.files.Put(R"(\TempDownload\a.zip)", "old");
  internet_file.events = [&](RecordingInternetFile& file) {
    EXPECT_EQ(world.files.Text(R"(\TempDownload\a.zip)"), "old");
    world.files.Replace(local, "new");
    file.complete();
  };
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(world.files.Text(R"(\TempDownload\a.zip)"), "new");
  internet_file.events = [&](RecordingInternetFile& file) {
    EXPECT_TRUE(world.files.Has(R"(\TempDownload\a.zip)"));
    file.fail("404 Not Found");
  };
  EXPECT_FALSE(Fetch());
  EXPECT_FALSE(world.files.Has(R"(\TempDownload\a.zip)"));
}

TEST_F(DownloadFiles, ProtocolZeroLogsTheFtpLineAndTheFooterAndTransfersNothing) {
  world.files.Put(R"(\TempDownload\a.zip)", "old");
  EXPECT_TRUE(Fetch(kProtocolFtp));
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to FTP protocol...."}));
  EXPECT_TRUE(internet_file.calls.empty() && http_get.requests.empty());
  EXPECT_FALSE(world.files.Has(R"(\TempDownload\a.zip)"));
}

TEST_F(DownloadFiles, AnyOtherProtocolLogsNoSwitchLine) {
  EXPECT_TRUE(Fetch(1));
  EXPECT_EQ(world.LogMessages(), Whole({}));
  EXPECT_TRUE(internet_file.calls.empty() && http_get.requests.empty());
}

TEST_F(DownloadFiles, AnyOtherProxySwitchTransfersNothingAndReturnsTrue) {
  for (const char* enable : {"2", "-1", "0.5", "99999"}) {
    world.ClearLog();
    world.SetSetting("Proxy", "Enable", enable);
    EXPECT_TRUE(Fetch()) << enable;
    EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol...."})) << enable;
  }
  EXPECT_TRUE(internet_file.calls.empty() && http_get.requests.empty());
}

TEST_F(DownloadFiles, WithoutProxySectionProxyModeIsChosenWithAnEmptyName) {
  world.files.Put(R"(\VLMR.ini)", "");
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(internet_file.calls,
            (Lines{"access 1", "url " + url, "file " + local, "proxy name ", "proxy port 0",
                   "proxy password ", "proxy user ", "remote port 80", "start"}));
  EXPECT_TRUE(world.Logged("DownloadFiles: Switch to proxy Mode API.. []"));
}

TEST_F(DownloadFiles, AnErrorEventYieldsFalseAndOneErrorLine) {
  internet_file.events = [](RecordingInternetFile& file) { file.fail("404 Not Found"); };
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages(),
            Whole({"DownloadFiles: Switch to HTTP protocol....", "DownloadFiles: Switch to Direct Mode API..",
                   "DownloadFiles: HTTP Error [404 Not Found]"}));
}

TEST_F(DownloadFiles, AComponentThatRaisesBothEventsHasSucceeded) {
  internet_file.events = [](RecordingInternetFile& file) {
    file.complete();
    file.fail("late");
  };
  EXPECT_TRUE(Fetch());
  internet_file.events = [](RecordingInternetFile& file) {
    file.fail("early");
    file.complete();
  };
  EXPECT_TRUE(Fetch());
  EXPECT_TRUE(world.LogMessages("DownloadFiles: HTTP Error").empty());
}

TEST_F(DownloadFiles, BothFlagsAreClearedByEachCall) {
  internet_file.events = [](RecordingInternetFile& file) { file.fail("first"); };
  EXPECT_FALSE(Fetch());
  internet_file.events = [](RecordingInternetFile& file) { file.complete(); };
  EXPECT_TRUE(Fetch());
  internet_file.events = [](RecordingInternetFile& file) { file.fail("third"); };
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages("DownloadFiles: HTTP Error").size(), 2U);
}

TEST_F(DownloadFiles, TheWaitYieldsUntilAnEventComesWithoutALimit) {
  internet_file.yields = 5000;
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(world.loop.pumps.size(), 5000U);
  for (const auto wait : world.loop.pumps) EXPECT_GE(wait, std::chrono::milliseconds(100));
}

TEST_F(DownloadFiles, InWinsockModeTheResultIsThatOfTheComponentAndNoFlagIsConsulted) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  http_get.result = false;
  http_get.on_get = [&] { internet_file.complete(); };
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages(), Whole({"DownloadFiles: Switch to HTTP protocol....",
                                        "DownloadFiles: Switch to Direct Mode Winsock.."}));
  http_get.result = true;
  http_get.on_get = [&] { internet_file.fail("x"); };
  EXPECT_TRUE(Fetch());
}

TEST_F(DownloadFiles, TheMonitorIsShownAroundAWinsockTransferOnlyForTheTextOne) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  world.SetSetting("SERVICE", "ViewMonitor", "1");
  http_get.on_get = [&] { EXPECT_EQ(world.form.shown, (std::vector<bool>{true})); };
  Fetch();
  EXPECT_EQ(world.form.shown, (std::vector<bool>{true, false}));
  http_get.on_get = nullptr;
  world.form.shown.clear();
  world.SetSetting("SERVICE", "ViewMonitor", "1.0");
  Fetch();
  world.SetSetting("SERVICE", "ApiEnable", "1");
  world.SetSetting("SERVICE", "ViewMonitor", "1");
  Fetch();
  EXPECT_TRUE(world.form.shown.empty());
}

TEST_F(DownloadFiles, TheMonitorSettingIsReadAgainBehindTheTransfer) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  world.SetSetting("SERVICE", "ViewMonitor", "1");
  http_get.on_get = [&] { world.SetSetting("SERVICE", "ViewMonitor", "0"); };
  Fetch();
  EXPECT_EQ(world.form.shown, (std::vector<bool>{true}));
}

TEST_F(DownloadFiles, SettingsAreReadAtEveryCall) {
  Fetch();
  world.SetSetting("SERVICE", "ApiEnable", "no");
  world.SetSetting("SERVICE", "WebServerPort", "90");
  world.ClearLog();
  Fetch();
  EXPECT_EQ(http_get.requests.at(0).remote_port, 90);
  EXPECT_TRUE(world.Logged("DownloadFiles: Remote port =90"));
}

TEST_F(DownloadFiles, AFileThatVanishedLogsItsNameAndKeepsTheResultTrue) {
  world.files.Put(R"(\TempDownload\a.zip)", "old");
  world.files.Fail(Operation::kDelete, "a.zip", 53);
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadFiles: error to kill (53) " + local}));
}

TEST_F(DownloadFiles, AnError53DuringTheTransferDoesNotTurnTheResultToFalse) {
  world.SetSetting("SERVICE", "ApiEnable", "0");
  http_get.on_get = [] { throw platform::RuntimeError(53); };
  EXPECT_TRUE(Fetch());
  EXPECT_EQ(world.LogMessages().back(), "DownloadFiles: error to kill (53) " + local);
}

TEST_F(DownloadFiles, AnExistingFileThatCannotBeDeletedEndsTheCallWithThatLineAlone) {
  world.files.Put(R"(\TempDownload\a.zip)", "old");
  world.files.Fail(Operation::kDelete, "a.zip", 70);
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages(), (Lines{"DownloadFiles: error 70 Permission denied"}));
}

TEST_F(DownloadFiles, AWebServerPortThatIsNoNumberEndsTheCallBehindTheUrlLine) {
  world.SetSetting("SERVICE", "WebServerPort", "http");
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages(),
            (Lines{"DownloadFiles: Initialize-----------------------------------",
                   "DownloadFiles: URL=" + url, "DownloadFiles: error 13 Type mismatch"}));
  world.SetSetting("SERVICE", "WebServerPort", "32768");
  EXPECT_FALSE(Fetch());
  EXPECT_EQ(world.LogMessages().back(), "DownloadFiles: error 6 Overflow");
}

TEST_F(DownloadFiles, AProxySwitchThatIsNoNumberLeavesWithoutTheFooter) {
  world.SetSetting("Proxy", "Enable", "yes");
  EXPECT_FALSE(Fetch());
  const Lines lines = world.LogMessages();
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_EQ(lines[5], "DownloadFiles: Switch to HTTP protocol....");
  EXPECT_EQ(lines[6], "DownloadFiles: error 13 Type mismatch");
}

TEST_F(DownloadFiles, AProxyPortThatIsNoNumberFailsInProxyModesAlone) {
  world.SetSetting("Proxy", "Port", "squid");
  EXPECT_TRUE(Fetch());
  for (const char* api : {"1", "0"}) {
    world.SetSetting("SERVICE", "ApiEnable", api);
    world.SetSetting("Proxy", "Enable", "1");
    internet_file.calls.clear();
    EXPECT_FALSE(Fetch());
    EXPECT_EQ(world.LogMessages().back(), "DownloadFiles: error 13 Type mismatch");
    EXPECT_TRUE(http_get.requests.empty());
    EXPECT_EQ(std::count(internet_file.calls.begin(), internet_file.calls.end(), "start"), 0);
  }
}

TEST_F(DownloadFiles, WhatIsReadAsAWholeHasALongestLength) {
  Fetch();
  EXPECT_EQ(internet_file.max_bytes, 0);
  local = world.At(R"(\TempDownload\ActiveUpdate\Server.ini)");
  Fetch();
  EXPECT_EQ(internet_file.max_bytes, 64 * 1024 * 1024);
  world.SetSetting("SERVICE", "ApiEnable", "0");
  Fetch();
  EXPECT_EQ(http_get.requests.at(0).max_bytes, 64 * 1024 * 1024);
}

TEST(CompletionFlags, AnErrorLeavesTheSuccessFlagAsItIs) {
  CompletionFlags flags;
  flags.OnCompletion();
  flags.OnError("text");
  EXPECT_TRUE(flags.GET_ApiHTTPSuccess());
  EXPECT_TRUE(flags.GET_ApiHttpFailed());
  EXPECT_EQ(flags.GET_ApiHTTPError(), "text");
  flags.OnCompletion();
  EXPECT_FALSE(flags.GET_ApiHttpFailed());
  flags.Save_ApiHTTPSuccess(false);
  EXPECT_FALSE(flags.GET_ApiHTTPSuccess());
}

}  // namespace
}  // namespace vlmr::transfer
