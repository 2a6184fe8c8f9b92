#pragma once

#include <string>
#include <string_view>

namespace vlmr::transfer {

/// What a stranger sent, made fit for one log line: control characters become blanks, blanks at the ends are
/// dropped, and what is longer than 400 bytes is cut.
std::string PrintableLine(std::string_view text);

}  // namespace vlmr::transfer
