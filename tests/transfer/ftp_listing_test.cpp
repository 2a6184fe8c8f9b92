#include "transfer/ftp_listing.h"

#include <gtest/gtest.h>

#include <vector>

namespace vlmr::transfer {
namespace {

using Names = std::vector<std::string>;

TEST(FtpListing, ReadsOneNamePerLineWhateverTheLineEnd) {
  EXPECT_EQ(FtpListing("a.zip\r\nb.zip\nc.zip\rd.zip").Names(), (Names{"a.zip", "b.zip", "c.zip", "d.zip"}));
  EXPECT_EQ(FtpListing("").Names(), Names{});
  EXPECT_EQ(FtpListing("\r\n\r\n").Names(), Names{});
}

TEST(FtpListing, JoinsNamesBySemicolonsWithoutOneAtTheEnd) {
  EXPECT_EQ(FtpListing("a.zip\r\nb.zip\r\n").Joined(), "a.zip;b.zip");
  EXPECT_EQ(FtpListing("a.zip\r\n").Joined(), "a.zip");
  EXPECT_EQ(FtpListing("").Joined(), "");
}

TEST(FtpListing, DropsThePathPartsOfNames) {
  const FtpListing listing("/pub/tsc/a.zip\r\n./b.zip\r\nC:\\pub\\c.zip\r\n../../d.zip\r\n");
  EXPECT_EQ(listing.Names(), (Names{"a.zip", "b.zip", "c.zip", "d.zip"}));
  EXPECT_EQ(listing.Refused(), 0U);
}

TEST(FtpListing, LeavesOutFoldersOwnNamesAndUploadsUnderWay) {
  const FtpListing listing(".\r\n..\r\n./..\r\nsub/\r\nupload-OTHER.vlmr-tmp\r\na.zip\r\n");
  EXPECT_EQ(listing.Names(), Names{"a.zip"});
  EXPECT_EQ(listing.Refused(), 0U);
}

TEST(FtpListing, RefusesWhatIsNoBareFileNameAndSaysWhich) {
  const FtpListing listing("bad\x01name\r\nCON\r\nfile:stream\r\na;b.zip\r\n" + std::string(300, 'x') +
                           "\r\ngood.zip");
  EXPECT_EQ(listing.Names(), Names{"good.zip"});
  EXPECT_EQ(listing.Refused(), 5U);
  EXPECT_TRUE(listing.FirstRefusal().starts_with("[bad name] ")) << listing.FirstRefusal();
  EXPECT_EQ(FtpListing("a;b").FirstRefusal(), "[a;b] holds the separator of listings");
  EXPECT_EQ(FtpListing(std::string("nul\0byte", 8)).Names(), Names{});
}

TEST(FtpListing, FindsTheSpellingOfAName) {
  const FtpListing listing("LPT$VPN.101\r\nTsc.zip\r\ntsc.zip\r\n");
  EXPECT_EQ(listing.SpellingOf("lpt$vpn.101"), "LPT$VPN.101");
  EXPECT_EQ(listing.SpellingOf("tsc.zip"), "tsc.zip");
  EXPECT_EQ(listing.SpellingOf("TSC.ZIP"), "Tsc.zip");
  EXPECT_EQ(listing.SpellingOf("absent"), "absent");
}

}  // namespace
}  // namespace vlmr::transfer
