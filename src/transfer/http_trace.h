#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlmr::transfer {

/// What a piece of libcurl's trace is.
enum class TraceKind { kRemark, kHeaderReceived, kHeaderSent };

/// A piece of a trace as log lines: a mark ("*", "<" or ">"), a blank and one line each, empty lines left
/// out. The value of a line that carries a log-in or a cookie is replaced by stars.
std::vector<std::string> TraceLines(TraceKind kind, std::string_view piece);

}  // namespace vlmr::transfer
