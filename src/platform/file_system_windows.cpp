#include "platform/file_system_windows.h"

#include <winternl.h>

#include <algorithm>

#include "platform/ascii_case.h"
#include "platform/files_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/runtime_error.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

std::int64_t Joined(DWORD high, DWORD low) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32U) | low);
}

bool HasParentComponent(std::string_view path) {
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find_first_of("/\\", begin), path.size());
    if (path.substr(begin, end - begin) == "..") return true;
    begin = end + 1;
  }
  return false;
}

/// What the kernel knows of an open file. False when it does not answer.
template <class Information>
bool Query(const Handle& file, FILE_INFORMATION_CLASS what, Information& information) {
  IO_STATUS_BLOCK status{};
  return NtQueryInformationFile(file.Get(), &status, &information, sizeof information, what) >= 0;
}

}  // namespace

bool WindowsFileSystem::Climbs(std::string_view path) const {
  return SameName(path.substr(0, folder_.size()), folder_) && HasParentComponent(path.substr(folder_.size()));
}

std::wstring WindowsFileSystem::Native(const std::string& path) const {
  if (Climbs(path)) throw RuntimeError(error_number::kPathFileAccess);
  return LongPath(path);
}

bool WindowsFileSystem::FindEntry(const std::string& path, WIN32_FIND_DATAW& entry) const {
  if (path.empty() || EndsWithSeparator(path) || path.find_first_of("*?") != std::string::npos ||
      Climbs(path)) {
    return false;
  }
  const HANDLE find =
      FindFirstFileExW(LongPath(path).c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0);
  if (find == INVALID_HANDLE_VALUE) return false;
  FindClose(find);
  return true;
}

template <class Visitor>
void WindowsFileSystem::ForEachEntry(const std::string& folder, const Visitor& visit) const {
  if (folder == "\\" || Climbs(folder)) return;
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileExW(LongPath(folder + "*").c_str(), FindExInfoBasic, &entry,
                                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    visit(entry);
  } while (FindNextFileW(find, &entry));
  FindClose(find);
}

std::vector<std::string> WindowsFileSystem::Entries(const std::string& folder, std::string_view pattern,
                                                    bool folders) const {
  std::vector<std::string> names;
  ForEachEntry(folder + "\\", [&](const WIN32_FIND_DATAW& entry) {
    const std::wstring_view wide = entry.cFileName;
    if (wide.starts_with(L'.') || IsFolder(entry.dwFileAttributes) != folders ||
        (entry.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0) {
      return;
    }
    std::string name = FromWide(wide);
    if (MatchesWildcard(name, pattern)) names.push_back(std::move(name));
  });
  std::sort(names.begin(), names.end(), ListsBefore);
  return names;
}

std::string WindowsFileSystem::FindFile(const std::string& path) const {
  WIN32_FIND_DATAW entry{};
  return FindEntry(path, entry) && !IsFolder(entry.dwFileAttributes) ? FromWide(entry.cFileName)
                                                                     : std::string();
}

std::string WindowsFileSystem::FindFolder(const std::string& path) const {
  WIN32_FIND_DATAW entry{};
  return FindEntry(path, entry) && IsFolder(entry.dwFileAttributes) ? FromWide(entry.cFileName)
                                                                    : std::string();
}

std::vector<std::string> WindowsFileSystem::List(const std::string& pattern) const {
  return Entries(std::string(FolderOf(pattern)), NameOf(pattern), /*folders=*/false);
}

std::vector<std::string> WindowsFileSystem::ListFolders(const std::string& path) const {
  return Entries(path, "*", /*folders=*/true);
}

std::vector<std::string> WindowsFileSystem::FindMarked(const std::string& folder,
                                                       std::string_view mark) const {
  std::vector<std::string> found;
  std::vector<std::string> waiting = {folder};
  while (!waiting.empty()) {
    const std::string inside = std::move(waiting.back()) + "\\";
    waiting.pop_back();
    ForEachEntry(inside, [&](const WIN32_FIND_DATAW& entry) {
      const std::wstring_view wide = entry.cFileName;
      if (wide == L"." || wide == L"..") return;
      std::string path = inside + FromWide(wide);
      const bool link = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
      if (IsFolder(entry.dwFileAttributes)) {
        if (!link) waiting.push_back(std::move(path));
      } else if (NameOf(path).find(mark) != std::string_view::npos) {
        found.push_back(std::move(path));
      }
    });
  }
  return found;
}

std::int64_t WindowsFileSystem::Length(const std::string& path) const {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(Native(path).c_str(), GetFileExInfoStandard, &data)) {
    RaiseSystemError(Attempt::kLength, GetLastError());
  }
  if (IsFolder(data.dwFileAttributes) || EndsWithSeparator(path)) {
    RaiseSystemError(Attempt::kLength, ERROR_FILE_NOT_FOUND);
  }
  return Joined(data.nFileSizeHigh, data.nFileSizeLow);
}

std::optional<FileStamp> WindowsFileSystem::Stamp(const std::string& path) const {
  if (path.empty() || EndsWithSeparator(path) || Climbs(path)) return std::nullopt;
  const Handle file(CreateFileW(LongPath(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  FILE_NETWORK_OPEN_INFORMATION data{};
  FILE_INTERNAL_INFORMATION identity{};
  if (!file || !Query(file, FileNetworkOpenInformation, data) ||
      !Query(file, FileInternalInformation, identity) || IsFolder(data.FileAttributes)) {
    return std::nullopt;
  }
  // Times count 100 ns.
  return FileStamp{.identity = static_cast<std::uint64_t>(identity.IndexNumber.QuadPart),
                   .size = data.EndOfFile.QuadPart,
                   .modified = data.LastWriteTime.QuadPart * 100,
                   .changed = data.ChangeTime.QuadPart * 100};
}

std::optional<std::int64_t> WindowsFileSystem::FreeSpace(const std::string& folder) const {
  for (std::string_view there = folder; !there.empty(); there = FolderOf(there)) {
    ULARGE_INTEGER bytes{};
    if (GetDiskFreeSpaceExW(LongPath(std::string(there)).c_str(), &bytes, nullptr, nullptr)) {
      return static_cast<std::int64_t>(std::min<std::uint64_t>(bytes.QuadPart, INT64_MAX));
    }
  }
  return std::nullopt;
}

std::string WindowsFileSystem::ReadAll(const std::string& path) const {
  const auto file = OpenRead(path);
  std::string text(static_cast<std::size_t>(file->Length()), '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const std::size_t count = file->ReadAt(static_cast<std::int64_t>(size), std::span(text).subspan(size));
    if (count == 0) break;
    size += count;
  }
  text.resize(size);
  return text;
}

std::unique_ptr<InputFile> WindowsFileSystem::OpenRead(const std::string& path) const {
  if (path.empty()) RaiseSystemError(Attempt::kRead, ERROR_FILE_NOT_FOUND);
  return OpenInputFile(Native(path));
}

std::unique_ptr<FileSystem> MakeFileSystem(const std::string& folder) {
  return std::make_unique<WindowsFileSystem>(folder);
}

}  // namespace vlmr::platform
