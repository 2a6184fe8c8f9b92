#include "notify/virus_list.h"

#include <cstdint>
#include <limits>
#include <utility>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"

namespace vlmr::notify {
namespace {

constexpr std::string_view kHeader = "All detail virus names please refer to the list below.";
constexpr std::string_view kRule = "-------------------";

/// A 16-bit counter whose overflow is an error that is skipped: it stays where it is.
void CountOne(std::int16_t& counter) {
  if (counter < std::numeric_limits<std::int16_t>::max()) {
    ++counter;
  }
}

bool Contains(std::string_view line, std::string_view part) {
  return line.find(part) != std::string_view::npos;
}

/// Decides line by line what belongs to the list. It can only start on the line right behind the header, so a
/// rule on that very line leaves it empty.
class ListFinder {
 public:
  bool IsInList(std::string_view line) {
    CountOne(line_);
    if (Contains(line, kHeader)) {
      if (line_ < std::numeric_limits<std::int16_t>::max()) {
        start_ = static_cast<std::int16_t>(line_ + 1);
      }
      header_seen_ = true;
    }
    if (!header_seen_) {
      return false;
    }
    if (line_ == start_) {
      in_list_ = true;
    }
    if (Contains(line, kRule)) {
      in_list_ = false;
    }
    return in_list_;
  }

 private:
  std::int16_t line_ = 0;
  std::int16_t start_ = 0;
  bool header_seen_ = false;
  bool in_list_ = false;
};

}  // namespace

VirusList VirusListReport::ReadPatternVirusList() {
  const std::string path = runtime_.paths / R"(\ActiveUpdate\Pattern\whatsnew.txt)";
  if (runtime_.files.FindFile(path).empty()) {
    source_.DownloadWhatsNew();
  }
  return ReadVirusListFile(path);
}

VirusList VirusListReport::ReadVirusListFile(const std::string& whats_new_path) {
  if (runtime_.files.FindFile(whats_new_path).empty()) {
    return {.status = "NO", .count = "Whatsnew inexistant !", .names = ""};
  }
  return Parse(whats_new_path);
}

std::string VirusListReport::ReadBounded(const std::string& path) const {
  const std::int64_t length = runtime_.files.Length(path);
  if (length <= kLongestText) return runtime_.files.ReadAll(path);
  runtime_.Log("ReadVirusListFile: Refused " + path + ": it is over " + core::IntegerText(kLongestText) +
               " bytes");
  return {};
}

VirusList VirusListReport::Parse(const std::string& whats_new_path) {
  const core::ErrorTrap quiet([](const platform::RuntimeError&) {});
  const std::string report = runtime_.paths / R"(\ListVir_Official.ini)";
  const std::string text = quiet.Value([&] { return ReadBounded(whats_new_path); }).value_or("");

  VirusList list{.status = "OK", .count = "", .names = ""};
  ListFinder finder;
  std::int16_t names = 0;
  // Key by key, but one file write: the new report takes the place of the old one as a whole.
  core::IniStore::Batch batch(runtime_.ini, report, core::IniStore::BatchKind::kAtEnd);
  bool is_begun = false;
  for (const std::string_view line : core::Lines(text)) {
    if (!finder.IsInList(line)) {
      continue;
    }
    if (!std::exchange(is_begun, true)) {
      runtime_.ini.Create(report, "");
    }
    if (!line.empty()) {
      CountOne(names);
      runtime_.WriteIniValue("VIRUS", "NAME" + core::IntegerText(names), line, report);
      list.names.append(line).append("\r\n");
    }
    list.count = core::IntegerText(names);
    runtime_.WriteIniValue("VIRUS", "COUNT", list.count, report);
  }
  if (!batch.Finish() || !is_begun) {
    quiet([&] {
      if (!runtime_.files.FindFile(report).empty()) {
        runtime_.files.Delete(report);
      }
    });
  }
  return list;
}

}  // namespace vlmr::notify
