#include <cerrno>

#include "platform/runtime_error.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

using namespace error_number;

int DeleteError(int system_error) {
  switch (system_error) {
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
      return kFileNotFound;
    default:
      return kPermissionDenied;
  }
}

int LengthError(int system_error) {
  switch (system_error) {
    case EACCES:
    case EPERM:
      return kPermissionDenied;
    case EIO:
      return kDeviceIoError;
    default:
      return kFileNotFound;
  }
}

int ReadError(int system_error) {
  switch (system_error) {
    case ENOENT:
    case EISDIR:
      return kFileNotFound;
    case ENOTDIR:
      return kPathNotFound;
    case EACCES:
    case EPERM:
    case EBUSY:
      return kPermissionDenied;
    default:
      return kDeviceIoError;
  }
}

int WriteError(int system_error) {
  switch (system_error) {
    case ENOENT:
    case ENOTDIR:
      return kPathNotFound;
    case EISDIR:
    case EROFS:
    case EEXIST:
    case ENOTEMPTY:
    case ENAMETOOLONG:
    case ELOOP:
    case EINVAL:
      return kPathFileAccess;
    case EACCES:
    case EPERM:
    case EBUSY:
    case ETXTBSY:
      return kPermissionDenied;
    default:
      return kDeviceIoError;
  }
}

int MakeFolderError(int system_error) {
  return system_error == ENOENT || system_error == ENOTDIR ? kPathNotFound : kPathFileAccess;
}

int StartError(int system_error) {
  switch (system_error) {
    case ENOENT:
    case ENOTDIR:
      return kFileNotFound;
    case EACCES:
    case EPERM:
    case ETXTBSY:
      return kPermissionDenied;
    default:
      return kInvalidCall;
  }
}

}  // namespace

int ErrorNumberOf(Attempt attempt, SystemErrorCode code) {
  const int system_error = static_cast<int>(code);
  if (system_error == ENOMEM || system_error == EAGAIN) return kOutOfMemory;
  // A path that leads out of the application folder is refused under this number by every operation.
  if (system_error == EXDEV) return kPathFileAccess;
  const bool full = system_error == ENOSPC || system_error == EDQUOT || system_error == EFBIG;
  if (full && (attempt == Attempt::kWrite || attempt == Attempt::kMakeFolder)) return kDiskFull;
  switch (attempt) {
    case Attempt::kDelete:
      return DeleteError(system_error);
    case Attempt::kLength:
      return LengthError(system_error);
    case Attempt::kRead:
      return ReadError(system_error);
    case Attempt::kWrite:
      return WriteError(system_error);
    case Attempt::kMakeFolder:
      return MakeFolderError(system_error);
    case Attempt::kStart:
      return StartError(system_error);
  }
  return kInvalidCall;
}

}  // namespace vlmr::platform
