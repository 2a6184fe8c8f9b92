#include <windows.h>

#include <algorithm>

#include "platform/files_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

std::int64_t Joined(DWORD high, DWORD low) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32U) | low);
}

bool IsFolder(DWORD attributes) { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

/// The system looks names up without regard to case by itself; a find tells how the name stands on disk.
bool FindEntry(const std::string& path, WIN32_FIND_DATAW& entry) {
  if (path.empty() || path.back() == '\\' || path.back() == '/' ||
      path.find_first_of("*?") != std::string::npos) {
    return false;
  }
  const HANDLE find =
      FindFirstFileExW(LongPath(path).c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0);
  if (find == INVALID_HANDLE_VALUE) return false;
  FindClose(find);
  return true;
}

class WindowsFileSystem : public FileSystem {
 public:
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

  std::int64_t Length(const std::string& path) const override {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(LongPath(path).c_str(), GetFileExInfoStandard, &data)) {
      RaiseSystemError(Attempt::kLength, GetLastError());
    }
    if (IsFolder(data.dwFileAttributes)) RaiseSystemError(Attempt::kLength, ERROR_FILE_NOT_FOUND);
    return Joined(data.nFileSizeHigh, data.nFileSizeLow);
  }

  std::optional<FileStamp> Stamp(const std::string& path) const override {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (path.empty() || !GetFileAttributesExW(LongPath(path).c_str(), GetFileExInfoStandard, &data) ||
        IsFolder(data.dwFileAttributes)) {
      return std::nullopt;
    }
    // Times count 100 ns. A rename over the file brings another creation time, which stands in for its
    // identity.
    return FileStamp{
        .identity = static_cast<std::uint64_t>(
            Joined(data.ftCreationTime.dwHighDateTime, data.ftCreationTime.dwLowDateTime)),
        .size = Joined(data.nFileSizeHigh, data.nFileSizeLow),
        .modified = Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime) * 100,
        .changed = 0};
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
    return OpenInputFile(LongPath(path));
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
    return OpenStagedFile(LongPath(path), access);
  }

  void Delete(const std::string& path) override {
    WIN32_FIND_DATAW entry{};
    if (!FindEntry(path, entry) || IsFolder(entry.dwFileAttributes)) {
      RaiseSystemError(Attempt::kDelete, ERROR_FILE_NOT_FOUND);
    }
    const std::wstring wide = LongPath(path);
    const DWORD error = RetryWhileInUse([&] { return DeleteFileW(wide.c_str()) != 0; });
    if (error != 0) RaiseSystemError(Attempt::kDelete, error);
  }

  bool Move(const std::string& source, const std::string& target) override {
    const std::wstring from = LongPath(source);
    const std::wstring to = LongPath(target);
    if (FindFile(source).empty()) return false;
    return RetryWhileInUse(
               [&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_COPY_ALLOWED) != 0; }) == 0;
  }

  void MakeFolder(const std::string& path) override {
    if (!CreateDirectoryW(LongPath(path).c_str(), nullptr))
      RaiseSystemError(Attempt::kMakeFolder, GetLastError());
  }

  void ForgetNames() override {}

 private:
  static std::vector<std::string> Entries(const std::string& folder, std::string_view pattern, bool folders) {
    std::vector<std::string> names;
    WIN32_FIND_DATAW entry{};
    const HANDLE find = FindFirstFileExW(LongPath(folder + R"(\*)").c_str(), FindExInfoBasic, &entry,
                                         FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
      const std::wstring_view wide = entry.cFileName;
      if (wide == L"." || wide == L".." || IsFolder(entry.dwFileAttributes) != folders ||
          (entry.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0) {
        continue;
      }
      std::string name = FromWide(wide);
      if (MatchesWildcard(name, pattern)) names.push_back(std::move(name));
    } while (FindNextFileW(find, &entry));
    FindClose(find);
    std::sort(names.begin(), names.end(), ListsBefore);
    return names;
  }

  static Handle OpenAppend(const std::string& path) {
    const std::wstring wide = LongPath(path);
    HANDLE file = INVALID_HANDLE_VALUE;
    const DWORD error = RetryWhileInUse([&] {
      file = CreateFileW(wide.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
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
};

}  // namespace

std::unique_ptr<FileSystem> MakeFileSystem(const std::string& /*folder*/) {
  return std::make_unique<WindowsFileSystem>();
}

}  // namespace vlmr::platform
