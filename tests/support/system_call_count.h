#pragma once

#include <functional>
#include <optional>

namespace vlmr::test {

/// How many system calls `action` makes, counted in a traced copy of this process (what it changes in memory
/// is lost); nothing where tracing is not allowed. It runs once before that, so that first-time costs do not
/// count.
std::optional<int> CountSystemCalls(const std::function<void()>& action);

}  // namespace vlmr::test
