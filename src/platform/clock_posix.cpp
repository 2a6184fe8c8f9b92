#include "platform/clock_posix.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include "platform/clock.h"
#include "platform/native.h"

namespace vlmr::platform {
namespace {

std::tm LocalMoment(std::time_t seconds) {
  std::tm moment = {};
  ::localtime_r(&seconds, &moment);
  return moment;
}

struct FreeLocale {
  void operator()(locale_t locale) const { ::freelocale(locale); }
};

class PosixClock : public Clock {
 public:
  PosixClock() {
    ::tzset();
    const std::string name = TimeLocaleName();
    if (!name.empty()) locale_.reset(::newlocale(LC_TIME_MASK, name.c_str(), nullptr));
  }

  LocalTime Now() const override {
    const std::tm moment = LocalMoment(std::time(nullptr));
    return {.year = moment.tm_year + 1900,
            .month = moment.tm_mon + 1,
            .day = moment.tm_mday,
            .hour = moment.tm_hour,
            .minute = moment.tm_min,
            .second = moment.tm_sec};
  }

  const std::string& DateTimeText() const override {
    const std::time_t now = std::time(nullptr);
    if (now != text_second_ || text_.empty()) {
      text_ = FormatMoment(LocalMoment(now), locale_.get());
      text_second_ = now;
    }
    return text_;
  }

  std::chrono::steady_clock::time_point Steady() const override { return std::chrono::steady_clock::now(); }

 private:
  std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> locale_;
  mutable std::time_t text_second_ = 0;
  mutable std::string text_;
};

}  // namespace

std::string TimeLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the program never changes its environment.
    const char* value = std::getenv(variable);
    if (value == nullptr || *value == '\0') continue;
    const std::string name = value;
    return name == "C" || name == "POSIX" || name.starts_with("C.") ? std::string() : name;
  }
  return {};
}

std::string FormatMoment(const std::tm& moment, locale_t locale) {
  std::array<char, 128> text = {};
  const std::size_t length = locale == nullptr
                                 ? std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &moment)
                                 : ::strftime_l(text.data(), text.size(), "%x %X", &moment, locale);
  return {text.data(), length};
}

std::unique_ptr<Clock> MakeClock() { return std::make_unique<PosixClock>(); }

}  // namespace vlmr::platform
