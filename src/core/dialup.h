#pragma once

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/process.h"

namespace vlmr::core {

/// Has the separate dial-up program bring the line up, over [RAS] "Connection" of `\Dialer.ini`: "2" dialling
/// (written here), "1" connected, "3" failed (written there). True when the line is connected. Waits without
/// a time limit while "2" stands there; any other value ends it as failed, without a line. Raises nothing.
bool DIALUP(const Runtime& runtime, platform::EventLoop& loop, platform::ProcessRunner& processes);

}  // namespace vlmr::core
