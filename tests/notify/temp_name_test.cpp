#include "notify/temp_name.h"

#include <gtest/gtest.h>

#include "platform/runtime_error.h"
#include "support/test_world.h"

namespace vlmr::notify {
namespace {

TEST(GetFileTemp, JoinsRandomYearDayMonthAndTwoDigitsEachOfTheTime) {
  test::World world;
  world.random.draws = {371};
  world.clock.now = {.year = 2026, .month = 3, .day = 5, .hour = 4, .minute = 7, .second = 0};
  EXPECT_EQ(TempName(world.runtime, world.random).GetFileTemp(), "371202653040700");
}

TEST(GetFileTemp, HoldsDigitsOnly) {
  test::World world;
  world.clock.now = {.year = 2026, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59};
  const TempName names(world.runtime, world.random);
  for (int draw = 0; draw < 600; ++draw) {
    EXPECT_EQ(names.GetFileTemp().find_first_not_of("0123456789"), std::string::npos);
  }
}

/// Random numbers that fail.
class FailingRandom : public core::Random {
 public:
  int Draw() override { throw platform::RuntimeError(6); }
  void Seed(std::uint64_t /*moment*/) override {}
};

TEST(GetFileTemp, AnErrorIsLoggedAndTheRestOfTheNameFollows) {
  test::World world;
  FailingRandom random;
  EXPECT_EQ(TempName(world.runtime, random).GetFileTemp(), "202653140709");
  EXPECT_EQ(world.LogMessages(), (std::vector<std::string>{"GetFileTemp: error 6 Overflow"}));
}

}  // namespace
}  // namespace vlmr::notify
