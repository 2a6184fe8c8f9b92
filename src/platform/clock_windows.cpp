#include <windows.h>

#include "platform/native.h"
#include "platform/native_text_windows.h"

namespace vlmr::platform {
namespace {

class WindowsClock : public Clock {
 public:
  LocalTime Now() const override {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return {.year = now.wYear,
            .month = now.wMonth,
            .day = now.wDay,
            .hour = now.wHour,
            .minute = now.wMinute,
            .second = now.wSecond};
  }

  const std::string& DateTimeText() const override {
    FILETIME moment{};
    GetSystemTimeAsFileTime(&moment);
    const std::uint64_t ticks =
        (static_cast<std::uint64_t>(moment.dwHighDateTime) << 32U) | moment.dwLowDateTime;
    const std::uint64_t second = ticks / 10'000'000U;
    if (second != text_second_) {
      text_second_ = second;
      text_ = MakeText();
    }
    return text_;
  }

  std::chrono::steady_clock::time_point Steady() const override { return std::chrono::steady_clock::now(); }

 private:
  /// The user's short date and long time.
  static std::string MakeText() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    wchar_t date[128] = L"";
    wchar_t time[128] = L"";
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &now, nullptr, date, 128);
    GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, nullptr, time, 128);
    return FromWide(std::wstring(date) + L" " + time);
  }

  mutable std::uint64_t text_second_ = 0;
  mutable std::string text_;
};

}  // namespace

std::unique_ptr<Clock> MakeClock() { return std::make_unique<WindowsClock>(); }

}  // namespace vlmr::platform
