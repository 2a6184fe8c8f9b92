#include "transfer/curl_ftp_session.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <vector>

#include "platform/runtime_error.h"
#include "support/environment.h"
#include "support/scripted_ftp_server.h"
#include "support/test_world.h"

namespace vlmr::transfer {
namespace {

using namespace std::chrono_literals;
using test::ScriptedFtpServer;
using Lines = std::vector<std::string>;

/// The calendar of the fakes beside a steady clock that runs: the client's limits are about real connections.
class RunningClock : public test::FakeClock {
 public:
  std::chrono::steady_clock::time_point Steady() const override { return std::chrono::steady_clock::now(); }
};

class CurlFtpClientTest : public testing::Test {
 protected:
  CurlFtpClientTest() { server.PutFolder("pub"); }

  void UseLimits(const FtpLimits& limits) { client.emplace(runtime, world.loop, "MIRROR1", limits); }
  FtpResult Connect() {
    client->SetCredentials("mirror", "secret");
    return client->Connect(server.Host());
  }
  void ConnectAndList(const std::string& folder = "pub") {
    ASSERT_TRUE(Connect().Ok());
    const FtpResult listed = client->List(folder, names);
    ASSERT_TRUE(listed.Ok()) << listed.number << " " << listed.description;
  }

  test::World world;
  RunningClock clock;
  core::Runtime runtime{world.paths, world.files, clock, world.ini, world.settings, world.state, world.log};
  ScriptedFtpServer server;
  std::optional<CurlFtpClient> client{std::in_place, runtime, world.loop, "MIRROR1",
                                      FtpLimits{.connect = 5s, .silence = 5s, .goodbye = 1s}};
  std::string names;
};

using FtpConnecting = CurlFtpClientTest;

TEST_F(FtpConnecting, LogsInWithUserAndPassword) {
  const FtpResult result = Connect();
  EXPECT_EQ(result.number, 0) << result.description;
  EXPECT_EQ(server.Commands({"USER", "PASS", "CWD", "NLST"}), (Lines{"USER mirror", "PASS secret"}));
}

TEST_F(FtpConnecting, ALogInWithoutUserIsAnonymous) {
  EXPECT_TRUE(client->Connect(server.Host()).Ok());
  EXPECT_EQ(server.Commands({"USER"}), Lines{"USER anonymous"});
}

TEST_F(FtpConnecting, UnderstandsAGreetingThatComesInPieces) {
  server.Script("", {.pieces = {"2", "20-wel", "come\r\n22", "0 rea", "dy\r", "\n"}});
  EXPECT_TRUE(Connect().Ok());
}

TEST_F(FtpConnecting, UnderstandsRepliesOfManyLines) {
  server.Script("USER", {.pieces = {"331-one\r\n220 two\r\n three\r\n331-four\r\n331 five\r\n"}});
  server.Script("PASS", {.pieces = {"230-in\r\n230-still\r\n230 in\r\n"}});
  ConnectAndList();
}

TEST_F(FtpConnecting, SurvivesAnOverLongLine) {
  server.Script("", {.pieces = {"220-" + std::string(100'000, 'x') + "\r\n", "220 ready\r\n"}});
  EXPECT_TRUE(Connect().Ok());
}

TEST_F(FtpConnecting, ALineWithoutEndIsRefusedBeforeItFillsTheMemory) {
  server.Script("", {.pieces = {"220-" + std::string(1'000'000, 'x')}});
  const FtpResult result = Connect();
  EXPECT_EQ(result.number, 56) << result.description;
}

TEST_F(FtpConnecting, ARefusedLogInIsAConnectionFailureInTheServersWords) {
  server.Script("PASS", {.pieces = {"530-Sorry.\r\n530 Login incorrect.\r\n"}});
  const FtpResult result = Connect();
  EXPECT_EQ(result.number, 530);
  EXPECT_EQ(result.description, "Sorry. Login incorrect.");
}

TEST_F(FtpConnecting, AServerThatIsFullIsReportedInItsWords) {
  server.Script("", {.pieces = {"421 Too many users\r\n"}, .closes = true});
  const FtpResult result = Connect();
  EXPECT_EQ(result.number, 421);
  EXPECT_EQ(result.description, "Too many users");
}

TEST_F(FtpConnecting, ARefusedConnectionGivesTheSocketsError) {
  int closed_port = 0;
  {
    const ScriptedFtpServer gone;
    closed_port = gone.Port();
  }
  const FtpResult result = client->Connect("127.0.0.1:" + std::to_string(closed_port));
  constexpr int kWinsockRefused = 10061;
  EXPECT_TRUE(result.number == ECONNREFUSED || result.number == kWinsockRefused) << result.number;
  EXPECT_FALSE(result.description.empty());
}

TEST_F(FtpConnecting, AnEarlierSocketErrorIsNotToldAgain) {
  server.Script("", {.pieces = {}, .closes = true}, 1);
  ASSERT_FALSE(Connect().Ok());
  server.Script("PASS", {.pieces = {"530 no\r\n"}});
  EXPECT_EQ(Connect().number, 530);
}

TEST_F(FtpConnecting, ASilentServerIsGivenUpAfterTheConnectLimit) {
  UseLimits({.connect = 300ms, .silence = 5s, .goodbye = 1s});
  server.Script("", {.pieces = {}});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(Connect().Ok());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
}

TEST_F(FtpConnecting, AGreetingThatTricklesWithoutALineEndIsGivenUp) {
  UseLimits({.connect = 5s, .silence = 300ms, .goodbye = 1s});
  server.Script("", {.pieces = {"2", "2", "0", "-"}});
  const FtpResult result = Connect();
  EXPECT_FALSE(result.Ok());
  EXPECT_TRUE(result.description.starts_with("Nothing received for ")) << result.description;
}

TEST_F(FtpConnecting, AnEmptyHostIsAFailureWithoutAConnection) {
  const FtpResult result = client->Connect("");
  EXPECT_FALSE(result.Ok());
  EXPECT_EQ(result.description, "No server is named");
}

TEST_F(FtpConnecting, AHostThatCarriesAUserIsRefusedRatherThanObeyed) {
  EXPECT_FALSE(client->Connect("eve@" + server.Host()).Ok());
  EXPECT_EQ(server.Connections(), 0);
}

TEST_F(FtpConnecting, ControlCharactersNeverReachTheWire) {
  client->SetCredentials("mirror\r\nDELE x", "secret");
  EXPECT_EQ(client->Connect(server.Host()).number, 5);
  EXPECT_EQ(server.Connections(), 0);
}

TEST_F(FtpConnecting, ASecondConnectClosesTheFirstConnectionBefore) {
  ASSERT_TRUE(Connect().Ok());
  ASSERT_TRUE(Connect().Ok());
  EXPECT_EQ(server.Commands({"USER", "QUIT"}), (Lines{"USER mirror", "QUIT", "USER mirror"}));
  EXPECT_EQ(server.Connections(), 2);
}

TEST_F(FtpConnecting, TheDestructorSaysGoodbye) {
  ConnectAndList();
  client.reset();
  EXPECT_EQ(server.Commands().back(), "QUIT");
  EXPECT_EQ(server.Connections(), 1);
}

TEST_F(FtpConnecting, AGoodbyeWithoutAnswerHoldsNobodyUp) {
  UseLimits({.connect = 5s, .silence = 30s, .goodbye = 300ms});
  server.Script("QUIT", {.pieces = {}});
  ASSERT_TRUE(Connect().Ok());
  const auto start = std::chrono::steady_clock::now();
  client.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(FtpConnecting, AConnectionThatTheServerClosedIsNotOpenedForAGoodbye) {
  server.Script("NLST", {.pieces = {"421 idle\r\n"}, .closes = true});
  ASSERT_TRUE(Connect().Ok());
  EXPECT_EQ(client->List("pub", names).number, 421);
  client.reset();
  EXPECT_EQ(server.Connections(), 1);
}

TEST_F(FtpConnecting, AGatewayIsLoggedIntoAsUserAtHost) {
  client->SetProxy("ftp=ftp://" + server.Host());
  client->SetCredentials("anonymous", "a@b.example");
  ASSERT_TRUE(client->Connect("ftp.velmora.example").Ok());
  ASSERT_TRUE(client->Connect("ftp.velmora.example:2121").Ok());
  EXPECT_EQ(server.Commands({"USER", "PASS"}),
            (Lines{"USER anonymous@ftp.velmora.example", "PASS a@b.example",
                   "USER anonymous@ftp.velmora.example:2121", "PASS a@b.example"}));
}

TEST_F(FtpConnecting, WithoutAGatewayTheNextConnectIsDirectAgain) {
  client->SetProxy("ftp=ftp://" + server.Host());
  ASSERT_TRUE(client->Connect("ftp.velmora.example").Ok());
  client->SetProxy("");
  ASSERT_TRUE(Connect().Ok());
  EXPECT_EQ(server.Commands({"USER"}), (Lines{"USER anonymous@ftp.velmora.example", "USER mirror"}));
}

TEST_F(FtpConnecting, ProxiesOfTheEnvironmentAreIgnored) {
  test::SetVariable("ftp_proxy", "http://127.0.0.1:9");
  test::SetVariable("all_proxy", "http://127.0.0.1:9");
  EXPECT_TRUE(Connect().Ok());
  test::UnsetVariable("ftp_proxy");
  test::UnsetVariable("all_proxy");
}

using FtpListingOnTheWire = CurlFtpClientTest;

TEST_F(FtpListingOnTheWire, ChangesIntoTheFolderAndListsByName) {
  server.PutFile("products/tsc/b.zip", "b");
  server.PutFile("products/tsc/a.zip", "a");
  ConnectAndList("products/tsc");
  EXPECT_EQ(names, "a.zip;b.zip");
  EXPECT_EQ(server.Commands({"NLST"}), Lines{"NLST"});
  EXPECT_EQ(server.Commands({"CWD"}).back(), "CWD products/tsc");
}

TEST_F(FtpListingOnTheWire, WithoutAFolderItListsTheFolderOfTheLogIn) {
  server.PutFile("a.zip", "a");
  ConnectAndList("");
  EXPECT_EQ(names, "a.zip");
}

TEST_F(FtpListingOnTheWire, IsActiveByDefaultAndPassiveOnDemand) {
  server.PutFile("pub/a.zip", "a");
  ConnectAndList();
  EXPECT_EQ(names, "a.zip");
  EXPECT_EQ(server.Commands({"EPSV", "PASV"}), Lines{});
  client->SetPassive(true);
  ASSERT_TRUE(client->List("pub", names).Ok());
  EXPECT_EQ(names, "a.zip");
  EXPECT_EQ(server.Commands({"EPSV"}), Lines{"EPSV"});
  client->SetPassive(false);
  ASSERT_TRUE(client->Get("a.zip", world.At("\\a.zip")).Ok());
  EXPECT_EQ(server.Commands({"EPSV"}).size(), 1U);
  EXPECT_EQ(server.Commands({"EPRT"}).size(), 2U);
}

TEST_F(FtpListingOnTheWire, FallsBackToTheOlderCommandsForDataConnections) {
  server.Script("EPRT", {.pieces = {"500 what\r\n"}});
  server.Script("EPSV", {.pieces = {"500 what\r\n"}});
  server.PutFile("pub/a.zip", "a");
  ConnectAndList();
  EXPECT_EQ(names, "a.zip");
  client->SetPassive(true);
  ASSERT_TRUE(client->List("pub", names).Ok());
  EXPECT_EQ(names, "a.zip");
}

TEST_F(FtpListingOnTheWire, AMissingFolderIsAFailureWithTheServersNumber) {
  ASSERT_TRUE(Connect().Ok());
  const FtpResult result = client->List("nowhere", names);
  EXPECT_EQ(result.number, 550);
  EXPECT_EQ(result.description, "no such folder");
  EXPECT_EQ(names, "");
  EXPECT_EQ(server.Commands({"NLST"}), Lines{});
}

TEST_F(FtpListingOnTheWire, AnEmptyFolderIsASuccessWithoutNames) {
  ConnectAndList();
  EXPECT_EQ(names, "");
}

TEST_F(FtpListingOnTheWire, ARefusedNameListAfterAGoodFolderChangeIsAnEmptyFolder) {
  for (const std::string reply : {"450 No files found\r\n", "550 No files found\r\n", "226 nothing\r\n"}) {
    ASSERT_TRUE(Connect().Ok());
    server.Script("NLST", {.pieces = {reply}}, 1);
    names = "old";
    EXPECT_EQ(client->List("pub", names).number, 0) << reply;
    EXPECT_EQ(names, "");
  }
}

TEST_F(FtpListingOnTheWire, ARefusedDataConnectionIsAFailureWithTheServersNumber) {
  ASSERT_TRUE(Connect().Ok());
  server.Script("NLST", {.pieces = {"425 Can't open data connection\r\n"}});
  const FtpResult result = client->List("pub", names);
  EXPECT_EQ(result.number, 425);
  EXPECT_EQ(result.description, "Can't open data connection");
}

TEST_F(FtpListingOnTheWire, ADataConnectionThatNeverComesIsGivenUp) {
  UseLimits({.connect = 5s, .silence = 300ms, .goodbye = 300ms});
  server.Misbehave({.data_never_comes = true});
  ASSERT_TRUE(Connect().Ok());
  const auto start = std::chrono::steady_clock::now();
  const FtpResult active = client->List("pub", names);
  EXPECT_FALSE(active.Ok());
  EXPECT_FALSE(active.description.empty());
  ASSERT_TRUE(Connect().Ok());
  client->SetPassive(true);
  EXPECT_FALSE(client->List("pub", names).Ok());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 8s);
}

TEST_F(FtpListingOnTheWire, ALargeListingIsRefusedBeforeItFillsTheMemory) {
  UseLimits({.connect = 5s, .silence = 5s, .goodbye = 1s, .listing = 1000});
  for (int i = 0; i < 100; ++i) server.PutFile("pub/file-with-a-long-name-" + std::to_string(i), "");
  ASSERT_TRUE(Connect().Ok());
  const FtpResult result = client->List("pub", names);
  EXPECT_EQ(result.number, 63);
  EXPECT_EQ(result.description, "The listing is over 1000 bytes");
  EXPECT_EQ(names, "");
}

TEST_F(FtpListingOnTheWire, UnsafeNamesAreRefusedAndLogged) {
  server.PutFile("pub/good.zip", "");
  server.PutFile("pub/a;b.zip", "");
  server.PutFile("pub/C:evil.zip", "");
  ConnectAndList();
  EXPECT_EQ(names, "good.zip");
  const Lines lines = world.LogMessages("FtpListing: ");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with("FtpListing: Refused names=2 first [C:evil.zip] ")) << lines[0];
}

TEST_F(FtpListingOnTheWire, WithoutAConnectionNothingIsTried) {
  EXPECT_FALSE(client->List("pub", names).Ok());
  EXPECT_FALSE(client->Get("a.zip", world.At("\\a.zip")).Ok());
  EXPECT_EQ(server.Connections(), 0);
}

using FtpGetting = CurlFtpClientTest;

TEST_F(FtpGetting, OneConnectionServesLogInListingAndAllGets) {
  server.PutFile("products/tsc/a.zip", "a");
  server.PutFile("products/tsc/b.zip", "b");
  ConnectAndList("products/tsc");
  ASSERT_TRUE(client->Get("a.zip", world.At("\\a.zip")).Ok());
  ASSERT_TRUE(client->Get("b.zip", world.At("\\b.zip")).Ok());
  EXPECT_EQ(server.Connections(), 1);
  EXPECT_EQ(server.Commands({"USER", "NLST", "RETR"}),
            (Lines{"USER mirror", "NLST", "RETR a.zip", "RETR b.zip"}));
  const Lines changes = server.Commands({"CWD"});
  EXPECT_EQ(std::count(changes.begin(), changes.end(), "CWD products/tsc"), 1);
}

TEST_F(FtpGetting, ALatestIniThatIsTooLongIsRefusedBeforeAllOfItHasCome) {
  server.PutFile("pub/latest.ini", std::string((1 << 20) + 1, ';'));
  server.PutFile("pub/large.zip", std::string((1 << 20) + 1, ';'));
  ASSERT_TRUE(Connect().Ok());
  ASSERT_TRUE(client->List("pub", names).Ok());
  const FtpResult result = client->Get("latest.ini", world.At("\\latest.ini"));
  EXPECT_EQ(result.number, 63);
  EXPECT_EQ(result.description, "The file is over 1048576 bytes");
  EXPECT_FALSE(world.files.Has("\\latest.ini"));
  EXPECT_TRUE(client->Get("large.zip", world.At("\\large.zip")).Ok());
}

TEST_F(FtpGetting, BringsEveryByteIntoAFolderThatIsMadeForIt) {
  std::string bytes;
  for (int i = 0; i < 300'000; ++i) bytes += static_cast<char>(i % 256);
  server.PutFile("pub/a.bin", bytes);
  ConnectAndList();
  const FtpResult result = client->Get("a.bin", world.At("\\TempDownload\\deep\\a.bin"));
  EXPECT_TRUE(result.Ok()) << result.description;
  EXPECT_EQ(world.files.Text("\\TempDownload\\deep\\a.bin"), bytes);
  EXPECT_EQ(server.Commands({"TYPE"}).back(), "TYPE I");
}

TEST_F(FtpGetting, AnEmptyFileArrivesAsAnEmptyFile) {
  server.PutFile("pub/a.txt", "");
  ConnectAndList();
  ASSERT_TRUE(client->Get("a.txt", world.At("\\a.txt")).Ok());
  EXPECT_TRUE(world.files.Has("\\a.txt"));
}

TEST_F(FtpGetting, UnderstandsTwoRepliesInOnePacket) {
  server.PutFile("pub/a.zip", "abc");
  server.Misbehave({.replies_together = true});
  ConnectAndList();
  for (const bool passive : {false, true}) {
    client->SetPassive(passive);
    const FtpResult result = client->Get("a.zip", world.At("\\a.zip"));
    EXPECT_TRUE(result.Ok()) << result.description;
    EXPECT_EQ(world.files.Text("\\a.zip"), "abc");
  }
}

TEST_F(FtpGetting, UsesTheListedSpellingOnTheWire) {
  server.PutFile("pub/LPT$VPN.101", "abc");
  ConnectAndList();
  ASSERT_TRUE(client->Get("lpt$vpn.101", world.At("\\Pattern\\lpt$vpn.101")).Ok());
  EXPECT_EQ(server.Commands({"RETR"}), Lines{"RETR LPT$VPN.101"});
  EXPECT_TRUE(world.files.Has("\\Pattern\\lpt$vpn.101"));
}

TEST_F(FtpGetting, AMissingFileIsAFailureThatChangesNothing) {
  world.files.Put("\\a.zip", "old");
  ConnectAndList();
  const FtpResult result = client->Get("a.zip", world.At("\\a.zip"));
  EXPECT_EQ(result.number, 550);
  EXPECT_EQ(result.description, "no such file");
  EXPECT_EQ(world.files.Text("\\a.zip"), "old");
}

TEST_F(FtpGetting, ACutInTheMiddleOfAFileLeavesTheLocalFileAsItWas) {
  world.files.Put("\\a.zip", "old");
  server.PutFile("pub/a.zip", std::string(100'000, 'n'));
  for (const bool passive : {false, true}) {
    server.Misbehave({});
    ConnectAndList();
    server.Misbehave({.cut_download = 50'000});
    client->SetPassive(passive);
    const FtpResult result = client->Get("a.zip", world.At("\\a.zip"));
    EXPECT_FALSE(result.Ok());
    EXPECT_FALSE(result.description.empty());
    EXPECT_EQ(world.files.Text("\\a.zip"), "old");
    EXPECT_EQ(world.files.Files().size(), 1U);
  }
}

TEST_F(FtpGetting, AFileThatTheServerCallsBrokenIsNotKept) {
  server.PutFile("pub/a.zip", "abc");
  ConnectAndList();
  server.Script("SIZE", {.pieces = {"213 4\r\n"}});  // one more than comes
  EXPECT_FALSE(client->Get("a.zip", world.At("\\a.zip")).Ok());
  EXPECT_FALSE(world.files.Has("\\a.zip"));
}

TEST_F(FtpGetting, AFileOfANegativeLengthIsNotKept) {
  world.files.Put("\\a.zip", "old");
  server.PutFile("pub/a.zip", "abc");
  ConnectAndList();
  server.Script("SIZE", {.pieces = {"213 -5\r\n"}});
  EXPECT_EQ(client->Get("a.zip", world.At("\\a.zip")).number, 18);
  EXPECT_EQ(world.files.Text("\\a.zip"), "old");
}

TEST_F(FtpGetting, AServerThatFallsSilentIsGivenUp) {
  UseLimits({.connect = 5s, .silence = 300ms, .goodbye = 300ms});
  server.PutFile("pub/a.zip", std::string(100'000, 'n'));
  server.Misbehave({.download_stall = 1000});
  ConnectAndList();
  const FtpResult result = client->Get("a.zip", world.At("\\a.zip"));
  EXPECT_EQ(result.number, 28);
  EXPECT_TRUE(result.description.starts_with("Nothing received for ")) << result.description;
  EXPECT_FALSE(world.files.Has("\\a.zip"));
}

TEST_F(FtpGetting, NamesWithPathPartsAreRefusedWithoutACommand) {
  ConnectAndList();
  for (const std::string name : {"../a.zip", "/etc/passwd", "sub\\a.zip", "a.zip\r\nDELE b", "", "CON"}) {
    EXPECT_EQ(client->Get(name, world.At("\\x")).number, 5) << name;
  }
  EXPECT_EQ(server.Commands({"RETR"}), Lines{});
  EXPECT_TRUE(world.files.Files().empty());
}

TEST_F(FtpGetting, AFullDiskHereEndsTheTransferAndIsTold) {
  world.files.Put("\\a.zip", "old");
  server.PutFile("pub/a.zip", std::string(100'000, 'n'));
  ConnectAndList();
  world.files.Fail(test::MemoryFileSystem::Operation::kWrite, "a.zip*", 61);
  const FtpResult result = client->Get("a.zip", world.At("\\a.zip"));
  EXPECT_EQ(result.number, 61);
  EXPECT_EQ(result.description, "Disk full");
  EXPECT_EQ(world.files.Text("\\a.zip"), "old");
}

TEST_F(FtpGetting, ACloseRequestEndsATransferThatIsUnderWay) {
  UseLimits({.connect = 5s, .silence = 60s, .goodbye = 1s});
  world.files.Put("\\a.zip", "old");
  server.PutFile("pub/a.zip", std::string(100'000, 'n'));
  server.Misbehave({.download_stall = 1000});
  ConnectAndList();
  world.loop.OnCloseRequest([] { throw platform::ProcessEnd(); });
  world.loop.RequestClose();
  EXPECT_THROW(client->Get("a.zip", world.At("\\a.zip")), platform::ProcessEnd);
  EXPECT_EQ(world.files.Text("\\a.zip"), "old");
}

using FtpPutting = CurlFtpClientTest;

TEST_F(FtpPutting, StoresUnderATemporaryNameAndRenamesWhenAllIsThere) {
  world.files.Put("\\Pattern\\lpt$vpn.101", "pattern");
  ConnectAndList();
  const FtpResult result = client->Put(world.At("\\Pattern\\lpt$vpn.101"), "lpt$vpn.101");
  EXPECT_TRUE(result.Ok()) << result.description;
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.101"});
  EXPECT_EQ(server.File("pub/lpt$vpn.101"), "pattern");
  EXPECT_EQ(server.Commands({"TYPE"}).back(), "TYPE I");
  EXPECT_EQ(server.Commands({"STOR", "RNFR", "RNTO", "DELE"}),
            (Lines{"STOR upload-MIRROR1.vlmr-tmp", "RNFR upload-MIRROR1.vlmr-tmp", "RNTO lpt$vpn.101"}));
}

TEST_F(FtpPutting, WorksInPassiveModeToo) {
  world.files.Put("\\p", std::string(200'000, 'p'));
  client->SetPassive(true);
  ConnectAndList();
  ASSERT_TRUE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.File("pub/lpt$vpn.101").size(), 200'000U);
}

TEST_F(FtpPutting, AServerThatRenamesNothingGetsThePlainName) {
  world.files.Put("\\p", "pattern");
  server.Script("RNFR", {.pieces = {"502 not here\r\n"}});
  ConnectAndList();
  ASSERT_TRUE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.101"});
}

TEST_F(FtpPutting, AServerThatRefusesTheTemporaryNameGetsThePlainName) {
  world.files.Put("\\p", "pattern");
  server.Script("STOR", {.pieces = {"553 name not allowed\r\n"}}, 1);
  ConnectAndList();
  ASSERT_TRUE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.101"});
  EXPECT_EQ(server.Commands({"DELE"}), Lines{});
}

TEST_F(FtpPutting, ARefusedPutTouchesNothing) {
  world.files.Put("\\p", "pattern");
  server.PutFile("pub/lpt$vpn.101", "another's");
  server.Script("STOR", {.pieces = {"550 read only\r\n"}});
  ConnectAndList();
  const FtpResult result = client->Put(world.At("\\p"), "lpt$vpn.101");
  EXPECT_EQ(result.number, 550);
  EXPECT_EQ(result.description, "read only");
  EXPECT_EQ(server.File("pub/lpt$vpn.101"), "another's");
}

TEST_F(FtpPutting, AFullDiskThereLeavesTheFolderAsItWas) {
  world.files.Put("\\p", std::string(100'000, 'p'));
  server.PutFile("pub/lpt$vpn.100", "old");
  server.Misbehave({.disk_full_after = 1000});
  ConnectAndList();
  const FtpResult result = client->Put(world.At("\\p"), "lpt$vpn.101");
  EXPECT_FALSE(result.Ok());
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.100"});
}

TEST_F(FtpPutting, ACutInTheMiddleLeavesTheFolderAsItWas) {
  world.files.Put("\\p", std::string(100'000, 'p'));
  server.PutFile("pub/lpt$vpn.100", "old");
  server.Misbehave({.cut_upload = 1000});
  ConnectAndList();
  EXPECT_FALSE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.100"});
  EXPECT_EQ(world.files.Text("\\p").size(), 100'000U);
}

TEST_F(FtpPutting, AHalfFileUnderThePlainNameIsDeletedAgain) {
  world.files.Put("\\p", std::string(100'000, 'p'));
  server.Misbehave({.disk_full_after = 1000});
  server.Script("STOR", {.pieces = {"553 name not allowed\r\n"}}, 1);
  ConnectAndList();
  EXPECT_FALSE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.Files(), Lines{});
}

TEST_F(FtpPutting, WhatABrokenUploadLeftIsOverwrittenByTheNext) {
  world.files.Put("\\p", "pattern");
  server.PutFile("pub/upload-MIRROR1.vlmr-tmp", "half");
  ConnectAndList();
  EXPECT_EQ(names, "");
  ASSERT_TRUE(client->Put(world.At("\\p"), "lpt$vpn.101").Ok());
  EXPECT_EQ(server.Files(), Lines{"pub/lpt$vpn.101"});
}

TEST_F(FtpPutting, AMissingLocalFileIsTheRunTimeErrorOfThatName) {
  ConnectAndList();
  const FtpResult result = client->Put(world.At("\\absent"), "lpt$vpn.101");
  EXPECT_EQ(result.number, 53);
  EXPECT_EQ(result.description, "File not found");
  EXPECT_EQ(server.Commands({"STOR"}), Lines{});
}

TEST_F(FtpPutting, UnsafeNamesAreRefused) {
  world.files.Put("\\p", "pattern");
  ConnectAndList();
  EXPECT_EQ(client->Put(world.At("\\p"), "/lpt$vpn.101").number, 5);
  EXPECT_EQ(client->Put(world.At("\\p"), "a\r\nDELE b").number, 5);
  EXPECT_EQ(server.Commands({"STOR"}), Lines{});
}

}  // namespace
}  // namespace vlmr::transfer
