#include "transfer/curl_internet_file.h"

#include <gtest/gtest.h>

#include <optional>

#include "platform/native.h"
#include "platform/runtime_error.h"
#include "support/loopback_server.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using namespace std::chrono_literals;
using test::LoopbackServer;
using test::Response;
using Lines = std::vector<std::string>;

class CurlInternetFileTest : public testing::Test {
 protected:
  CurlInternetFileTest() {
    file->OnCompletion([this] { events.emplace_back("complete"); });
    file->OnError([this](const std::string& text) { events.push_back(text); });
    file->SetAccess(InternetFile::Access::kDirect);
    file->SetLocalFile(local);
  }

  void PumpUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!condition() && std::chrono::steady_clock::now() < deadline) loop->Pump(100ms);
    EXPECT_TRUE(condition());
  }
  void PumpUntilEvent() {
    PumpUntil([this] { return !events.empty(); });
  }

  test::World world;
  std::unique_ptr<platform::EventLoop> loop = platform::MakeEventLoop();
  LoopbackServer server;
  std::string local = world.At(R"(\a.zip)");
  Lines events;
  std::optional<CurlInternetFile> file{std::in_place, world.runtime, *loop};
};

TEST_F(CurlInternetFileTest, StartOnlyArmsSoThatAPropertySetBehindItStillCounts) {
  file->SetUrl("http://127.0.0.1/a");
  file->Start();
  EXPECT_EQ(server.Connections(), 0);
  server.Answer({.pieces = {Response("200 OK", "body")}});
  file->SetRemotePort(server.Port());
  PumpUntilEvent();
  EXPECT_EQ(events, (Lines{"complete"}));
}

TEST_F(CurlInternetFileTest, NoEventIsDeliveredOutsideAPump) {
  file->SetUrl("ftp://127.0.0.1/a");
  file->Start();
  EXPECT_EQ(events, Lines{});
  loop->Pump(100ms);
  EXPECT_EQ(events, (Lines{"1 Unsupported protocol"}));
}

TEST_F(CurlInternetFileTest, EachTransferRaisesExactlyOneEvent) {
  file->SetUrl(server.Url("/a"));
  server.Answer({.pieces = {Response("200 OK", "body")}});
  file->Start();
  PumpUntilEvent();
  for (int i = 0; i < 5; ++i) loop->Pump(0ms);
  EXPECT_EQ(events, (Lines{"complete"}));
  server.Answer({.pieces = {Response("404 Not Found", "")}});
  file->Start();
  PumpUntil([this] { return events.size() == 2; });
  for (int i = 0; i < 5; ++i) loop->Pump(0ms);
  EXPECT_EQ(events, (Lines{"complete", "404 Not Found"}));
}

TEST_F(CurlInternetFileTest, AnEventHandlerMayStartTheNextTransfer) {
  server.Answer({.pieces = {Response("404 Not Found", "")}});
  server.Answer({.pieces = {Response("200 OK", "body")}});
  file->OnError([this](const std::string& text) {
    events.push_back(text);
    file->Start();
  });
  file->SetUrl(server.Url("/a"));
  file->Start();
  PumpUntil([this] { return events.size() == 2; });
  EXPECT_EQ(events, (Lines{"404 Not Found", "complete"}));
  EXPECT_EQ(world.files.ReadAll(local), "body");
}

TEST_F(CurlInternetFileTest, AHandlerMayEndTheProcessFromInsideThePump) {
  server.Answer({.pieces = {Response("200 OK", "body")}});
  file->OnCompletion([] { throw platform::ProcessEnd(); });
  file->SetUrl(server.Url("/a"));
  file->Start();
  EXPECT_THROW(
      {
        for (int i = 0; i < 200; ++i) loop->Pump(100ms);
      },
      platform::ProcessEnd);
  file.reset();
}

TEST_F(CurlInternetFileTest, ASecondStartGivesTheFirstTransferUpWithoutAnEvent) {
  server.Answer({.pieces = {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"}});
  server.Answer({.pieces = {Response("200 OK", "second")}});
  file->SetUrl(server.Url("/first"));
  file->Start();
  PumpUntil([this] { return world.files.Files().size() == 1; });
  file->SetUrl(server.Url("/second"));
  file->Start();
  EXPECT_EQ(world.files.Files(), Lines{});
  PumpUntilEvent();
  EXPECT_EQ(events, (Lines{"complete"}));
  EXPECT_EQ(world.files.ReadAll(local), "second");
}

TEST_F(CurlInternetFileTest, AComponentThatIsDestroyedMidwayLeavesNoTemporaryFileAndNothingToServe) {
  server.Answer({.pieces = {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"}});
  file->SetUrl(server.Url("/a"));
  file->Start();
  PumpUntil([this] { return world.files.Files().size() == 1; });
  file.reset();
  EXPECT_EQ(world.files.Files(), Lines{});
  loop->Pump(0ms);
  EXPECT_EQ(events, Lines{});
}

TEST_F(CurlInternetFileTest, AWaitForASilentServerSleepsInTheEventLoop) {
  server.Answer({.pieces = {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"}});
  file->SetUrl(server.Url("/a"));
  file->Start();
  PumpUntil([this] { return world.files.Files().size() == 1; });
  int pumps = 0;
  const auto end = std::chrono::steady_clock::now() + 1s;
  for (; std::chrono::steady_clock::now() < end; ++pumps) loop->Pump(1000ms);
  EXPECT_LT(pumps, 20);
}

}  // namespace
}  // namespace vlmr::transfer
