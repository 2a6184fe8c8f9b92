#include "index/engine_entry.h"

#include "core/number.h"
#include "core/text.h"

namespace vlmr::index {

EngineEntry ParseEngineEntry(std::string_view value) {
  EngineEntry entry{.path = core::SplitPathAndSize(value).path, .version = core::GetVersionField(value)};
  if (entry.version.empty()) entry.version = "0";
  return entry;
}

std::string EngineEntryText(const EngineEntry& entry, std::int64_t length) {
  return entry.path + ", " + entry.version + ", " + core::IntegerText(length);
}

}  // namespace vlmr::index
