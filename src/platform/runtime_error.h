#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace vlmr::platform {

/// The numbers that a run-time error can carry. Operating-system errors are mapped to them in one function
/// per system; transfer and archive errors carry their library's number instead.
namespace error_number {
inline constexpr int kInvalidCall = 5;
inline constexpr int kOverflow = 6;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kSubscriptOutOfRange = 9;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kFileNotFound = 53;
inline constexpr int kDeviceIoError = 57;
inline constexpr int kDiskFull = 61;
inline constexpr int kInputPastEnd = 62;
inline constexpr int kPermissionDenied = 70;
inline constexpr int kPathFileAccess = 75;
inline constexpr int kPathNotFound = 76;
}  // namespace error_number

/// The one error that primitives (file operations, conversions, splits) raise. A procedure's
/// `core::ErrorTrap` catches it, reports number and description in the procedure's own words, and goes on.
class RuntimeError : public std::exception {
 public:
  /// An error with the standard description of `number`.
  explicit RuntimeError(int number);
  /// An error with a description of its own, such as a library's text.
  RuntimeError(int number, std::string description) : number_(number), description_(std::move(description)) {}

  int Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int number_;
  std::string description_;
};

/// The standard description of an error number, "Error <number>" for one that has none.
std::string DescribeError(int number);

/// Thrown to end the process from inside nested waits; only `main` catches it and returns the exit code 0. It
/// is no error: stack objects are destroyed on the way, so open transfers lose their temporary files.
class ProcessEnd {};

}  // namespace vlmr::platform
