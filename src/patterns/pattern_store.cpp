#include "patterns/pattern_store.h"

#include <compare>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"
#include "patterns/pattern_paths.h"

namespace vlmr::patterns {
namespace {

constexpr std::string_view kBanner = "PatternStored: Find the Last Pattern stored =================";

std::string ExtensionOf(const std::string& name) { return std::string(core::LastCharacters(name, 3)); }

std::string WorkingFiles(const core::Runtime& runtime) {
  return runtime.paths.PatternFolder() + "\\" + std::string(kAnyPattern);
}

std::string FirstOf(const std::vector<std::string>& names) {
  return names.empty() ? std::string() : names.front();
}

/// Deletes what can be deleted; a file in use stays, and nobody is told.
bool DeleteQuietly(const core::Runtime& runtime, const std::string& path) {
  const core::ErrorTrap quiet([](const platform::RuntimeError&) {});
  return quiet([&] { runtime.files.Delete(path); });
}

}  // namespace

std::string PatternStore::PatternStored() {
  std::string result;
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    runtime_.Log("PatternStored: Errors ! " + core::ErrorText(error));
  });
  trap([&] { result = FindStored(); });
  return result;
}

std::string PatternStore::FindStored() {
  runtime_.Log(kBanner);
  const std::string first = FirstOf(runtime_.files.List(WorkingFiles(runtime_)));
  runtime_.Log("PatternStored: First pattern found= " + WorkingFiles(runtime_) + "=" + first);
  if (first.empty()) {
    runtime_.Log("PatternStored: Try to Uncompress " + runtime_.paths / R"(\Activeupdate\Pattern\vsapi.zip)");
    if (!UnzipLatestPattern()) {
      runtime_.Log("PatternStored: Uncompress False Pattern=0 this is the first install");
      return "0";
    }
  }
  std::string highest = HighestOf(ListExtensions());
  CleanPatternFolder(highest);
  runtime_.Log("PatternStored: Actual pattern version found " + highest);
  runtime_.Log(kBanner);
  return highest;
}

std::vector<std::string> PatternStore::ListExtensions() {
  std::vector<std::string> extensions;
  try {
    for (const std::string& name : runtime_.files.List(WorkingFiles(runtime_))) {
      runtime_.Log("PatternStored: Tests=" + name);
      extensions.push_back(ExtensionOf(name));
    }
  } catch (const platform::RuntimeError& error) {
    if (error.Number() != platform::error_number::kOutOfMemory) {
      throw;
    }
    runtime_.Log("PatternStored: Errors Memory, Clear the cache");
    extensions.clear();
  }
  return extensions;
}

std::string PatternStore::HighestOf(const std::vector<std::string>& extensions) {
  if (extensions.empty()) {
    throw platform::RuntimeError(platform::error_number::kSubscriptOutOfRange);
  }
  std::string highest = extensions.front();
  for (const std::string& candidate : extensions) {
    runtime_.Log("PatternStored: " + core::SingleText(core::ToSingle(candidate)) +
                 core::SingleText(core::ToSingle(highest)));
    if (std::is_gt(core::CompareAsSingles(candidate, highest))) {
      highest = candidate;
    }
  }
  return highest;
}

bool PatternStore::UnzipLatestPattern() {
  const std::string archive = runtime_.paths.StoredArchive();
  const std::string found = runtime_.files.FindFile(archive);
  runtime_.Log("UnzipLatestPattern : " + archive + "=" + found);
  if (found.empty() || !zip_.DezipFiles(archive, runtime_.paths.PatternFolder(), "", "")) {
    return false;
  }
  runtime_.Log("UnzipLatestPattern =True");
  return true;
}

void PatternStore::CleanPatternFolder(const std::string& keep) {
  runtime_.Log("CleanPatternFolder: Clean the folder now...");
  for (const std::string& name : runtime_.files.List(WorkingFiles(runtime_))) {
    runtime_.Log("CleanPatternFolder: Verify Pattern to kill => " + name);
    if (name == PatternName(keep)) {
      runtime_.Log("CleanPatternFolder: Verify Pattern Skip the actual pattern " + name);
    } else if (DeleteQuietly(runtime_, runtime_.paths.PatternFolder() + "\\" + name)) {
      runtime_.Log("CleanPatternFolder: Delete pattern " + name);
    }
  }
  // One file of the published folder for each call, no more: clients may still be reading the others.
  const std::string folder = PublishedPatterns(runtime_.paths) + "\\";
  const std::string published = FirstOf(runtime_.files.List(folder + std::string(kAnyPattern)));
  runtime_.Log("CleanPatternFolder: Found => " + folder + published);
  if (!published.empty() && DeleteQuietly(runtime_, folder + published)) {
    runtime_.Log("CleanPatternFolder: Delete pattern " + folder + published);
  }
}

std::string PatternStore::GetLastStoredPatternExtension() {
  std::string greatest;
  for (const std::string& name : runtime_.files.List(WorkingFiles(runtime_))) {
    const std::string extension = ExtensionOf(name);
    if (std::is_gt(core::CompareAsText(extension, greatest))) {
      greatest = extension;
    }
  }
  const std::string archive = runtime_.paths.StoredArchive();
  if (greatest.empty() && !runtime_.files.FindFile(archive).empty() &&
      zip_.DezipFiles(archive, runtime_.paths.PatternFolder(), "", "")) {
    greatest = ExtensionOf(FirstOf(runtime_.files.List(WorkingFiles(runtime_))));
  }
  return greatest.empty() ? "0" : greatest;
}

void PatternStore::RefreshPatternFolder() {
  const std::string archive = runtime_.paths.StoredArchive();
  if (zip_.EntryCount(archive) < 1) {
    if (!runtime_.files.FindFile(archive).empty()) {
      runtime_.Log("RefreshPatternFolder: Error " + archive + " cannot be read, the pattern held stays");
    }
    return;
  }
  for (const std::string& name : runtime_.files.List(WorkingFiles(runtime_))) {
    if (DeleteQuietly(runtime_, runtime_.paths.PatternFolder() + "\\" + name)) {
      runtime_.Log("RefreshPatternFolder: Delete pattern " + name);
    }
  }
}

}  // namespace vlmr::patterns
