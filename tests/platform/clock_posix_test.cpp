#include "platform/clock_posix.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <regex>
#include <string>

#include "platform/clock.h"
#include "platform/native.h"

namespace vlmr::platform {
namespace {

/// Sets environment variables for one test.
class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() {
    for (const auto& [name, value] : former_) {
      value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }
  }
  void Set(const std::string& name, const std::string& value) {
    const char* former = std::getenv(name.c_str());
    former_.emplace(name, former == nullptr ? std::nullopt : std::optional<std::string>(former));
    ::setenv(name.c_str(), value.c_str(), 1);
  }

 private:
  std::map<std::string, std::optional<std::string>> former_;
};

std::tm MomentOfTest() {
  std::tm moment = {};
  moment.tm_year = 126;
  moment.tm_mon = 2;
  moment.tm_mday = 5;
  moment.tm_hour = 14;
  moment.tm_min = 7;
  moment.tm_sec = 9;
  return moment;
}

TEST(ClockPosixTest, WithoutALocaleAMomentIsWrittenInDigitsFromTheYearDown) {
  EXPECT_EQ(FormatMoment(MomentOfTest(), nullptr), "2026-03-05 14:07:09");
}

TEST(ClockPosixTest, WithALocaleAMomentHasItsShortDateAndLongTime) {
  const std::tm moment = MomentOfTest();
  for (const char* name : {"de_DE.UTF-8", "en_GB.UTF-8", "en_US.UTF-8", "fr_FR.UTF-8", "C"}) {
    const locale_t locale = ::newlocale(LC_TIME_MASK, name, nullptr);
    if (locale == nullptr) continue;
    std::array<char, 100> expected = {};
    ::strftime_l(expected.data(), expected.size(), "%x %X", &moment, locale);
    EXPECT_EQ(FormatMoment(moment, locale), expected.data()) << name;
    ::freelocale(locale);
  }
}

TEST(ClockPosixTest, TheFirstVariableThatIsSetNamesTheLocale) {
  ScopedEnvironment environment;
  environment.Set("LC_ALL", "");
  environment.Set("LC_TIME", "de_DE.UTF-8");
  environment.Set("LANG", "fr_FR.UTF-8");
  EXPECT_EQ(TimeLocaleName(), "de_DE.UTF-8");
  environment.Set("LC_TIME", "");
  EXPECT_EQ(TimeLocaleName(), "fr_FR.UTF-8");
  environment.Set("LC_ALL", "C");
  EXPECT_EQ(TimeLocaleName(), "");
  for (const char* plain : {"POSIX", "C.UTF-8", "C.utf8"}) {
    environment.Set("LC_ALL", plain);
    EXPECT_EQ(TimeLocaleName(), "") << plain;
  }
}

TEST(ClockPosixTest, TheTextHoldsForItsSecondAndALocaleThatIsNotInstalledCountsAsNone) {
  ScopedEnvironment environment;
  environment.Set("LC_ALL", "xx_XX.UTF-8");
  const auto clock = MakeClock();
  EXPECT_TRUE(std::regex_match(clock->DateTimeText(), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)")))
      << clock->DateTimeText();
  EXPECT_EQ(&clock->DateTimeText(), &clock->DateTimeText());
}

TEST(ClockPosixTest, TheCalendarIsTheLocalOne) {
  ScopedEnvironment environment;
  environment.Set("TZ", "TST-5");
  environment.Set("LC_ALL", "C");
  const auto clock = MakeClock();
  // Taken on both sides, in case the second changes in between.
  const std::time_t before = std::time(nullptr) + 5 * 3600;
  const LocalTime now = clock->Now();
  const std::string text = clock->DateTimeText();
  const std::time_t after = std::time(nullptr) + 5 * 3600;
  bool matches = false;
  bool text_matches = false;
  for (std::time_t second = before; second <= after; ++second) {
    std::tm moment = {};
    ::gmtime_r(&second, &moment);
    matches |= now.year == moment.tm_year + 1900 && now.month == moment.tm_mon + 1 &&
               now.day == moment.tm_mday && now.hour == moment.tm_hour && now.minute == moment.tm_min &&
               now.second == moment.tm_sec;
    text_matches |= text == FormatMoment(moment, nullptr);
  }
  EXPECT_TRUE(matches);
  EXPECT_TRUE(text_matches) << text;
}

TEST(ClockPosixTest, TheSteadyClockDoesNotStepBack) {
  const auto clock = MakeClock();
  const auto first = clock->Steady();
  EXPECT_LE(first, clock->Steady());
}

}  // namespace
}  // namespace vlmr::platform
