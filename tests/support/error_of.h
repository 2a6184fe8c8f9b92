#pragma once

#include "platform/runtime_error.h"

namespace vlmr::test {

/// The number of the run-time error that a statement raises; 0 when it raises none.
template <typename Statement>
int ErrorOf(Statement statement) {
  try {
    statement();
  } catch (const platform::RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

}  // namespace vlmr::test
