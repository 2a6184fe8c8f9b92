#pragma once

#include <functional>

namespace vlmr::platform {

/// The system's wish that this process ends, which can arrive at the window, at the console or at a sign-out.
/// It belongs to the process as a whole, as a signal does.

/// Notes the wish; the next `Pump` serves it, and one that sleeps wakes. Safe from any thread.
void RequestClose();
bool CloseIsRequested();
/// The event (a Windows handle) that is set while a request waits, so that it ends a sleep.
void* CloseRequestEvent();
/// Takes the wish back once it is served.
void ClearCloseRequest();
/// What serves it when there is no time for another `Pump`, because Windows ends the sign-on.
void SetLastWords(std::function<void()> handler);
/// Runs that handler and ends the process with code 0.
[[noreturn]] void EndWithLastWords();

}  // namespace vlmr::platform
