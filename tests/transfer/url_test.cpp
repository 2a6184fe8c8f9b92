#include "transfer/url.h"

#include <gtest/gtest.h>

namespace vlmr::transfer {
namespace {

// libcurl's numbers.
constexpr int kUnsupportedProtocol = 1;
constexpr int kMalformedUrl = 3;

TEST(JoinUrl, PutsExactlyOneSlashBetweenBaseAndPath) {
  for (const char* base : {"http://h:81/au", "http://h:81/au/", "http://h:81/au//"}) {
    for (const char* path : {"Pattern/v_100.101", "/Pattern/v_100.101", "//Pattern/v_100.101"}) {
      EXPECT_EQ(JoinUrl(base, path), "http://h:81/au/Pattern/v_100.101") << base << " + " << path;
    }
  }
}

TEST(JoinUrl, KeepsTheSlashesOfASchemeWithoutAHost) {
  EXPECT_EQ(JoinUrl("http://", "server.ini"), "http:///server.ini");
  EXPECT_EQ(JoinUrl("", "server.ini"), "/server.ini");
}

TEST(EncodeUrl, EncodesBlanksControlAndNonAsciiBytesAndNothingElse) {
  EXPECT_EQ(EncodeUrl("http://h/a b\tc\x7F\xC3\xA9"), "http://h/a%20b%09c%7F%C3%A9");
  const std::string kept = "http://h/lpt$vpn.101;a=1,2&b='(x)'!*+%41~[]{}|^`\"<>\\?q#f@:";
  EXPECT_EQ(EncodeUrl(kept), kept);
}

struct AddressCase {
  const char* url;
  std::int16_t port;
  const char* connected;
  const char* target;
  const char* proxy_target;
};

TEST(ParseHttpUrl, FindsPortAndTarget) {
  const AddressCase cases[] = {
      {"http://h/a", 80, "http://h/a", "/a", "http://h/a"},
      {"http://h/a", 0, "http://h/a", "/a", "http://h/a"},
      {"http://h/a", 8081, "http://h:8081/a", "/a", "http://h:8081/a"},
      {"http://h:8082/a", 8081, "http://h:8082/a", "/a", "http://h:8082/a"},
      {"http://h:80/a", 8081, "http://h:80/a", "/a", "http://h/a"},
      {"http://h:443/a", 80, "http://h:443/a", "/a", "http://h:443/a"},
      {"HTTP://h/a", 80, "http://h/a", "/a", "http://h/a"},
      {"http://h", 80, "http://h/", "/", "http://h/"},
      {"http://h?x=/", 80, "http://h/?x=/", "/?x=/", "http://h/?x=/"},
      {"http://h/a?b#c?d", 80, "http://h/a?b#c?d", "/a?b#c?d", "http://h/a?b#c?d"},
      {"http://h/a/../b/./c", 80, "http://h/a/../b/./c", "/a/../b/./c", "http://h/a/../b/./c"},
      {"http://u:p@h/a", 80, "http://u:p@h/a", "/a", "http://h/a"},
      {"http://[::1]:81/a", 80, "http://[::1]:81/a", "/a", "http://[::1]:81/a"},
      {"https://h/a", 80, "https://h/a", "/a", ""},
      {"https://h/a", 8443, "https://h:8443/a", "/a", ""},
      {"https://h:80/a", 8443, "https://h:80/a", "/a", ""},
  };
  for (const AddressCase& one : cases) {
    const HttpAddress address = ParseHttpUrl(one.url, one.port);
    EXPECT_EQ(address.fault, 0) << one.url;
    EXPECT_EQ(address.url, one.connected) << one.url << " with " << one.port;
    EXPECT_EQ(address.target, one.target) << one.url;
    EXPECT_EQ(address.proxy_target, one.proxy_target) << one.url;
    EXPECT_EQ(address.secure, std::string_view(one.url).starts_with("https")) << one.url;
  }
}

TEST(ParseHttpUrl, RefusesEverySchemeButHttpAndHttps) {
  for (const char* url : {"ftp://h/a", "file:///etc/passwd1", "gopher://h/", "httpx://h/", "://h/"}) {
    EXPECT_NE(ParseHttpUrl(url, 80).fault, 0) << url;
    EXPECT_EQ(ParseHttpUrl(url, 80).url, "") << url;
  }
  EXPECT_EQ(ParseHttpUrl("ftp://h/a", 80).fault, kUnsupportedProtocol);
}

TEST(ParseHttpUrl, RefusesWhatNamesNoHostOrPort) {
  for (const char* url : {"", "h/a", "127.0.0.1/server.ini", "http:/h/a", "http://", "http:///server.ini",
                          "http://h:99999/", "http://h:x/", "http://a b/", "http://?q"}) {
    EXPECT_EQ(ParseHttpUrl(url, 80).fault, kMalformedUrl) << url;
  }
  EXPECT_EQ(ParseHttpUrl("http://h/", -5).fault, kMalformedUrl);
}

TEST(ParseRedirect, TakesTheSchemesOwnPortAndDropsTheFragment) {
  const HttpAddress address = ParseRedirect("http://h/a?b#c");
  EXPECT_EQ(address.url, "http://h/a?b");
  EXPECT_EQ(address.target, "/a?b");
}

}  // namespace
}  // namespace vlmr::transfer
