#pragma once

#include <cstdint>

namespace vlmr::core {

/// The pseudo-random numbers behind temporary names; not for secrets.
class Random {
 public:
  virtual ~Random() = default;
  /// A whole number from 1 to 500.
  virtual int Draw() = 0;
  /// Starts the sequence anew from a number that the moment gives.
  virtual void Seed(std::uint64_t moment) = 0;
};

/// The sequence of the C++ library's minimal standard generator; the same for every process that does not
/// seed it.
class PseudoRandom : public Random {
 public:
  int Draw() override;
  void Seed(std::uint64_t moment) override;

 private:
  std::uint64_t state_ = 1;
};

}  // namespace vlmr::core
