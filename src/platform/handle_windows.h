#pragma once

#include <windows.h>

#include <utility>

namespace vlmr::platform {

/// A system handle that is closed by its owner's end.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~Handle() { Close(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  explicit operator bool() const { return handle_ != nullptr; }
  HANDLE Get() const { return handle_; }
  void Close() {
    if (handle_ != nullptr) CloseHandle(std::exchange(handle_, nullptr));
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace vlmr::platform
