#include "platform/close_request_windows.h"

#include <windows.h>

#include <utility>

#include "platform/runtime_error.h"

namespace vlmr::platform {
namespace {

std::function<void()>& LastWords() {
  static std::function<void()> handler;
  return handler;
}

}  // namespace

void* CloseRequestEvent() {
  static const HANDLE kEvent = CreateEventW(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr);
  return kEvent;
}

void RequestClose() { SetEvent(CloseRequestEvent()); }
bool CloseIsRequested() { return WaitForSingleObject(CloseRequestEvent(), 0) == WAIT_OBJECT_0; }
void ClearCloseRequest() { ResetEvent(CloseRequestEvent()); }
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
