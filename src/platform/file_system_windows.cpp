#include <windows.h>
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

bool IsFolder(DWORD attributes) { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

bool EndsWithSeparator(std::string_view path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

bool HasParentComponent(std::string_view path) {
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find_first_of("/\\", begin), path.size());
    if (path.substr(begin, end - begin) == "..") return true;
    begin = end + 1;
  }
  return false;
}

/// The system looks names up without regard to case by itself.
class WindowsFileSystem : public FileSystem {
 public:
  explicit WindowsFileSystem(std::string folder) : folder_(std::move(folder)) {}

  std::string FindFile(const std::string& path) const override {
    WIN32_FIND_DATAW entry{};
    return FindEntry(path, entry) && !IsFolder(entry.dwFileAttributes) ? FromWide(entry.cFileName)
                                                                       : std::string();
  }

  std::string FindFolder(const std::string& path) const override {
    WIN32_FIND_DATAW entry{};
    return FindEntry(path, entry) && IsFolder(entry.dwFileAttributes) ? FromWide(entry.cFileName)
                                                                      : std::string();
  }

  std::vector<std::string> List(const std::string& pattern) const override {
    return Entries(std::string(FolderOf(pattern)), NameOf(pattern), /*folders=*/false);
  }

  std::vector<std::string> ListFolders(const std::string& path) const override {
    return Entries(path, "*", /*folders=*/true);
  }

  std::vector<std::string> FindMarked(const std::string& folder, std::string_view mark) const override {
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

  std::int64_t Length(const std::string& path) const override {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(Native(path).c_str(), GetFileExInfoStandard, &data)) {
      RaiseSystemError(Attempt::kLength, GetLastError());
    }
    if (IsFolder(data.dwFileAttributes) || EndsWithSeparator(path)) {
      RaiseSystemError(Attempt::kLength, ERROR_FILE_NOT_FOUND);
    }
    return Joined(data.nFileSizeHigh, data.nFileSizeLow);
  }

