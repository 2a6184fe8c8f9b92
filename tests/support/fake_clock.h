#pragma once

#include <chrono>
#include <string>

#include "platform/clock.h"

namespace vlmr::test {

/// Both clocks, moved by hand. The calendar stands still until it is set; only the steady clock advances.
class FakeClock : public platform::Clock {
 public:
  platform::LocalTime Now() const override { return now; }
  const std::string& DateTimeText() const override { return date_time_text; }
  std::chrono::steady_clock::time_point Steady() const override { return steady_; }

  void Advance(std::chrono::milliseconds time) { steady_ += time; }

  platform::LocalTime now{
      .year = 2026, .month = 3, .day = 5, .hour = 14, .minute = 7, .second = 9};  ///< what the calendar shows
  std::string date_time_text = "2026-03-05 14:07:09";                             ///< what begins a log line

 private:
  std::chrono::steady_clock::time_point steady_{std::chrono::hours(1)};
};

}  // namespace vlmr::test
