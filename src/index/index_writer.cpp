#include "index/index_writer.h"

#include "core/number.h"
#include "core/text.h"
#include "platform/runtime_error.h"

namespace vlmr::index {

using platform::RuntimeError;
namespace error_number = platform::error_number;

namespace {

constexpr std::string_view kArchive = "vsapi.zip";
constexpr std::size_t kHeaderLines = 7;

/// Asks for the bounds of a list, which an empty one does not have.
void RequireBounds(const std::vector<std::string>& list) {
  if (list.empty()) throw RuntimeError(error_number::kSubscriptOutOfRange);
}

std::string Numbered(std::string_view key, std::size_t position) {
  return std::string(key) + core::IntegerText(static_cast<std::int64_t>(position) + 1);
}

}  // namespace

IndexWriter::IndexWriter(const core::Runtime& runtime, const IndexReaders& readers,
                         core::FileHelpers& helpers, Needs& needs)
    : runtime_(runtime),
      readers_(readers),
      helpers_(helpers),
      needs_(needs),
      trap_([this](const RuntimeError& e) {
        runtime_.Log("CreatingNewPatternServerIni: !! Error !! code " + core::IntegerText(e.Number()));
      }) {}

void IndexWriter::CreatingNewPatternServerIni() {
  // Readers of the mirror see the old index or the whole new one.
  core::IniStore::Batch batch(runtime_.ini, runtime_.paths.StoredIndex(), core::IniStore::BatchKind::kAtEnd);
  WriteHeaderIfAbsent();
  WriteFixedKeys();
  MoveDownloadedFiles();
  WriteVersion();
  WriteArchive("Path_Combine");
  WriteArchive("Path_VSAPI");

  const Names names = ListMergeFiles();
  AppendBlankLine();
  WriteMergeVersions(names);
  AppendBlankLine();
  WriteMergePaths("MergePath_VSAPI.", names);
  AppendBlankLine();
  WriteMergePaths("MergePath_Combine.", names);

  WriteVersionedArchive("P.2");
  WriteVersionedArchive("P.4");
  AppendBlankLine();

  trap_([&] {
    if (!batch.Finish()) throw RuntimeError(error_number::kPathFileAccess);
  });
}

void IndexWriter::WriteHeaderIfAbsent() {
  const std::string index = runtime_.paths.StoredIndex();
  runtime_.Log("CreatingNewPatternServerIni: Testing if server.ini is present..");
  const std::string found = runtime_.files.FindFile(index);
  runtime_.Log("CreatingNewPatternServerIni: Testing dir server.ini=" + found);
  if (!found.empty()) return;
  runtime_.Log("CreatingNewPatternServerIni: Create header first..");
  runtime_.ini.Create(index, ReadHeader() + "\r\n");
}

std::string IndexWriter::ReadHeader() const {
  std::string header;
  trap_([&] {
    const std::string text = runtime_.files.ReadAll(runtime_.paths.FreshIndex());
    const std::vector<std::string_view> lines = core::Lines(text);
    for (std::size_t n = 0; n < kHeaderLines; ++n) {
      if (n == lines.size()) throw RuntimeError(error_number::kInputPastEnd);
      header.append(lines[n]).append("\r\n");
    }
  });
  return header;
}

void IndexWriter::WriteFixedKeys() {
  const std::string index = runtime_.paths.StoredIndex();
  runtime_.WriteIniValue("Common", "Version", "1.2", index);
  runtime_.WriteIniValue("Server", "AvailableServer", "0", index);
}

void IndexWriter::MoveDownloadedFiles() {
  runtime_.Log("CreatingNewPatternServerIni: Copy New downloaded files");
  const std::string staging = runtime_.paths.StagingRoot() + R"(Pattern\)";
  bool archive_moved = false;
  for (const std::string& name : runtime_.files.List(staging + "*.*")) {
    runtime_.Log("CreatingNewPatternServerIni: Copy " + name);
    helpers_.DeplaceFile(staging + name, PatternFile(name));
    // A move that failed leaves the staged file, and in the mirror what the working folder was made from.
    if (core::EqualsIgnoringCase(name, kArchive)) {
      archive_moved = runtime_.files.FindFile(staging + name).empty();
    }
  }
  if (archive_moved) needs_.RefreshPatternFolder();
}

void IndexWriter::WriteVersion() {
  trap_([&] {
    Write("Version", core::SingleText(readers_.VerifLocalPatternVersion(runtime_.paths.FreshIndex())));
  });
}

void IndexWriter::WriteArchive(std::string_view key) {
  trap_([&] { Write(key, "Pattern/vsapi.zip," + LengthText(kArchive)); });
}

std::vector<std::string> IndexWriter::ListMergeFiles() const {
  const std::string version = runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.StoredIndex());
  Names names = runtime_.files.List(runtime_.paths / R"(\ActiveUpdate\pattern\V_*.)" + version);
  if (!names.empty()) core::SortStrings(1, static_cast<int>(names.size()), names, /*descending=*/false);
  return names;
}

void IndexWriter::AppendBlankLine() { runtime_.ini.AppendBlankLine(runtime_.paths.StoredIndex()); }

void IndexWriter::WriteMergeVersions(const Names& names) {
  trap_([&] {
    RequireBounds(names);
    Write("MergeCount", core::IntegerText(static_cast<std::int64_t>(names.size())));
  });
  trap_([&] {
    RequireBounds(names);
    constexpr std::size_t kPrefix = std::string_view("V_").size();
    for (std::size_t n = 0; n < names.size(); ++n) Write(Numbered("Merge.", n), names[n].substr(kPrefix));
  });
}

void IndexWriter::WriteMergePaths(std::string_view key, const Names& names) {
  trap_([&] { RequireBounds(names); });
  for (std::size_t n = 0; n < names.size(); ++n) {
    trap_([&] { Write(Numbered(key, n), "Pattern/" + names[n] + "," + LengthText(names[n])); });
  }
}

void IndexWriter::WriteVersionedArchive(std::string_view key) {
  trap_([&] {
    const std::string version = runtime_.ReadIniValue("PATTERN", "Version", runtime_.paths.StoredIndex());
    Write(key, "Pattern/vsapi.zip," + version + "," + LengthText(kArchive));
  });
}

std::string IndexWriter::PatternFile(std::string_view name) const {
  return runtime_.paths.MirrorRoot() + R"(Pattern\)" + std::string(name);
}

std::string IndexWriter::LengthText(std::string_view name) const {
  return core::IntegerText(runtime_.files.Length(PatternFile(name)));
}

void IndexWriter::Write(std::string_view key, std::string_view value) {
  runtime_.WriteIniValue("PATTERN", key, value, runtime_.paths.StoredIndex());
}

}  // namespace vlmr::index
