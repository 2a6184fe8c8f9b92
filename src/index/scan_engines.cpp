#include "index/scan_engines.h"

#include <array>

#include "core/error_trap.h"
#include "core/number.h"

namespace vlmr::index {
namespace {

constexpr std::array<std::string_view, 12> kEngineKeys{
    "Path_VSAPI32_NT_I386",       "Path_VSAPI32_VXD",   "Path_VSAPI32_NT_KD", "Path_VSAPI32_NLM",
    "Path_VSAPI32_SOLARIS_SPARC", "Path_VSAPI32_HPUX",  "Path_VSAPI32_LINUX", "Path_VSAPI16",
    "Path_PREVSAPI32_95",         "Path_PREVSAPI32_NT", "Path_PREVSAPI16",    "Path_VSAPI_MIPS",
};

}  // namespace

ScanEngines::ScanEngines(const core::Runtime& runtime, const ServiceFetch& fetch, core::Notifier& notifier)
    : runtime_(runtime), fetch_(fetch), notifier_(notifier) {}

void ScanEngines::GetEngines() {
  const std::string temp_index = runtime_.paths.FreshIndex();
  const std::string stored_index = runtime_.paths.StoredIndex();
  const core::IniStore::Batch batch(runtime_.ini, stored_index, core::IniStore::BatchKind::kEachSecond);
  runtime_.Log("GetEngines: IniTemp=" + temp_index);
  runtime_.Log("GetEngines: IniStore=" + stored_index);
  for (const std::string_view key : kEngineKeys) Checkengine(temp_index, stored_index, std::string(key));
}

void ScanEngines::Checkengine(const std::string& temp_index, const std::string& stored_index,
                              const std::string& key) {
  const core::ErrorTrap trap([this](const platform::RuntimeError& error) {
    runtime_.Log("Checkengine: Error " + core::ErrorText(error));
  });
  trap([&] { CheckOneEngine(temp_index, stored_index, key); });
}

void ScanEngines::CheckOneEngine(const std::string& temp_index, const std::string& stored_index,
                                 const std::string& key) const {
  const EngineEntry temp = ReadEntry(temp_index, key, "Temp");
  const EngineEntry store = ReadEntry(stored_index, key, "Store");
  runtime_.Log("Checkengine: -------------------------");
  // Both lines carry the fresh version: whoever reads these logs expects it.
  runtime_.Log("Checkengine: Version on store =" + temp.version);
  runtime_.Log("Checkengine: Version on Temp =" + temp.version);
  runtime_.Log("Checkengine: -------------------------");
  const bool missing = !IsInMirror(temp);
  const bool newer = core::CompareAsText(temp.version, store.version) > 0;
  if (temp.path.empty() || (!missing && !newer)) return;
  if (!Download(temp) || !MoveIntoMirror(temp)) return;
  Record(temp, stored_index, key);
  QueueMail(temp, key);
}

EngineEntry ScanEngines::ReadEntry(const std::string& index, const std::string& key,
                                   const std::string& place) const {
  const std::string value = runtime_.ReadIniValue(kEngineSection, key, index);
  runtime_.Log("Checkengine: " + key + " on " + place + " =" + value);
  return ParseEngineEntry(value);
}

bool ScanEngines::IsInMirror(const EngineEntry& entry) const {
  runtime_.Log("Checkengine: Check if exist= " + Mirrored(entry));
  const std::string found = fetch_.FindMirrored(entry.path);
  runtime_.Log("Checkengine: Tests=" + found);
  return !found.empty();
}

bool ScanEngines::Download(const EngineEntry& entry) const {
  runtime_.Log("Checkengine: Download=" + fetch_.AddressOf(entry.path));
  return fetch_.Fetch(entry.path) && Exists("Check if exist= ", Staged(entry));
}

bool ScanEngines::MoveIntoMirror(const EngineEntry& entry) const {
  fetch_.Publish(entry.path);
  return Exists("Check=", Mirrored(entry));
}

bool ScanEngines::Exists(const std::string& label, const std::string& file) const {
  runtime_.Log("Checkengine: " + label + file);
  const std::string found = runtime_.files.FindFile(file);
  runtime_.Log("Checkengine: Tests=" + found);
  return !found.empty();
}

void ScanEngines::Record(const EngineEntry& entry, const std::string& stored_index,
                         const std::string& key) const {
  const std::string value = EngineEntryText(entry, runtime_.files.Length(Mirrored(entry)));
  runtime_.Log("Checkengine: WriteINI=" + value);
  runtime_.WriteIniValue(kEngineSection, key, value, stored_index);
}

void ScanEngines::QueueMail(const EngineEntry& entry, const std::string& key) const {
  // Text in that key means that earlier engines stand in the same mail.
  const bool first = runtime_.settings.Text(core::Setting::kMailEngineVersion).empty();
  notifier_.PrepareMail(core::MailSwitch::kScanEngineByCheck,
                        (first ? "" : "%CRLF% -") + key + "=>" + entry.version);
}

std::string ScanEngines::Staged(const EngineEntry& entry) const { return fetch_.Staged(entry.path); }

std::string ScanEngines::Mirrored(const EngineEntry& entry) const { return fetch_.Mirrored(entry.path); }

}  // namespace vlmr::index
