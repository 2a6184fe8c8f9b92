#include "transfer/text_limits.h"

#include <array>

#include "core/text.h"
#include "platform/file_system.h"

namespace vlmr::transfer {
namespace {

struct Limit {
  std::string_view name;
  std::int64_t bytes;
};

constexpr std::int64_t kMiB = std::int64_t{1} << 20;
constexpr std::array<Limit, 3> kLimits = {{
    {.name = "server.ini", .bytes = 64 * kMiB},
    {.name = "whatsnew.txt", .bytes = 4 * kMiB},
    {.name = "latest.ini", .bytes = 1 * kMiB},
}};

}  // namespace

std::int64_t MostBytesOf(std::string_view local_file) {
  for (const Limit& limit : kLimits) {
    if (core::EqualsIgnoringCase(platform::NameOf(local_file), limit.name)) return limit.bytes;
  }
  return 0;
}

}  // namespace vlmr::transfer
