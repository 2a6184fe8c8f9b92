#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "platform/file_system.h"
#include "platform/handle_windows.h"

namespace vlmr::platform {

/// A file opened for reading; others may read, rename and delete it meanwhile.
std::unique_ptr<InputFile> OpenInputFile(const std::wstring& path);

/// A temporary file beside `path` that replaces it on `Commit`.
std::unique_ptr<StagedFile> OpenStagedFile(const std::wstring& path, Access access);

/// Puts one file into the place of another, in one step and although somebody reads the old one. False:
/// `GetLastError` tells why.
bool RenameOver(const std::wstring& from, const std::wstring& to);

/// Calls `step` until it succeeds or fails for another reason than that somebody has the file open: a reader
/// that holds a file without sharing it delays a rename or a deletion for a moment, not for good. At most
/// about a second. Returns the last error, 0 on success.
template <class Step>
DWORD RetryWhileInUse(Step&& step) {
  constexpr int kTries = 50;
  constexpr DWORD kPauseMilliseconds = 20;
  for (int i = 0;; ++i) {
    if (step()) return 0;
    const DWORD error = GetLastError();
    const bool in_use = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                        error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
    if (!in_use || i == kTries) return error;
    // A folder or a missing right does not pass by waiting.
    if (error == ERROR_ACCESS_DENIED && i >= 10) return error;
    Sleep(kPauseMilliseconds);
  }
}

}  // namespace vlmr::platform
