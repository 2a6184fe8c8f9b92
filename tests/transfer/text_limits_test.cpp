#include "transfer/text_limits.h"

#include <gtest/gtest.h>

namespace vlmr::transfer {
namespace {

TEST(TextLimits, HoldForTheFilesThatAreReadAsAWholeInAnyCase) {
  EXPECT_EQ(MostBytesOf("/app\\TempDownload\\ActiveUpdate\\Server.ini"), 64 << 20);
  EXPECT_EQ(MostBytesOf("/app\\ActiveUpdate\\Pattern\\WHATSNEW.TXT"), 4 << 20);
  EXPECT_EQ(MostBytesOf("/app\\CPR_Temp\\latest.ini"), 1 << 20);
}

TEST(TextLimits, DoNotHoldForWhatIsPassedOnPieceByPiece) {
  EXPECT_EQ(MostBytesOf("/app\\ActiveUpdate\\Pattern\\vsapi.zip"), 0);
  EXPECT_EQ(MostBytesOf("/app\\server.ini\\x"), 0);
  EXPECT_EQ(MostBytesOf(""), 0);
}

}  // namespace
}  // namespace vlmr::transfer
