#pragma once

#include <utility>

#include "platform/runtime_error.h"

namespace vlmr::test {

/// The number of the error that a statement raises; -1 when it raises none.
template <class Statement>
int RaisedNumber(Statement&& statement) {
  try {
    std::forward<Statement>(statement)();
    return -1;
  } catch (const platform::RuntimeError& error) {
    return error.Number();
  }
}

}  // namespace vlmr::test
