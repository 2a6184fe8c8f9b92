#include "transfer/curl_http_get.h"

#include <gtest/gtest.h>

#include "platform/runtime_error.h"
#include "support/loopback_server.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using test::LoopbackServer;
using test::Response;
using Lines = std::vector<std::string>;

class CurlHttpGetTest : public testing::Test {
 protected:
  HttpRequest RequestFor(const std::string& path) const {
    HttpRequest request;
    request.url = server.Url(path);
    request.local_file = world.At(R"(\a.zip)");
    return request;
  }

  test::World world;
  LoopbackServer server;
  CurlHttpGet http_get{world.runtime, world.loop, world.form};
};

TEST_F(CurlHttpGetTest, ShowsItsProgressOnTheForm) {
  server.Answer({.pieces = {Response("200 OK", std::string(50'000, 'x'))}});
  EXPECT_TRUE(http_get.Get(RequestFor("/a")));
  ASSERT_FALSE(world.form.progress.empty());
  EXPECT_EQ(world.form.progress.back(), std::make_pair(std::int64_t{50'000}, std::int64_t{50'000}));
}

TEST_F(CurlHttpGetTest, ALongTransferDoesNotKeepABatchFromTheDisk) {
  struct SlowForm : test::FakeForm {
    explicit SlowForm(test::FakeClock& moved) : clock(moved) {}
    void SetProgress(std::int64_t, std::int64_t) override { clock.Advance(std::chrono::milliseconds(1100)); }
    test::FakeClock& clock;
  } form(world.clock);
  CurlHttpGet slow(world.runtime, world.loop, form);
  const core::IniStore::Batch batch(world.ini, world.At(R"(\server.ini)"),
                                    core::IniStore::BatchKind::kEachSecond);
  world.runtime.WriteIniValue("INFO", "Version", "1.2", world.At(R"(\server.ini)"));
  ASSERT_FALSE(world.files.Has(R"(\server.ini)"));
  server.Answer({.pieces = {Response("200 OK", "body")}});
  EXPECT_TRUE(slow.Get(RequestFor("/a")));
  EXPECT_EQ(world.files.Text(R"(\server.ini)"), "[INFO]\r\nVersion=1.2\r\n");
}

TEST_F(CurlHttpGetTest, ARequestToEndTheProcessEndsTheTransferAndIsServed) {
  server.Answer({.pieces = {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"}});
  world.loop.OnCloseRequest([] { throw platform::ProcessEnd(); });
  world.loop.RequestClose();
  EXPECT_THROW(http_get.Get(RequestFor("/a")), platform::ProcessEnd);
  world.loop.OnCloseRequest([] {});
  EXPECT_EQ(world.files.Files(), Lines{});
}

TEST_F(CurlHttpGetTest, TracesItsExchangeAtTheDetailedLevelWithoutThePassword) {
  world.SetSetting("LOGS", "Level", "1");
  HttpRequest request = RequestFor("/a");
  request.url = "http://service.example/a";
  request.debug = true;
  request.use_proxy = true;
  request.proxy_name = "127.0.0.1";
  request.proxy_port = server.Port();
  request.proxy_user = "operator";
  request.proxy_password = "secret";
  server.Answer({.pieces = {Response("200 OK", "body", "Server: nobody\r\n")}});
  EXPECT_TRUE(http_get.Get(request));
  EXPECT_TRUE(world.Logged("HTTPGet: > GET http://service.example/a HTTP/1.1"));
  EXPECT_TRUE(world.Logged("HTTPGet: > Proxy-Authorization: ***"));
  EXPECT_TRUE(world.Logged("HTTPGet: < Server: nobody"));
  const std::string log = world.files.Text(R"(\VlMR.log)");
  EXPECT_EQ(log.find("secret"), std::string::npos);
  EXPECT_EQ(log.find("b3BlcmF0b3I6c2VjcmV0"), std::string::npos);

  world.ClearLog();
  world.SetSetting("LOGS", "Level", "0");
  server.Answer({.pieces = {Response("200 OK", "body")}});
  EXPECT_TRUE(http_get.Get(request));
  EXPECT_EQ(world.LogMessages(), Lines{});
}

TEST_F(CurlHttpGetTest, TheTraceEndsWithTheRequestThatAskedForIt) {
  world.SetSetting("LOGS", "Level", "1");
  HttpRequest request = RequestFor("/a");
  request.debug = true;
  server.Answer({.pieces = {Response("200 OK", "")}});
  EXPECT_TRUE(http_get.Get(request));
  world.ClearLog();
  request.debug = false;
  server.Answer({.pieces = {Response("200 OK", "")}});
  EXPECT_TRUE(http_get.Get(request));
  EXPECT_EQ(world.LogMessages(), Lines{});
}

}  // namespace
}  // namespace vlmr::transfer
