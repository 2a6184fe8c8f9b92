#include "patterns/patch_job.h"

#include "core/error_trap.h"
#include "patterns/pattern_paths.h"

namespace vlmr::patterns {
namespace {

struct JobRow {
  const char* section;
  const char* key;
  std::string value;
};

core::ErrorTrap PatchIniTrap(const core::Runtime& runtime) {
  return core::ErrorTrap([&runtime](const platform::RuntimeError& error) {
    runtime.Log("PatchIni: Error " + core::ErrorText(error));
  });
}

void DeleteWhenPresent(const core::Runtime& runtime, const std::string& path) {
  PatchIniTrap(runtime)([&] {
    if (!runtime.files.FindFile(path).empty()) {
      runtime.files.Delete(path);
    }
  });
}

}  // namespace

bool PatchJob::PatchIni(const std::string& from, const std::string& to) {
  const std::string source = StagedPatterns(runtime_.paths);
  const std::string backup = source + R"(\Backup)";
  PatchIniTrap(runtime_)([&] {
    if (runtime_.files.FindFolder(backup).empty()) {
      runtime_.files.MakeFolders(backup);
    }
  });
  const std::string increment = runtime_.files.FindFile(source + "\\" + IncrementName(from, to));
  if (increment.empty()) {
    return false;
  }
  runtime_.Log("PatchIni: found =" + increment);
  DeleteWhenPresent(runtime_, runtime_.paths / R"(\patch.lst)");
  DeleteWhenPresent(runtime_, runtime_.paths.PatternFolder() + R"(\ofcscan.ini)");
  WriteJobFile(from, to);

  const std::string program = runtime_.paths / R"(\Patch.exe)";
  runtime_.Log("PatchIni: execute " + program);
  helpers_.WaitFor(program);

  const bool is_made = MoveResult(to);
  DeleteWhenPresent(runtime_, source + "\\" + PatternName(from));
  DeleteWhenPresent(runtime_, backup + "\\" + PatternName(from));
  return is_made;
}

void PatchJob::WriteJobFile(const std::string& from, const std::string& to) {
  const std::string source = StagedPatterns(runtime_.paths);
  const JobRow rows[] = {
      {"debug", "MODE", "3"},
      {"MAIN", "Option", "1"},
      {"MAIN", "Pattern", IncrementName(from, to)},
      {"MAIN", "Engine", ""},
      {"MAIN", "Product", ""},
      {"MAIN", "PatternFrom", from},
      {"MAIN", "PatternTo", to},
      {"MAIN", "Agent", "auaction.dll"},
      {"MAIN", "Patch_exe", "AUOfcPrg.dll"},
      {"MAIN", "Patch_ini", "AUOfcPrg.INI"},
      {"MAIN", "ProductID", "22"},
      {"MAIN", "Merge", "1"},
      {"MAIN", "Source", source},
      {"MAIN", "Destination", runtime_.paths.PatternFolder()},
      {"MAIN", "Backup", source + R"(\Backup)"},
      {"Log", "Finished", ""},
      {"Log", "Result", ""},
      {"Log", "Rollback", ""},
      {"Log", "ErrorFile", ""},
      {"Log", "ErrorID", ""},
  };
  const std::string job_file = runtime_.paths / R"(\Patch.ini)";
  // One replacement before the program starts: it never reads half of a job.
  const core::IniStore::Batch batch(runtime_.ini, job_file, core::IniStore::BatchKind::kAtEnd);
  for (const JobRow& row : rows) {
    runtime_.WriteIniValue(row.section, row.key, row.value, job_file);
  }
}

bool PatchJob::MoveResult(const std::string& to) {
  const std::string published = PublishedPatterns(runtime_.paths) + "\\" + PatternName(to);

  const std::string working = runtime_.paths.PatternFolder() + "\\" + PatternName(to);
  const std::string found = runtime_.files.FindFile(working);
  runtime_.Log("PatchIni: Testing stored new pattern version =>" + working);
  runtime_.Log("PatchIni: Tests= " + found);
  if (!found.empty()) {
    helpers_.DeplaceFile(working, published);
    return true;
  }
  const std::string staged = StagedPatterns(runtime_.paths) + "\\" + PatternName(to);
  const std::string found_staged = runtime_.files.FindFile(staged);
  runtime_.Log("PatchIni: Testing stored new pattern version =>" + staged);
  runtime_.Log("PatchIni: " + staged + "= " + found_staged);
  if (!found_staged.empty()) {
    helpers_.DeplaceFile(staged, published);
    return true;
  }
  return false;
}

}  // namespace vlmr::patterns
