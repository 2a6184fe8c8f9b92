#include "platform/runtime_error.h"

#include "platform/system_error.h"

namespace vlmr::platform {

RuntimeError::RuntimeError(int number) : number_(number), description_(DescribeError(number)) {}

std::string DescribeError(int number) {
  switch (number) {
    case error_number::kInvalidCall:
      return "Invalid procedure call or argument";
    case error_number::kOverflow:
      return "Overflow";
    case error_number::kOutOfMemory:
      return "Out of memory";
    case error_number::kSubscriptOutOfRange:
      return "Subscript out of range";
    case error_number::kTypeMismatch:
      return "Type mismatch";
    case error_number::kFileNotFound:
      return "File not found";
    case error_number::kDeviceIoError:
      return "Device I/O error";
    case error_number::kDiskFull:
      return "Disk full";
    case error_number::kInputPastEnd:
      return "Input past end of file";
    case error_number::kPermissionDenied:
      return "Permission denied";
    case error_number::kPathFileAccess:
      return "Path/File access error";
    case error_number::kPathNotFound:
      return "Path not found";
    default:
      return "Error " + std::to_string(number);
  }
}

void RaiseSystemError(Attempt attempt, SystemErrorCode system_error) {
  if (system_error == kLinkLeadsOut) {
    const int number = error_number::kPathFileAccess;
    throw RuntimeError(number, DescribeError(number) + ": " + kLinkLeadsOutText);
  }
  throw RuntimeError(ErrorNumberOf(attempt, system_error));
}

}  // namespace vlmr::platform
