#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vlmr::test {

/// What a made-up Windows executable holds.
struct ExecutableSample {
  bool is_64_bit = false;
  bool has_version = true;  ///< false: a resource tree with an icon only
  std::array<std::uint16_t, 4> version = {1, 0, 0, 0};
};

/// The bytes of a small PE file with one resource section; it cannot run.
std::string SampleExecutable(const ExecutableSample& sample);

}  // namespace vlmr::test
