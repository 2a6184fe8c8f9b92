#include "index/index_readers.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/number.h"
#include "core/text.h"
#include "index/entry_numbers.h"
#include "index/index_values.h"
#include "platform/runtime_error.h"

namespace vlmr::index {
namespace {

constexpr std::string_view kPatternSection = "PATTERN";

/// The most increments that a table is made for. An index that names more is no index of the service.
constexpr double kMostIncrements = 1'000'000;

/// The increments that a loop over `count` of them visits.
std::vector<int> IncrementNumbers(const core::Runtime& runtime, int count) {
  return EntryNumbers(runtime.ini.Document(runtime.paths.FreshIndex()), kPatternSection,
                      {"Merge.", "MergePath_VSAPI."}, count);
}

std::string Numbered(std::string_view key, int number) {
  return std::string(key) + core::IntegerText(number);
}

/// "MergeCount" as text, "0" when it is missing.
std::string MergeCountText(const core::Runtime& runtime) {
  std::string count = runtime.ReadIniValue(kPatternSection, "MergeCount", runtime.paths.FreshIndex());
  return count.empty() ? "0" : count;
}

}  // namespace

const std::string& AuxiliaryKey(AuxiliaryPattern pattern) {
  static const std::array<std::string, 4> kKeys{"P.10", "P.20", "P.40", "P.80"};
  return kKeys.at(static_cast<std::size_t>(pattern));
}

float IndexReaders::VerifLocalPatternVersion(const std::string& file) const {
  runtime_.Log("VerifLocalPatternVersion: Start");
  const std::string found = runtime_.files.FindFile(file);
  runtime_.Log("VerifLocalPatternVersion: Check " + file + "=" + found);
  if (found.empty()) return 0;
  const std::string value = runtime_.ReadIniValue(kPatternSection, "Version", file);
  runtime_.Log("VerifLocalPatternVersion: Tests Value=" + value);
  return core::ToSingle(value);
}

std::string IndexReaders::GetDownloadedPatternVersion() const {
  std::string version = runtime_.ReadIniValue(kPatternSection, "Version", runtime_.paths.FreshIndex());
  return version.empty() ? "0" : version;
}

std::string IndexReaders::GetIncrementPathForVersion(const std::string& version) const {
  const std::string index = runtime_.paths.FreshIndex();
  const double listed = core::ToDouble(MergeCountText(runtime_));
  // A missing "Merge." value would equal the empty version, which nothing applies to.
  if (version.empty()) return {};
  const int count = static_cast<int>(std::clamp(listed, 0.0, kMostIncrements));
  const std::vector<int> numbers = IncrementNumbers(runtime_, count);
  // One look at the file serves the whole loop, which writes no line.
  const IndexValues values(runtime_.ini, index);
  for (const int n : numbers) {
    if (values.Get(kPatternSection, Numbered("Merge.", n)) != version) continue;
    const std::string value = runtime_.ReadIniValue(kPatternSection, Numbered("MergePath_VSAPI.", n), index);
    return value.empty() ? std::string() : core::BeforeComma(value);
  }
  return {};
}

void IndexReaders::GetIncrementUrl(std::vector<Increment>& table) const {
  const std::string index = runtime_.paths.FreshIndex();
  const std::string count_text = MergeCountText(runtime_);
  runtime_.Log("GetIncrementUrl: MergeCount=" + count_text);
  const double listed = core::ToDouble(count_text);
  if (listed == 0) return;
  if (listed < 0) throw platform::RuntimeError(platform::error_number::kSubscriptOutOfRange);
  if (listed > kMostIncrements) throw platform::RuntimeError(platform::error_number::kOutOfMemory);

  const int count = static_cast<int>(std::floor(listed));
  const std::vector<int> numbers = IncrementNumbers(runtime_, count);
  table.assign(numbers.size(), Increment{});
  auto place = table.begin();
  for (const int n : numbers) {
    Increment& row = *place++;
    const std::string value = runtime_.ReadIniValue(kPatternSection, Numbered("MergePath_VSAPI.", n), index);
    runtime_.Log("GetIncrementUrl: Value=" + value);
    core::PathAndSize parts = core::SplitPathAndSize(value);
    row.path = std::move(parts.path);
    row.size = std::move(parts.size);
    row.from = runtime_.ReadIniValue(kPatternSection, Numbered("Merge.", n), index);
  }
}

std::string IndexReaders::GetCombinedPatternPath() const {
  return core::SplitPathAndSize(
             runtime_.ReadIniValue(kPatternSection, "Path_Combine", runtime_.paths.FreshIndex()))
      .path;
}

std::string IndexReaders::GetMirrorPatternVersion(AuxiliaryPattern pattern) const {
  return core::GetVersionField(
      runtime_.ReadIniValue(kPatternSection, AuxiliaryKey(pattern), runtime_.paths.StoredIndex()));
}

}  // namespace vlmr::index
