#include "transfer/http_head.h"

#include <gtest/gtest.h>

namespace vlmr::transfer {
namespace {

HttpHead HeadOf(std::initializer_list<const char*> lines) {
  HttpHead head;
  for (const char* line : lines) EXPECT_TRUE(head.TakeLine(line));
  return head;
}

TEST(HttpHead, ShowsStatusAndReason) {
  EXPECT_EQ(HeadOf({"HTTP/1.1 404 Not Found\r\n", "Server: x\r\n", "\r\n"}).Text(), "404 Not Found");
  EXPECT_EQ(HeadOf({"HTTP/1.1 503\r\n"}).Text(), "503");
  EXPECT_EQ(HeadOf({"HTTP/1.0  200  Fine \r\n"}).Text(), "200 Fine");
}

TEST(HttpHead, ReasonStaysOnOneLineAndIsCut) {
  EXPECT_EQ(HeadOf({"HTTP/1.1 500 a\tb\x01"
                    "c\r\n"})
                .Text(),
            "500 a b c");
  const std::string line = "HTTP/1.1 500 " + std::string(5000, 'x') + "\r\n";
  EXPECT_LT(HeadOf({line.c_str()}).Text().size(), 500U);
}

TEST(HttpHead, TheLastStatusLineCounts) {
  const HttpHead head = HeadOf({"HTTP/1.1 100 Continue\r\n", "\r\n", "HTTP/1.1 200 OK\r\n", "\r\n"});
  EXPECT_EQ(head.Status(), 200);
  EXPECT_TRUE(head.IsSuccess());
}

TEST(HttpHead, ALineThatIsNoStatusLineChangesNothing) {
  EXPECT_EQ(HeadOf({"HTTP/1.1 200 OK\r\n", "HTTP/1.1 x\r\n", "HTTP/1.1 99999\r\n", "http: 404\r\n"}).Status(),
            200);
}

TEST(HttpHead, OnlyTwoHundredsAreSuccess) {
  EXPECT_FALSE(HttpHead().IsSuccess());
  EXPECT_FALSE(HeadOf({"HTTP/1.1 199 x\r\n"}).IsSuccess());
  EXPECT_TRUE(HeadOf({"HTTP/1.1 299 x\r\n"}).IsSuccess());
  EXPECT_FALSE(HeadOf({"HTTP/1.1 300 x\r\n"}).IsSuccess());
}

TEST(HttpHead, FiveStatusesRedirect) {
  for (const char* line :
       {"HTTP/1.1 301 x", "HTTP/1.1 302 x", "HTTP/1.1 303 x", "HTTP/1.1 307 x", "HTTP/1.1 308 x"}) {
    EXPECT_TRUE(HeadOf({line}).IsRedirect()) << line;
  }
  for (const char* line : {"HTTP/1.1 300 x", "HTTP/1.1 304 x", "HTTP/1.1 305 x", "HTTP/1.1 200 x"}) {
    EXPECT_FALSE(HeadOf({line}).IsRedirect()) << line;
  }
}

TEST(HttpHead, RefusesMoreThan256KiB) {
  HttpHead head;
  const std::string line(1024, 'x');
  for (int i = 0; i < 256; ++i) EXPECT_TRUE(head.TakeLine(line));
  EXPECT_FALSE(head.TakeLine("x"));
  head.Reset();
  EXPECT_TRUE(head.TakeLine("x"));
}

}  // namespace
}  // namespace vlmr::transfer
