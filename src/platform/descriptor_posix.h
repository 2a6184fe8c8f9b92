#pragma once

#include <unistd.h>

#include <utility>

namespace vlmr::platform {

/// A file descriptor that is closed when its owner goes.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }

  int Get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  /// Gives the descriptor away.
  int Release() { return std::exchange(number_, -1); }
  /// Closes now; false when the system reports that bytes were lost.
  bool Close() { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_ = -1;
};

}  // namespace vlmr::platform
