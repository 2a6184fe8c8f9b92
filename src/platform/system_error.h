#pragma once

namespace vlmr::platform {

/// What was tried when the system reported an error.
enum class Attempt { kDelete, kLength, kRead, kWrite, kMakeFolder, kStart };

/// An error as the system numbers it: `errno` on POSIX systems, `GetLastError` on Windows.
using SystemErrorCode = unsigned long;

/// No code of a system's: a link on the way leads out of the folder that the path must stay in.
inline constexpr SystemErrorCode kLinkLeadsOut = 0x10000;
/// The same in words for the log.
inline constexpr const char* kLinkLeadsOutText = "a link leads out of its folder";

/// The number that a run-time error carries for a system's error: the one place where the two meet, one
/// function per system. On POSIX systems a missing folder on the way to a file must come as `ENOTDIR`
/// (`PathResolver` reports it so), because the system calls themselves answer `ENOENT` for both.
int ErrorNumberOf(Attempt attempt, SystemErrorCode system_error);

/// Throws the `RuntimeError` of `ErrorNumberOf`; 75 and the reason for `kLinkLeadsOut`.
[[noreturn]] void RaiseSystemError(Attempt attempt, SystemErrorCode system_error);

}  // namespace vlmr::platform
