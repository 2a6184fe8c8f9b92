#pragma once

#include <memory>

#include "platform/form.h"

namespace vlmr::platform {

/// The form as one line of a terminal, or one that shows nothing when `descriptor` is none. The descriptor is
/// not closed.
std::unique_ptr<Form> MakeTerminalForm(int descriptor);

}  // namespace vlmr::platform
