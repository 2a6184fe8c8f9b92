#include "transfer/ftp_reply.h"

#include <gtest/gtest.h>

namespace vlmr::transfer {
namespace {

TEST(FtpReply, KeepsTheWordsOfTheLastReply) {
  FtpReply reply;
  EXPECT_EQ(reply.Words(), "");
  reply.TakeLine("220 ready\r\n");
  EXPECT_EQ(reply.Words(), "ready");
  reply.TakeLine("530 Login incorrect.\r\n");
  EXPECT_EQ(reply.Words(), "Login incorrect.");
}

TEST(FtpReply, JoinsTheLinesOfOneReply) {
  FtpReply reply;
  reply.TakeLine("530-Too many users.\r\n");
  reply.TakeLine(" 530 of them, indented\r\n");
  reply.TakeLine("\r\n");
  reply.TakeLine("530-\r\n");
  reply.TakeLine("530 Come back later\r\n");
  EXPECT_EQ(reply.Words(), "Too many users. 530 of them, indented Come back later");
  reply.TakeLine("221 bye");
  EXPECT_EQ(reply.Words(), "bye");
}

TEST(FtpReply, KnowsTheLengthThatTheServerTold) {
  FtpReply reply;
  EXPECT_EQ(reply.ToldLength(), std::nullopt);
  reply.TakeLine("213 65536\r\n");
  reply.TakeLine("226 5\r\n");
  EXPECT_EQ(reply.ToldLength(), 65536);
  reply.TakeLine("213 -5\r\n");
  EXPECT_EQ(reply.ToldLength(), -5);
  for (const char* line : {"213 many", "213 ", "213 5 bytes", "213 99999999999999999999"}) {
    reply.TakeLine(line);
    EXPECT_EQ(reply.ToldLength(), std::nullopt) << line;
  }
}

TEST(FtpReply, KnowsALineThatIsABareCode) {
  FtpReply reply;
  reply.TakeLine("530\r\n");
  EXPECT_EQ(reply.Words(), "");
  reply.TakeLine("221 bye");
  EXPECT_EQ(reply.Words(), "bye");
}

TEST(FtpReply, MakesOneCleanLineOfLimitedLength) {
  FtpReply reply;
  reply.TakeLine("550 a\x1b[31m\tb\x7f");
  EXPECT_EQ(reply.Words(), "a [31m b");
  reply.TakeLine("550 " + std::string(100'000, 'x'));
  EXPECT_EQ(reply.Words(), std::string(FtpReply::kLongestWords, 'x'));
}

TEST(FtpReply, TellsWhetherATransferWasAnnounced) {
  FtpReply reply;
  reply.TakeLine("200 EPRT ok");
  EXPECT_FALSE(reply.TransferStarted());
  reply.TakeLine("150-going to");
  EXPECT_FALSE(reply.TransferStarted());
  reply.TakeLine("150 send");
  EXPECT_TRUE(reply.TransferStarted());
  reply.TakeLine("226 sent");
  EXPECT_TRUE(reply.TransferStarted());
}

}  // namespace
}  // namespace vlmr::transfer
