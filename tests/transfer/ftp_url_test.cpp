#include "transfer/ftp_url.h"

#include <gtest/gtest.h>

#include <vector>

namespace vlmr::transfer {
namespace {

TEST(FtpUrl, SplitsAnAddressIntoHostAndFolder) {
  struct Row {
    std::string url, host, folder;
  };
  const std::vector<Row> rows = {
      {"ftp://ftp.velmora.example/products/tsc", "ftp.velmora.example", "products/tsc"},
      {"ftp://127.0.0.1:2121/pub", "127.0.0.1:2121", "pub"},  // the port stays with the host
      {"ftp://host", "host", ""},                             // no slash: the folder of the log-in
      {"ftp://host/", "host", ""},
      {"ftp://host//pub", "host", "/pub"},
      {"ftp://host/a/b/", "host", "a/b/"},
      {"ftp://user:pw@host/a", "user:pw@host", "a"},  // nothing else is taken apart
      {"ftp:///a", "", "a"},
      {"ftp://", "", ""},
      {"ftp", "", ""},
      {"", "", ""},
  };
  for (const Row& row : rows) {
    const FtpUrl split = SplitFtpUrl(row.url);
    EXPECT_EQ(split.host, row.host) << row.url;
    EXPECT_EQ(split.folder, row.folder) << row.url;
  }
}

TEST(FtpUrl, UnderstandsHostsWithAndWithoutPort) {
  struct Row {
    std::string text, host;
    int port;
  };
  const std::vector<Row> rows = {
      {"ftp.example", "ftp.example", 21},
      {"127.0.0.1:2121", "127.0.0.1", 2121},
      {"host:65535", "host", 65535},
      {"host:", "host", 21},
      {"[::1]", "[::1]", 21},
      {"[::1]:2121", "[::1]", 2121},
      {"MyProxyName:21", "MyProxyName", 21},
  };
  for (const Row& row : rows) {
    const auto address = ParseFtpAddress(row.text);
    ASSERT_TRUE(address) << row.text;
    EXPECT_EQ(address->host, row.host) << row.text;
    EXPECT_EQ(address->port, row.port) << row.text;
  }
}

TEST(FtpUrl, RefusesWhatIsNoHost) {
  for (const std::string text :
       {"", ":21", "host:0", "host:65536", "host:21x", "host:-1", "host:99999999999", "a b", "user@host",
        "host/path", "host?x", "host#x", "host\r\nQUIT", "[::1", "[x]", "[]", "a%62c", "::1"}) {
    EXPECT_FALSE(ParseFtpAddress(text)) << text;
  }
}

TEST(FtpUrl, TakesTheGatewayOutOfAProxyText) {
  EXPECT_EQ(ProxyAddress("ftp=ftp://MyProxyName:21"), "MyProxyName:21");
  EXPECT_EQ(ProxyAddress("gate:8021"), "gate:8021");
  EXPECT_EQ(ProxyAddress(""), "");
}

TEST(FtpUrl, MakesTheAddressOfAnEntryWithEveryOddByteEncoded) {
  const FtpAddress address{.host = "h", .port = 2121};
  EXPECT_EQ(FtpUrlOf(address, "", ""), "ftp://h:2121/");
  EXPECT_EQ(FtpUrlOf(address, "", "a.zip"), "ftp://h:2121/a.zip");
  EXPECT_EQ(FtpUrlOf(address, "products/tsc", "lpt$vpn.101"), "ftp://h:2121/products/tsc/lpt%24vpn.101");
  EXPECT_EQ(FtpUrlOf(address, "products/tsc/", ""), "ftp://h:2121/products/tsc/");
  EXPECT_EQ(FtpUrlOf(address, "/", "x"), "ftp://h:2121//x");
  EXPECT_EQ(FtpUrlOf(address, "/pub", "x"), "ftp://h:2121//pub/x");
  EXPECT_EQ(FtpUrlOf(address, "a b;type=a", "%41?#\xE9"), "ftp://h:2121/a%20b%3Btype%3Da/%2541%3F%23%E9");
}

}  // namespace
}  // namespace vlmr::transfer
