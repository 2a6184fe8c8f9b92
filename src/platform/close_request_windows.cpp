#include "platform/close_request_windows.h"

#include <windows.h>

#include <atomic>

#include "platform/runtime_error.h"

namespace vlmr::platform {
namespace {

std::atomic<bool>& Requested() {
  static std::atomic<bool> requested{false};
  return requested;
}

std::function<void()>& LastWords() {
  static std::function<void()> handler;
  return handler;
}

}  // namespace

void RequestClose() { Requested() = true; }
bool CloseIsRequested() { return Requested(); }
void ClearCloseRequest() { Requested() = false; }
void SetLastWords(std::function<void()> handler) { LastWords() = std::move(handler); }

void EndWithLastWords() {
  try {
    if (LastWords()) LastWords()();
  } catch (const ProcessEnd&) {
    // That is what the handler is for; here there is nothing to unwind into.
  }
  ExitProcess(0);
}

}  // namespace vlmr::platform
