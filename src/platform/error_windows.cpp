#include <windows.h>

#include "platform/runtime_error.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

using namespace error_number;

bool IsMissing(SystemErrorCode error) { return error == ERROR_FILE_NOT_FOUND; }

bool IsMissingFolder(SystemErrorCode error) {
  return error == ERROR_PATH_NOT_FOUND || error == ERROR_BAD_PATHNAME || error == ERROR_INVALID_NAME ||
         error == ERROR_BAD_NETPATH || error == ERROR_BAD_NET_NAME || error == ERROR_DIRECTORY;
}

bool IsDenied(SystemErrorCode error) {
  return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
         error == ERROR_USER_MAPPED_FILE || error == ERROR_DELETE_PENDING;
}

int ReadError(SystemErrorCode error) {
  if (IsMissing(error)) return kFileNotFound;
  if (IsMissingFolder(error)) return kPathNotFound;
  return IsDenied(error) ? kPermissionDenied : kDeviceIoError;
}

int WriteError(SystemErrorCode error) {
  if (IsMissing(error) || IsMissingFolder(error)) return kPathNotFound;
  if (IsDenied(error)) return kPermissionDenied;
  switch (error) {
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
    case ERROR_WRITE_PROTECT:
    case ERROR_FILENAME_EXCED_RANGE:
      return kPathFileAccess;
    default:
      return kDeviceIoError;
  }
}

}  // namespace

int ErrorNumberOf(Attempt attempt, SystemErrorCode error) {
  if (error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY) return kOutOfMemory;
  const bool full = error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL;
  if (full && (attempt == Attempt::kWrite || attempt == Attempt::kMakeFolder)) return kDiskFull;
  switch (attempt) {
    case Attempt::kDelete:
      return IsMissing(error) || IsMissingFolder(error) ? kFileNotFound : kPermissionDenied;
    case Attempt::kLength:
      return IsDenied(error) ? kPermissionDenied : kFileNotFound;
    case Attempt::kRead:
      return ReadError(error);
    case Attempt::kWrite:
      return WriteError(error);
    case Attempt::kMakeFolder:
      return IsMissing(error) || IsMissingFolder(error) ? kPathNotFound : kPathFileAccess;
    case Attempt::kStart:
      if (IsMissing(error) || IsMissingFolder(error)) return kFileNotFound;
      return IsDenied(error) ? kPermissionDenied : kInvalidCall;
  }
  return kInvalidCall;
}

}  // namespace vlmr::platform
