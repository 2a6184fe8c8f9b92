#pragma once

namespace vlmr::platform {

/// What was tried when the system reported an error.
enum class Attempt { kDelete, kLength, kRead, kWrite, kMakeFolder, kStart };

/// The number that a run-time error carries for an `errno` value: the one place where the two meet. A missing
/// folder on the way to a file must come as `ENOTDIR` (`PathResolver` reports it so), because the system
/// calls themselves answer `ENOENT` for both.
int ErrorNumberOf(Attempt attempt, int system_error);

/// Throws the `RuntimeError` of `ErrorNumberOf`.
[[noreturn]] void RaiseSystemError(Attempt attempt, SystemErrorCode system_error);

}  // namespace vlmr::platform
