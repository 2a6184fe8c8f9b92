#include "transfer/ftp_opening.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/fake_ftp_client.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using core::Setting;
using Lines = std::vector<std::string>;

constexpr FtpCaller kLoud{
    .name = "Loud",
    .url = Setting::kCprUrl,
    .passive = Setting::kPassive,
    .reports_active_mode = true,
    .uses_proxy = true,
    .login = FtpCaller::Login{.user = Setting::kCprUsername, .password = Setting::kCprPassword},
    .reads = "files",
};
constexpr FtpCaller kQuiet{
    .name = "Quiet",
    .url = Setting::kTscFtp,
    .passive = Setting::kPassive,
    .reports_active_mode = false,
    .uses_proxy = false,
    .login = std::nullopt,
    .reads = "Pattern files",
};

class FtpOpeningTest : public testing::Test {
 protected:
  FtpOpeningTest() {
    world.SetSetting("FTP", "CprUrl", "ftp://127.0.0.1:2121/products/pattern/cpr");
    world.SetSetting("FTP", "CprUsername", "mirror");
    world.SetSetting("FTP", "CprPassword", "secret");
    world.SetSetting("SOURCES", "TscFtp", "ftp://ftp.velmora.example/products/tsc");
  }
  FtpOpening Open(const FtpCaller& caller) { return OpenFtp(world.runtime, client, caller, trap); }

  test::World world;
  test::FakeFtpClient client{world.files};
  core::ErrorTrap trap{[this](const auto& error) { world.runtime.Log("trapped " + core::ErrorText(error)); }};
};

TEST_F(FtpOpeningTest, GoesThroughModeLogInServerAndFolder) {
  client.remote = {{"a.zip", ""}, {"b.zip", ""}};
  const FtpOpening opening = Open(kLoud);
  EXPECT_TRUE(opening.connected);
  EXPECT_EQ(opening.names, "a.zip;b.zip");
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "Loud: Switch to FTP Active mode...",
                                     "Loud: FTP Username=mirror",
                                     "Loud: FTP Password=secret",
                                     "Loud: FtpServerName=127.0.0.1:2121",
                                     "Loud: Connecting...",
                                     "Loud: Connected...",
                                     "Loud: Attempting to read files into products/pattern/cpr folder",
                                 }));
  EXPECT_EQ(client.calls, (Lines{"active", "proxy ", "login mirror secret", "connect 127.0.0.1:2121",
                                 "list products/pattern/cpr"}));
}

TEST_F(FtpOpeningTest, ACallerMayKeepActiveModeAndLogInToItself) {
  Open(kQuiet);
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "Quiet: FtpServerName=ftp.velmora.example",
                                     "Quiet: Connecting...",
                                     "Quiet: Connected...",
                                     "Quiet: Attempting to read Pattern files into products/tsc folder",
                                 }));
  EXPECT_EQ(client.calls[2], "login anonymous " + std::string(kAnonymousPassword));
}

TEST_F(FtpOpeningTest, PassiveModeCountsOnlyWhenTheSwitchIsOne) {
  world.SetSetting("FTP", "Passive", "1");
  Open(kQuiet);
  EXPECT_EQ(world.LogMessages().front(), "Quiet: Switch to FTP passive mode...");
  EXPECT_EQ(client.calls.front(), "passive");
  client.calls.clear();
  world.SetSetting("FTP", "Passive", "2");
  Open(kQuiet);
  EXPECT_EQ(client.calls.front(), "active");
}

TEST_F(FtpOpeningTest, ASwitchThatIsNoNumberIsTrappedAndOff) {
  world.SetSetting("FTP", "Passive", "x");
  world.SetSetting("FTP", "CprProxy", "99999");
  Open(kLoud);
  const Lines lines = world.LogMessages();
  EXPECT_EQ(lines[0], "trapped 13 Type mismatch");
  EXPECT_EQ(lines[1], "Loud: Switch to FTP Active mode...");
  EXPECT_EQ(lines[2], "trapped 6 Overflow");
  EXPECT_EQ(lines[3], "Loud: FTP Username=mirror");
  EXPECT_EQ(client.calls[1], "proxy ");
}

TEST_F(FtpOpeningTest, AGatewayIsLoggedBeforeTheLogIn) {
  world.SetSetting("FTP", "CprProxy", "1");
  world.SetSetting("FTP", "CprProxyName", "gate");
  world.SetSetting("FTP", "CprProxyPort", "8021");
  Open(kLoud);
  const Lines lines = world.LogMessages();
  EXPECT_EQ(lines[1], "Loud: FTP proxy=gate");
  EXPECT_EQ(lines[2], "Loud: FTP proxy Port=8021");
  EXPECT_EQ(lines[3], "Loud: sProxyName=ftp=ftp://gate:8021");
  EXPECT_EQ(lines[4], "Loud: FTP Username=mirror");
  EXPECT_EQ(client.calls[1], "proxy ftp=ftp://gate:8021");
}

TEST_F(FtpOpeningTest, ACallerWithoutGatewayTakesAnEarlierOneBack) {
  world.SetSetting("FTP", "CprProxy", "1");
  Open(kQuiet);
  EXPECT_EQ(client.calls[1], "proxy ");
}

TEST_F(FtpOpeningTest, AFailedConnectionEndsTheOpeningWithNumberAndWords) {
  client.connect_result = {530, "Login incorrect."};
  const FtpOpening opening = Open(kLoud);
  EXPECT_FALSE(opening.connected);
  EXPECT_EQ(world.LogMessages().back(), "Loud: Error connecting 530 => Login incorrect.");
  EXPECT_EQ(client.calls.back(), "connect 127.0.0.1:2121");
}

TEST_F(FtpOpeningTest, AnAddressWithoutAFolderListsTheFolderOfTheLogIn) {
  world.SetSetting("FTP", "CprUrl", "ftp://host");
  Open(kLoud);
  EXPECT_TRUE(world.Logged("Loud: FtpServerName=host"));
  EXPECT_TRUE(world.Logged("Loud: Attempting to read files into  folder"));
  EXPECT_EQ(client.calls.back(), "list ");
}

TEST_F(FtpOpeningTest, HowTheListingEndedIsTheCallersMatter) {
  client.list_result = {550, "no such folder"};
  const FtpOpening opening = Open(kLoud);
  EXPECT_TRUE(opening.connected);
  EXPECT_EQ(opening.listing.number, 550);
  EXPECT_EQ(opening.names, "");
  EXPECT_EQ(world.LogMessages().back(), "Loud: Attempting to read files into products/pattern/cpr folder");
}

}  // namespace
}  // namespace vlmr::transfer
