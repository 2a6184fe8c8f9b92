#include "patterns/merge_entries.h"

#include "core/number.h"
#include "index/entry_numbers.h"
#include "platform/runtime_error.h"

namespace vlmr::patterns {
namespace {

constexpr double kMostEntries = 1'000'000;

std::string ReadPatternKey(const core::Runtime& runtime, const std::string& key) {
  return runtime.ReadIniValue("PATTERN", key, runtime.paths.FreshIndex());
}

}  // namespace

std::string MergeEntries::Count() const { return ReadPatternKey(runtime_, "MergeCount"); }

std::string MergeEntries::Version(int n) const {
  return ReadPatternKey(runtime_, "Merge." + core::IntegerText(n));
}

std::string MergeEntries::PathAndSize(int n) const {
  return ReadPatternKey(runtime_, "MergePath_VSAPI." + core::IntegerText(n));
}

std::vector<int> MergeEntries::Numbers(double count) const {
  if (count > kMostEntries) {
    throw platform::RuntimeError(platform::error_number::kOutOfMemory);
  }
  return index::EntryNumbers(runtime_.ini.Document(runtime_.paths.FreshIndex()), "PATTERN",
                             {"Merge.", "MergePath_VSAPI."}, count < 1 ? 0 : static_cast<int>(count));
}

}  // namespace vlmr::patterns