  /// By a handle, because a file that replaced another may carry its creation and write times. Asked of the
  /// kernel directly: the call of the Windows API also asks for the path and the volume, which takes as long
  /// again, and the settings are looked at before every line of the log.
  std::optional<FileStamp> Stamp(const std::string& path) const override {
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

  std::optional<std::int64_t> FreeSpace(const std::string& folder) const override {
    for (std::string_view there = folder; !there.empty(); there = FolderOf(there)) {
      ULARGE_INTEGER bytes{};
      if (GetDiskFreeSpaceExW(LongPath(std::string(there)).c_str(), &bytes, nullptr, nullptr)) {
        return static_cast<std::int64_t>(std::min<std::uint64_t>(bytes.QuadPart, INT64_MAX));
      }
    }
    return std::nullopt;
  }

  std::string ReadAll(const std::string& path) const override {
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

  std::unique_ptr<InputFile> OpenRead(const std::string& path) const override {
    if (path.empty()) RaiseSystemError(Attempt::kRead, ERROR_FILE_NOT_FOUND);
    return OpenInputFile(Native(path));
  }

  void Append(const std::string& path, std::string_view bytes, Access /*access*/) override {
    Handle file = OpenAppend(path);
    WriteAll(file, bytes);
  }

  void AppendLimited(const std::string& path, std::string_view bytes, double limit,
                     Access /*access*/) override {
    Handle file = OpenAppend(path);
    LARGE_INTEGER size{};
    GetFileSizeEx(file.Get(), &size);
    if (static_cast<double>(size.QuadPart) > limit) {
      file.Close();
      Delete(path);
      file = OpenAppend(path);
    }
    WriteAll(file, bytes);
  }

  std::unique_ptr<StagedFile> Stage(const std::string& path, Access access) override {
    return OpenStagedFile(Native(path), access);
  }

  void Delete(const std::string& path) override {
    const std::wstring wide = Native(path);
    if (FindFile(path).empty()) RaiseSystemError(Attempt::kDelete, ERROR_FILE_NOT_FOUND);
    const DWORD error = RetryWhileInUse([&] { return DeleteFileW(wide.c_str()) != 0; });
    if (error != 0) RaiseSystemError(Attempt::kDelete, error);
  }

  void RequireDeletable(const std::string& path) override {
    const std::wstring wide = Native(path);
    if (FindFile(path).empty()) RaiseSystemError(Attempt::kDelete, ERROR_FILE_NOT_FOUND);
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    DWORD error = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    if (error == ERROR_SUCCESS) {
      error = RetryWhileInUse([&] {
        return static_cast<bool>(Handle(CreateFileW(wide.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING,
                                                    FILE_ATTRIBUTE_NORMAL, nullptr)));
      });
    }
    if (error != 0) RaiseSystemError(Attempt::kDelete, error);
  }

  bool Move(const std::string& source, const std::string& target) override {
    if (FindFile(source).empty() || target.empty() || EndsWithSeparator(target) || Climbs(target))
      return false;
    const std::wstring from = LongPath(source);
    const std::wstring to = LongPath(target);
    // The system would call it a success to move a file onto itself, in whatever case.
    if (GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
    const DWORD error =
        RetryWhileInUse([&] { return MoveFileExW(from.c_str(), to.c_str(), /*dwFlags=*/0) != 0; });
    return error == 0 || (error == ERROR_NOT_SAME_DEVICE && MoveToOtherVolume(source, target));
  }

  bool MoveOver(const std::string& source, const std::string& target) override {
    if (FindFile(source).empty() || FindFile(target).empty()) return false;
    const std::wstring from = LongPath(source);
    const std::wstring to = LongPath(target);
    const DWORD error = RetryWhileInUse([&] { return RenameOver(from, to); });
    return error == 0 || (error == ERROR_NOT_SAME_DEVICE && MoveToOtherVolume(source, target));
  }

  void MakeFolder(const std::string& path) override {
    if (!CreateDirectoryW(Native(path).c_str(), nullptr)) {
      RaiseSystemError(Attempt::kMakeFolder, GetLastError());
    }
  }

  void ForgetNames() override {}

 private:
  /// What the kernel knows of an open file. False when it does not answer.
  template <class Information>
  static bool Query(const Handle& file, FILE_INFORMATION_CLASS what, Information& information) {
    IO_STATUS_BLOCK status{};
    return NtQueryInformationFile(file.Get(), &status, &information, sizeof information, what) >= 0;
  }

  static constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

  /// A component ".." below the application folder.
  bool Climbs(std::string_view path) const {
    return SameName(path.substr(0, folder_.size()), folder_) &&
           HasParentComponent(path.substr(folder_.size()));
  }

  /// The path as the system's functions take it. Raises 75 for one that climbs.
  std::wstring Native(const std::string& path) const {
    if (Climbs(path)) throw RuntimeError(error_number::kPathFileAccess);
    return LongPath(path);
  }

  /// Not left to the system's own copy, which shows half a file while it works.
  bool MoveToOtherVolume(const std::string& source, const std::string& target) {
    try {
      Copy(source, target);
      Delete(source);
      return true;
    } catch (const RuntimeError&) {
      return false;
    }
  }

  /// A find tells how the name stands on disk.
  bool FindEntry(const std::string& path, WIN32_FIND_DATAW& entry) const {
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

  /// Every entry of a folder, given with a backslash at its end.
  template <class Visitor>
  void ForEachEntry(const std::string& folder, const Visitor& visit) const {
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

  std::vector<std::string> Entries(const std::string& folder, std::string_view pattern, bool folders) const {
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

  Handle OpenAppend(const std::string& path) const {
    const std::wstring wide = Native(path);
    HANDLE file = INVALID_HANDLE_VALUE;
    const DWORD error = RetryWhileInUse([&] {
      file = CreateFileW(wide.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
      return file != INVALID_HANDLE_VALUE;
    });
    if (error != 0) {
      const DWORD attributes = GetFileAttributesW(wide.c_str());
      const bool folder = attributes != INVALID_FILE_ATTRIBUTES && IsFolder(attributes);
      RaiseSystemError(Attempt::kWrite, folder ? ERROR_ALREADY_EXISTS : error);
    }
    return Handle(file);
  }

  static void WriteAll(const Handle& file, std::string_view bytes) {
    DWORD count = 0;
    if (!WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
      RaiseSystemError(Attempt::kWrite, GetLastError());
    }
  }

  std::string folder_;
};

}  // namespace

std::unique_ptr<FileSystem> MakeFileSystem(const std::string& folder) {
  return std::make_unique<WindowsFileSystem>(folder);
}

}  // namespace vlmr::platform
