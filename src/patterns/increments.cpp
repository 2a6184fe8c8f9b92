#include "patterns/increments.h"

#include <vector>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"

namespace vlmr::patterns {
namespace {

core::ErrorTrap TrapOf(const core::Runtime& runtime, const char* procedure) {
  return core::ErrorTrap([&runtime, procedure](const platform::RuntimeError& error) {
    runtime.Log(std::string(procedure) + ": Error " + core::ErrorText(error));
  });
}

}  // namespace

void Increments::GetAllIncrement() {
  std::vector<index::Increment> table;
  TrapOf(runtime_, "GetAllIncrement")([&] { readers_.GetIncrementUrl(table); });
  for (const index::Increment& row : table) {
    if (!row.path.empty()) {
      GetIncrement(row);
    }
  }
}

void Increments::GetIncrement(const index::Increment& row) {
  const core::ErrorTrap trap = TrapOf(runtime_, "GetAllIncrement");
  runtime_.Log("GetAllIncrement: Get increment pattern=" + row.path);
  if (!fetch_.IsUsable(row.path)) {
    return;
  }
  const std::string local_file = fetch_.Staged(row.path);
  const bool is_present = !runtime_.files.FindFile(local_file).empty();
  runtime_.Log("GetAllIncrement: Checking " + local_file);
  if (!is_present) {
    runtime_.Log("GetAllIncrement: Get " + fetch_.AddressOf(row.path));
    Download(row.path, local_file);
    return;
  }
  trap([&] {
    runtime_.Log("GetAllIncrement: " + local_file +
                 " Size= " + core::IntegerText(runtime_.files.Length(local_file)));
  });
  if (trap.Test([&] {
        return static_cast<double>(runtime_.files.Length(local_file)) != core::ToDouble(row.size);
      })) {
    Download(row.path, local_file);
  }
}

void Increments::Download(const std::string& index_path, const std::string& local_file) {
  if (fetch_.Fetch(index_path, local_file)) {
    TrapOf(runtime_,
           "GetAllIncrement")([&] { runtime_.log.AppendDownloadedSize(runtime_.files.Length(local_file)); });
  }
}

bool Increments::GetSingleIncrement() {
  const core::ErrorTrap trap = TrapOf(runtime_, "GetSingleIncrement");
  runtime_.Log("GetSingleIncrement: try to get the only right increment pattern file");
  const std::string my_pattern = store_.PatternStored();
  runtime_.Log("GetSingleIncrement: MyPattern=" + my_pattern);
  const std::string new_pattern = runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.FreshIndex());
  runtime_.Log("GetSingleIncrement: NewPattern=" + new_pattern);

  std::string found;
  trap([&] {
    for (const int n : entries_.Numbers(core::ToDouble(entries_.Count()))) {
      const std::string version = entries_.Version(n);
      if (!version.empty() && version == my_pattern) {
        found = entries_.PathAndSize(n);
      }
    }
  });
  runtime_.Log("GetSingleIncrement: Find =" + found);
  if (found.empty()) {
    return false;
  }
  std::string path;
  trap([&] { path = core::BeforeComma(found); });
  runtime_.Log("GetSingleIncrement: URL =" + path);
  if (!fetch_.Fetch(path)) {
    runtime_.Log("GetSingleIncrement: Error downloading");
    return false;
  }
  return true;
}

}  // namespace vlmr::patterns
