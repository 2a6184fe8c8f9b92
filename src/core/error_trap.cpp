#include "core/error_trap.h"

#include "core/number.h"

namespace vlmr::core {

std::string ErrorText(const platform::RuntimeError& error) {
  return IntegerText(error.Number()) + " " + error.Description();
}

}  // namespace vlmr::core
