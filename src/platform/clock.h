#pragma once

#include <chrono>
#include <string>

namespace vlmr::platform {

/// Local date and time as the calendar shows it.
struct LocalTime {
  int year = 0;    ///< four digits
  int month = 0;   ///< 1..12
  int day = 0;     ///< 1..31
  int hour = 0;    ///< 0..23
  int minute = 0;  ///< 0..59
  int second = 0;  ///< 0..60
};

/// Both clocks of the system: the calendar's and one that never steps back.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual LocalTime Now() const = 0;
  /// The present moment in the user's short date and long time form, joined by a blank. Without a real locale
  /// on Linux: `YYYY-MM-DD HH:MM:SS`. Valid until the next call; made once a second.
  virtual const std::string& DateTimeText() const = 0;
  virtual std::chrono::steady_clock::time_point Steady() const = 0;
};

}  // namespace vlmr::platform
