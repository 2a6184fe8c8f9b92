#include "core/watchdog.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/recording_jobs.h"

namespace vlmr::core {
namespace {

using namespace std::chrono_literals;
using test::World;
using Lines = std::vector<std::string>;

struct Fixture {
  World world;
  test::RecordingJobs jobs{world};
  Watchdog watchdog{world.runtime, world.loop, world.processes, jobs};
};

TEST(WatchdogTick, AsksTwiceForTheEndAndStartsTheKillerFromTheSixthTickOn) {
  Fixture f;
  test::MarkStartsOf(f.world, {"KillPelgrun.exe"});
  Lines expected;
  for (int tick = 0; tick < 8; ++tick) {
    f.watchdog.Tick();
    expected.push_back("Timer Killer: Send Flag to shutdown...[" + std::to_string(tick) + "]");
    expected.insert(expected.end(), {"<EndProcess>", "<EndProcess>"});
    if (tick >= 5) {
      expected.insert(expected.end(), {"Timer Killer: Launch KillPelgrun.exe", "<start KillPelgrun.exe>"});
    }
  }
  EXPECT_EQ(test::Trace(f.world), expected);
}

TEST(WatchdogTick, StartsTheKillerHiddenAndWithoutWaiting) {
  Fixture f;
  for (int tick = 0; tick < 6; ++tick) f.watchdog.Tick();
  EXPECT_EQ(f.world.processes.starts,
            (std::vector<test::FakeProcessRunner::Started>{
                {R"(/app\KillPelgrun.exe)", false, platform::WindowMode::kHidden}}));
}

TEST(WatchdogTick, LogsItsFlagAsDetailAndTheKillerAsAnOrdinaryLine) {
  Fixture f;
  for (int tick = 0; tick < 6; ++tick) f.watchdog.Tick();
  EXPECT_EQ(f.world.LogMessages(), Lines{"Timer Killer: Launch KillPelgrun.exe"});
}

TEST(Watchdog, TicksEveryTenSecondsOnceEnabledSoTheKillerComesAfterAMinute) {
  Fixture f;
  f.watchdog.Enable();
  EXPECT_EQ(f.world.loop.Timers(), std::vector<std::chrono::milliseconds>{10'000ms});
  for (int second = 0; second < 59; ++second) f.world.loop.Pump(1000ms);
  EXPECT_EQ(f.world.processes.StartsOf("KillPelgrun.exe"), 0);
  f.world.loop.Pump(1000ms);
  EXPECT_EQ(f.world.processes.StartsOf("KillPelgrun.exe"), 1);
}

TEST(Watchdog, HasOneTimerHoweverOftenItIsEnabledAndNoneWhenDisabled) {
  Fixture f;
  f.watchdog.Disable();
  f.watchdog.Enable();
  f.watchdog.Enable();
  EXPECT_EQ(f.world.loop.Timers().size(), 1U);
  f.watchdog.Disable();
  EXPECT_TRUE(f.world.loop.Timers().empty());
}

TEST(FormUnload, LogsTheCancelValueAndNothingElse) {
  World world;
  Form_Unload(world.runtime, 0);
  Form_Unload(world.runtime, -1);
  EXPECT_EQ(world.LogMessages(), (Lines{"Unloading: [0] Terminate", "Unloading: [-1] Terminate"}));
}

}  // namespace
}  // namespace vlmr::core
