#include "notify/temp_name.h"

#include "core/error_trap.h"
#include "core/number.h"

namespace vlmr::notify {

std::string TempName::GetFileTemp() const {
  std::string name;
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    runtime_.Log("GetFileTemp: error " + core::ErrorText(error));
  });
  trap([&] { name = core::IntegerText(random_.Draw()); });
  const platform::LocalTime now = runtime_.clock.Now();
  return name + core::IntegerText(now.year) + core::IntegerText(now.day) + core::IntegerText(now.month) +
         core::PaddedText(now.hour, 2) + core::PaddedText(now.minute, 2) + core::PaddedText(now.second, 2);
}

}  // namespace vlmr::notify
