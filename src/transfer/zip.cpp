#include "transfer/zip.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/outside_name.h"
#include "core/text.h"
#include "platform/runtime_error.h"
#include "transfer/printable.h"
#include "transfer/stage_file.h"
#include "transfer/zip_archive.h"
#include "transfer/zip_directory.h"

namespace vlmr::transfer {

using platform::RuntimeError;
namespace error_number = platform::error_number;

namespace {

/// The number of every error that concerns an archive as a whole.
constexpr int kBadArchive = 1;
/// libzip's own number and words for an entry that asks for a password.
constexpr int kPasswordWanted = 26;

std::string Bytes(std::int64_t count) { return core::IntegerText(count) + " bytes"; }

void OpenZip(const platform::FileReader& files, const std::string& path, std::optional<ZipReader>& archive) {
  try {
    archive.emplace(files, path);
  } catch (const RuntimeError&) {
    // It counts as an archive without entries.
  }
}

/// Raises when the entries declare more than may be unpacked; none can hold more than it declares.
void CheckSize(const std::vector<ZipEntry>& entries, const ZIP::Limits& limits,
               std::optional<std::int64_t> free_space) {
  std::int64_t bytes = 0;
  for (const ZipEntry& entry : entries) {
    bytes += std::min(limits.unpacked_bytes + 1, entry.size);
    if (bytes > limits.unpacked_bytes) {
      throw RuntimeError(kBadArchive,
                         "DezipFiles: refused, unpacks to more than " + Bytes(limits.unpacked_bytes));
    }
  }
  if (free_space && bytes > *free_space) {
    throw RuntimeError(error_number::kDiskFull, "DezipFiles: refused, unpacks to " + Bytes(bytes) + ", " +
                                                    Bytes(*free_space) + " are free");
  }
}

/// An archive whose directory is too large to be read.
bool HasTooLargeDirectory(const platform::FileReader& files, const std::string& path,
                          const ZIP::Limits& limits) {
  return ZipDirectoryBytes(files, path) > limits.directory_bytes;
}

/// The entry's name without the separator that makes it a folder. Raises 75 for a name that would leave the
/// target folder or that no system could hold.
std::string_view CheckedName(const ZipEntry& entry) {
  std::string_view name = entry.name;
  if (entry.IsFolder()) name.remove_suffix(1);
  const core::NameFault fault = core::CheckOutsidePath(name);
  if (fault == core::NameFault::kNone) return name;
  throw RuntimeError(error_number::kPathFileAccess, platform::DescribeError(error_number::kPathFileAccess) +
                                                        ": " + core::DescribeNameFault(fault) + " [" +
                                                        PrintableLine(entry.name) + "]");
}

/// Unpacks one entry below `folder`, and tells whether that made a file. Raises when it cannot be unpacked;
/// nothing of it is left then.
bool Extract(platform::FileSystem& files, const ZipReader& archive, const ZipEntry& entry,
             const std::string& folder) {
  const std::string path = core::PathBelow(folder, CheckedName(entry));
  if (entry.IsFolder()) {
    files.MakeFolders(path);
    return false;
  }
  if (entry.is_encrypted) throw RuntimeError(kPasswordWanted, "No password provided");
  const std::unique_ptr<platform::StagedFile> staged = StageMakingFolders(files, path);
  archive.Read(entry, [&](std::string_view piece) { staged->Write(piece); });
  staged->Commit();
  return true;
}

/// Where the pieces of a file list lie, under which names. A piece that is no file is reported and left out.
std::vector<ZipAddition> FindAdditions(const core::ErrorTrap& trap, const platform::FileReader& files,
                                       const std::string& source_folder, const std::string& file_list) {
  std::vector<ZipAddition> additions;
  const std::string prefix = source_folder + "\\";
  for (const std::string& piece : core::Split(file_list, ',')) {
    const std::string path = prefix + piece;
    trap([&] {
      if (files.FindFile(path).empty()) throw RuntimeError(error_number::kFileNotFound);
      additions.push_back({.name = std::string(platform::NameOf(path)), .path = path});
    });
  }
  return additions;
}

}  // namespace

bool ZIP::DezipFiles(const std::string& zip_file, const std::string& dest_folder,
                     const std::string& /*filter*/, const std::string& /*password*/) {
  bool disk_full = false;
  const core::ErrorTrap trap([&](const RuntimeError& error) {
    runtime_.Log("Dezipfiles: error " + core::ErrorText(error));
    disk_full = disk_full || error.Number() == error_number::kDiskFull;
  });

  std::optional<ZipReader> archive;
  std::vector<ZipEntry> entries;
  const bool accepted = trap([&] {
    if (HasTooLargeDirectory(runtime_.files, zip_file, limits_)) {
      throw RuntimeError(kBadArchive,
                         "DezipFiles: refused, its directory is over " + Bytes(limits_.directory_bytes));
    }
    OpenZip(runtime_.files, zip_file, archive);
    const std::int64_t count = archive ? archive->Count() : 0;
    if (count == 0) {
      throw RuntimeError(kBadArchive, "DezipFiles: GetEntryNum=0, Zip file seems corrupted");
    }
    if (count > limits_.entries) {
      throw RuntimeError(kBadArchive,
                         "DezipFiles: refused, more than " + core::IntegerText(limits_.entries) + " entries");
    }
    entries = archive->Entries();
    CheckSize(entries, limits_, runtime_.files.FreeSpace(dest_folder));
  });
  std::erase_if(entries, [](const ZipEntry& entry) { return entry.name.empty(); });
  if (!accepted || entries.empty()) return false;
  if (!trap([&] { runtime_.files.MakeFolders(dest_folder); })) return false;

  int written = 0;
  for (const ZipEntry& entry : entries) {
    if (disk_full) break;
    written += trap.Test([&] { return Extract(runtime_.files, *archive, entry, dest_folder); }) ? 1 : 0;
  }
  return written > 0;
}

bool ZIP::ZipFiles(const std::string& target_folder, const std::string& archive_name,
                   const std::string& source_folder, const std::string& file_list) {
  const core::ErrorTrap trap(
      [this](const RuntimeError& error) { runtime_.Log("ZipFiles: error " + core::ErrorText(error)); });
  const std::string path = target_folder + "\\" + archive_name;
  const std::vector<ZipAddition> additions = FindAdditions(trap, runtime_.files, source_folder, file_list);
  if (!additions.empty() && trap([&] { BuildZip(runtime_.files, path, additions); })) return true;
  // A new archive has replaced the old one in one step, so that a reader, or a run that is killed, never
  // finds none; only where none was built does the old one go by itself.
  if (!runtime_.files.FindFile(path).empty()) trap([&] { runtime_.files.Delete(path); });
  return false;
}

int ZIP::EntryCount(const std::string& zip_file) const {
  if (HasTooLargeDirectory(runtime_.files, zip_file, limits_)) return 0;
  std::optional<ZipReader> archive;
  OpenZip(runtime_.files, zip_file, archive);
  return archive ? static_cast<int>(std::min<std::int64_t>(archive->Count(), INT32_MAX)) : 0;
}

}  // namespace vlmr::transfer
