#pragma once

#include <chrono>
#include <thread>

namespace vlmr::test {

/// Polls until `condition` holds; false when it still does not after a generous deadline. For what other
/// processes do; everything else is driven by a fake clock.
template <typename Condition>
bool WaitUntil(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace vlmr::test
