#include "patterns/incremental_build.h"

#include <compare>
#include <vector>

#include "core/number.h"
#include "core/text.h"
#include "patterns/pattern_paths.h"

namespace vlmr::patterns {

IncrementalBuild::IncrementalBuild(const core::Runtime& runtime, const index::IndexReaders& readers,
                                   const index::ServiceFetch& fetch, transfer::ZIP& zip,
                                   core::Notifier& notifier, PatternStore& store, PatchJob& job)
    : runtime_(runtime),
      readers_(readers),
      fetch_(fetch),
      zip_(zip),
      store_(store),
      job_(job),
      entries_(runtime),
      trap_([&runtime, &notifier](const platform::RuntimeError& error) {
        notifier.PrepareMail(core::MailSwitch::kError,
                             "Error PatchVsapI => !! Error !! code " + core::ErrorText(error));
        runtime.Log("PatchVsapI: Error code " + core::ErrorText(error));
      }) {}

bool IncrementalBuild::PatchVsapI() {
  runtime_.Log("PatchVsapI: !=====>Try to Find new incremental Patterns<====!");
  const std::string my_pattern = store_.PatternStored();
  runtime_.Log("PatchVsapI: MyPattern [old Pattern stored]=" + my_pattern);
  const std::string new_pattern = runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.FreshIndex());
  runtime_.Log("PatchVsapI: NewPattern [New Pattern downloaded]=" + new_pattern);
  if (std::is_gteq(core::CompareAsText(my_pattern, new_pattern)) ||
      !IsUsableVersion(runtime_, "PatchVsapI", new_pattern)) {
    return false;
  }
  runtime_.Log("PatchVsapI: INI version stored=" +
               runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.StoredIndex()));
  const std::string archive = PublishedPatterns(runtime_.paths) + R"(\Vsapi.zip)";
  runtime_.Log("PatchVsapI: " + archive + "=" + runtime_.files.FindFile(archive));

  bool is_built = false;
  if (IsStaged(FindIncrement(my_pattern)) && job_.PatchIni(my_pattern, new_pattern)) {
    runtime_.Log("PatchVsapI: successfull creating new pattern version= " + new_pattern);
    runtime_.Log("PatchVsapI: Zip the new pattern file to VSAPI.ZIP");
    is_built = ZipNewPattern(new_pattern);
  }
  KillStaged(my_pattern);
  KillStaged(new_pattern);
  if (!trap_.Test([&] { return runtime_.settings.IsOn(core::Setting::kOfficeScanOnly); })) {
    PublishIncrements();
  }
  return is_built;
}

std::string IncrementalBuild::FindIncrement(const std::string& my_pattern) {
  float count = 0;
  trap_([&] { count = core::ToSingle(entries_.Count()); });
  runtime_.Log("PatchVsapI: Count=" + core::SingleText(count));

  std::string increment;
  std::vector<int> numbers;
  trap_([&] { numbers = entries_.Numbers(count); });
  for (const int n : numbers) {
    const std::string version = entries_.Version(n);
    // A number of nothing would be 0, and so equal to the version of a mirror that holds no pattern.
    if (!version.empty() &&
        trap_.Test([&] { return std::is_eq(core::CompareAsSingles(version, my_pattern)); })) {
      increment = entries_.PathAndSize(n);
      runtime_.Log("PatchVsapI: Found Increment=" + increment);
    } else {
      runtime_.Log("PatchVsapI: Increment BAD=" + version);
    }
  }
  if (increment.empty()) {
    runtime_.Log("PatchVsapI: didn't found increment file");
    return "";
  }
  std::string file;
  trap_([&] { file = core::BeforeComma(increment); });
  runtime_.Log("PatchVsapI: IncrementFile=" + file);
  return file;
}

bool IncrementalBuild::IsStaged(const std::string& increment) {
  const std::string path = fetch_.Staged(increment);
  const std::string found = fetch_.IsUsable(increment) ? runtime_.files.FindFile(path) : "";
  runtime_.Log("PatchVsapI: " + path + "=" + found);
  if (found.empty()) {
    runtime_.Log("PatchVsapI: didn't found increment file");
  }
  return !found.empty();
}

bool IncrementalBuild::ZipNewPattern(const std::string& new_pattern) {
  const std::string folder = PublishedPatterns(runtime_.paths);
  const std::string archive = runtime_.paths.StoredArchive();
  const std::string old_archive = runtime_.files.FindFile(archive);
  runtime_.Log("PatchVsapI: check " + archive + "=" + old_archive);
  if (!old_archive.empty()) {
    runtime_.Log("PatchVsapI: Kill old Zip file: " + archive);
  }
  const std::string pattern = folder + "\\" + PatternName(new_pattern);
  if (runtime_.files.FindFile(pattern).empty()) {
    runtime_.Log("PatchVsapI: Unable to find " + pattern);
    KillArchive();
    return false;
  }
  trap_([&] {
    runtime_.Log("PatchVsapI: Find the pattern [" + pattern + "] Size=[" +
                 core::IntegerText(runtime_.files.Length(pattern)) + "]");
  });
  const bool is_zipped = zip_.ZipFiles(folder, kArchiveName, folder, PatternName(new_pattern));
  if (!is_zipped) {
    runtime_.Log("PatchVsapI: Unable to compress the file");
    KillArchive();
  }
  const std::string found = runtime_.files.FindFile(archive);
  runtime_.Log("PatchVsapI: Found  [" + found + "]");
  if (!found.empty()) {
    trap_([&] {
      const std::string size = core::IntegerText(runtime_.files.Length(archive));
      runtime_.Log("PatchVsapI: Found VSAPI.ZIP Size=[" + size + "]");
    });
  }
  if (is_zipped) {
    store_.RefreshPatternFolder();
  }
  return is_zipped;
}

void IncrementalBuild::KillArchive() {
  // A new archive replaces the old one in one step, so that a killed run leaves clients an archive. A build
  // that fails still ends without one, as its log says: the full archive is fetched next.
  const std::string archive = runtime_.paths.StoredArchive();
  if (!runtime_.files.FindFile(archive).empty()) {
    trap_([&] { runtime_.files.Delete(archive); });
  }
}

void IncrementalBuild::KillStaged(const std::string& version) {
  const std::string path = StagedPatterns(runtime_.paths) + "\\" + PatternName(version);
  const std::string found = runtime_.files.FindFile(path);
  runtime_.Log("PatchVsapI:" + path + "=" + found);
  if (!found.empty()) {
    runtime_.Log("PatchVsapI: Kill " + path);
    trap_([&] { runtime_.files.Delete(path); });
  }
}

void IncrementalBuild::PublishIncrements() {
  runtime_.Log("PatchVsapI: !=====>Move All Increment Pattern Downloaded<=====!");
  std::vector<index::Increment> table;
  trap_([&] { readers_.GetIncrementUrl(table); });
  for (const index::Increment& row : table) {
    if (fetch_.IsUsable(row.path)) {
      PublishIncrement(row.path);
    }
  }
}

void IncrementalBuild::PublishIncrement(const std::string& index_path) {
  const std::string staged = fetch_.Staged(index_path);
  const std::string found = runtime_.files.FindFile(staged);
  runtime_.Log("PatchVsapI: Check if Exist: " + staged + "=" + found);
  if (!found.empty()) {
    fetch_.Publish(index_path);
  }
}

}  // namespace vlmr::patterns
