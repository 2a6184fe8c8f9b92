#pragma once

#include <cstdint>
#include <string_view>

namespace vlmr::transfer {

/// The most bytes that a file of this name may have when it is fetched, 0 for any length: "server.ini" 64
/// MiB, "whatsnew.txt" 4 MiB, "latest.ini" 1 MiB, in any case. Their readers hold the whole of them. What is
/// longer is a failed transfer (63), which ends before the rest has come.
std::int64_t MostBytesOf(std::string_view local_file);

}  // namespace vlmr::transfer
