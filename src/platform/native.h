#pragma once

#include <memory>
#include <string>

#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/executable.h"
#include "platform/file_system.h"
#include "platform/form.h"
#include "platform/process.h"
#include "platform/system_info.h"

namespace vlmr::platform {

/// Brings the process into the state that the rest relies on; to be called first. On POSIX systems the three
/// standard streams are open (a descriptor that takes the place of a closed one would be overwritten in a
/// child), and a file that may not grow is an error of its write, not the end of the process. Nothing on
/// Windows.
void PrepareProcess();

/// The running system's implementations; each folder text is the application folder. These functions are
/// named only where the program is put together and in tests of the implementations.
std::unique_ptr<FileSystem> MakeFileSystem(const std::string& folder);
std::unique_ptr<ProcessRunner> MakeProcessRunner(const std::string& folder);
std::unique_ptr<EventLoop> MakeEventLoop();
std::unique_ptr<Clock> MakeClock();
std::unique_ptr<SystemInfo> MakeSystemInfo();
std::unique_ptr<Form> MakeForm();

}  // namespace vlmr::platform
