#include "core/random.h"

namespace vlmr::core {

namespace {

// The constants of std::minstd_rand; written out because the distributions of the library, which would have
// to follow, give different numbers from one library to the next.
constexpr std::uint64_t kMultiplier = 48271;
constexpr std::uint64_t kModulus = 2147483647;
constexpr std::uint64_t kHighest = 500;

}  // namespace

int PseudoRandom::Draw() {
  state_ = state_ * kMultiplier % kModulus;
  return static_cast<int>(state_ * kHighest / kModulus) + 1;
}

void PseudoRandom::Seed(std::uint64_t moment) {
  // 0 would stay 0 for ever.
  state_ = moment % (kModulus - 1) + 1;
}

}  // namespace vlmr::core
