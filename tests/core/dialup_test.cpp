#include "core/dialup.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using namespace std::chrono_literals;
using test::World;
using Lines = std::vector<std::string>;
constexpr auto kDialer = R"(\Dialer.ini)";

void AnswerAtPump(World& world, std::size_t pump, const std::string& connection) {
  world.loop.AtPump(pump, [&world, connection] { world.SetIni(kDialer, "RAS", "Connection", connection); });
}

bool Dial(World& world) { return DIALUP(world.runtime, world.loop, world.processes); }

TEST(DialUp, StartsTheDialerInANormalWindowAndThenWritesTheHandshake) {
  World world;
  std::string at_start = "unset";
  world.processes.Script("Dialer.exe", {.on_start = [&] { at_start = world.files.Text(kDialer); }});
  AnswerAtPump(world, 1, "1");
  EXPECT_TRUE(Dial(world));
  EXPECT_EQ(at_start, "") << "the handshake is written behind the start";
  EXPECT_EQ(world.processes.starts, (std::vector<test::FakeProcessRunner::Started>{
                                        {R"(/app\Dialer.exe)", false, platform::WindowMode::kNormal}}));
  EXPECT_EQ(world.files.Text(kDialer), "[RAS]\r\nConnection=1\r\nDisconnect=0\r\n");
}

TEST(DialUp, IsConnectedWhenTheDialerWritesOne) {
  World world;
  AnswerAtPump(world, 3, "1");
  EXPECT_TRUE(Dial(world));
  EXPECT_EQ(world.LogMessages(),
            (Lines{"DIALUP: Lauching Dialer.exe module", "DIALUP:  Response from RAS module connected"}));
  EXPECT_EQ(world.loop.pumps, (std::vector<std::chrono::milliseconds>(3, 50ms)));
}

TEST(DialUp, HasFailedWhenTheDialerWritesThree) {
  World world;
  AnswerAtPump(world, 1, "3");
  EXPECT_FALSE(Dial(world));
  EXPECT_EQ(world.LogMessages(), (Lines{"DIALUP: Lauching Dialer.exe module",
                                        "DIALUP:  Response from RAS module error to connecting.."}));
}

TEST(DialUp, HasFailedWithoutALineForAnyOtherValue) {
  for (const char* value : {"4", "x", "", "-1", "99999"}) {
    World world;
    AnswerAtPump(world, 1, value);
    EXPECT_FALSE(Dial(world)) << value;
    EXPECT_EQ(world.LogMessages(), Lines{"DIALUP: Lauching Dialer.exe module"}) << value;
  }
}

TEST(DialUp, WaitsForEverForADialerThatNeverAnswers) {
  World world;
  world.loop.pump_limit = 5000;
  EXPECT_THROW(Dial(world), std::logic_error);
}

TEST(DialUp, OverwritesAnAnswerThatComesBeforeItsOwnMark) {
  World world;
  world.processes.Script("Dialer.exe",
                         {.on_start = [&] { world.SetIni(kDialer, "RAS", "Connection", "1"); }});
  world.loop.pump_limit = 10;
  EXPECT_THROW(Dial(world), std::logic_error);
  EXPECT_EQ(world.GetIni(kDialer, "RAS", "Connection"), "2");
}

TEST(DialUp, WithAMissingDialerLeavesNoTraceOfItAndGoesOnWaiting) {
  World world;
  world.processes.Script("Dialer.exe", {.start_error = 53});
  AnswerAtPump(world, 2, "3");
  EXPECT_FALSE(Dial(world));
  EXPECT_EQ(world.LogMessages().size(), 2U);
}

TEST(DialUp, LetsTheProgramEndWhileItWaits) {
  World world;
  world.loop.OnCloseRequest([] { throw platform::ProcessEnd(); });
  world.loop.AtPump(2, [&] { world.loop.RequestClose(); });
  EXPECT_THROW(Dial(world), platform::ProcessEnd);
}

}  // namespace
}  // namespace vlmr::core
