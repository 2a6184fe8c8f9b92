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

std::string RefusalOf(const char* field, const char* status = "HTTP/1.1 200 OK\r\n") {
  return HeadOf({status, field, "\r\n"}).Refusal();
}

TEST(HttpHead, AnOrdinarySuccessIsNotRefused) {
  EXPECT_EQ(RefusalOf("Content-Length: 5\r\n"), "");
  EXPECT_EQ(RefusalOf("Transfer-Encoding: chunked\r\n"), "");
  EXPECT_EQ(RefusalOf("Content-Encoding: identity\r\n"), "");
  EXPECT_EQ(RefusalOf("Content-Encoding: utf-8\r\n"), "");
}

TEST(HttpHead, AStatusThatSendsNoWholeFileIsRefused) {
  EXPECT_EQ(RefusalOf("Server: x\r\n", "HTTP/1.1 204 No Content\r\n"),
            "204 No Content, refused: no file is sent");
  EXPECT_EQ(RefusalOf("Server: x\r\n", "HTTP/1.1 205 x\r\n"), "205 x, refused: no file is sent");
  EXPECT_EQ(RefusalOf("Content-Length: 5\r\n", "HTTP/1.1 206 Partial\r\n"),
            "206 Partial, refused: a part was not asked for");
}

TEST(HttpHead, AHeaderWithoutItsEndIsRefused) {
  const HttpHead head = HeadOf({"HTTP/1.1 200 OK\r\n", "Content-Le"});
  EXPECT_FALSE(head.IsComplete());
  EXPECT_EQ(head.Refusal(), "200 OK, refused: the header is cut off");
  EXPECT_NE(HeadOf({"HTTP/1.1 100 Continue\r\n", "\r\n", "HTTP/1.1 200 OK\r\n"}).Refusal(), "");
}

TEST(HttpHead, TheSameLengthToldTwiceIsOneLength) {
  EXPECT_EQ(
      HeadOf({"HTTP/1.1 200 OK\r\n", "Content-Length: 5\r\n", "content-length:5\r\n", "\r\n"}).Refusal(), "");
  EXPECT_EQ(RefusalOf("Content-Length: 5, 5\r\n"), "");
}

TEST(HttpHead, LengthsThatDifferOrAreNoNumbersAreRefused) {
  const std::string refusal = "200 OK, refused: the length is not told, or told in two ways";
  EXPECT_EQ(
      HeadOf({"HTTP/1.1 200 OK\r\n", "Content-Length: 5\r\n", "Content-Length: 6\r\n", "\r\n"}).Refusal(),
      refusal);
  for (const char* field : {"Content-Length: 5, 6\r\n", "Content-Length: -5\r\n", "Content-Length: 5x\r\n",
                            "Content-Length:\r\n", "Content-Length: 99999999999999999999\r\n"}) {
    EXPECT_EQ(RefusalOf(field), refusal) << field;
  }
}

TEST(HttpHead, ACompressionThatNobodyAskedForIsRefused) {
  EXPECT_EQ(RefusalOf("CONTENT-ENCODING: GZip\r\n"),
            "200 OK, refused: the body is compressed by GZip, which was not asked for");
  for (const char* field :
       {"Content-Encoding: deflate\r\n", "Content-Encoding: identity, br\r\n", "Content-Encoding:zstd\r\n"}) {
    EXPECT_NE(RefusalOf(field), "") << field;
  }
}

TEST(HttpHead, WhatAnEarlierAnswerOrATrailerToldDoesNotCount) {
  EXPECT_EQ(HeadOf({"HTTP/1.1 302 Found\r\n", "Content-Length: 7\r\n", "Content-Encoding: gzip\r\n", "\r\n",
                    "HTTP/1.1 200 OK\r\n", "Content-Length: 5\r\n", "\r\n", "Content-Length: 9\r\n"})
                .Refusal(),
            "");
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
