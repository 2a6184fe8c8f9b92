#include "transfer/http_trace.h"

#include <gtest/gtest.h>

namespace vlmr::transfer {
namespace {

using Lines = std::vector<std::string>;

TEST(TraceLines, MarksEachLineByItsDirection) {
  EXPECT_EQ(TraceLines(TraceKind::kHeaderSent, "GET / HTTP/1.1\r\nHost: h\r\n\r\n"),
            (Lines{"> GET / HTTP/1.1", "> Host: h"}));
  EXPECT_EQ(TraceLines(TraceKind::kHeaderReceived, "HTTP/1.1 200 OK\r\n"), (Lines{"< HTTP/1.1 200 OK"}));
  EXPECT_EQ(TraceLines(TraceKind::kRemark, "Connected\n"), (Lines{"* Connected"}));
}

TEST(TraceLines, MasksLogInsAndCookies) {
  EXPECT_EQ(TraceLines(TraceKind::kHeaderSent,
                       "Host: h\r\nproxy-authorization: Basic b3A6cHc=\r\n"
                       "Authorization: Basic b3A6cHc=\r\nCookie: a=b\r\n"),
            (Lines{"> Host: h", "> proxy-authorization: ***", "> Authorization: ***", "> Cookie: ***"}));
  EXPECT_EQ(TraceLines(TraceKind::kHeaderReceived, "Set-Cookie: a=b"), (Lines{"< Set-Cookie: ***"}));
}

TEST(TraceLines, ControlCharactersBecomeBlanks) {
  EXPECT_EQ(TraceLines(TraceKind::kHeaderReceived, "X: a\x1B[0m"), (Lines{"< X: a [0m"}));
}

}  // namespace
}  // namespace vlmr::transfer
