#include "platform/file_system_windows.h"
#include "platform/files_windows.h"
#include "platform/native_text_windows.h"
#include "platform/runtime_error.h"
#include "platform/system_error.h"

/// What changes files: appending, staging, deleting, moving, making folders.
namespace vlmr::platform {
void WindowsFileSystem::Append(const std::string& path, std::string_view bytes, Access /*access*/) {
  Handle file = OpenAppend(path);
  WriteAll(file, bytes);
}

void WindowsFileSystem::AppendLimited(const std::string& path, std::string_view bytes, double limit,
                                      Access /*access*/) {
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

std::unique_ptr<StagedFile> WindowsFileSystem::Stage(const std::string& path, Access access) {
  return OpenStagedFile(Native(path), access);
}

void WindowsFileSystem::Delete(const std::string& path) {
  const std::wstring wide = Native(path);
  if (FindFile(path).empty()) RaiseSystemError(Attempt::kDelete, ERROR_FILE_NOT_FOUND);
  const DWORD error = RetryWhileInUse([&] { return DeleteFileW(wide.c_str()) != 0; });
  if (error != 0) RaiseSystemError(Attempt::kDelete, error);
}

void WindowsFileSystem::RequireDeletable(const std::string& path) {
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

bool WindowsFileSystem::Move(const std::string& source, const std::string& target) {
  if (FindFile(source).empty() || target.empty() || EndsWithSeparator(target) || Climbs(target)) return false;
  const std::wstring from = LongPath(source);
  const std::wstring to = LongPath(target);
  // The system would call it a success to move a file onto itself, in whatever case.
  if (GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
  const DWORD error =
      RetryWhileInUse([&] { return MoveFileExW(from.c_str(), to.c_str(), /*dwFlags=*/0) != 0; });
  return error == 0 || (error == ERROR_NOT_SAME_DEVICE && MoveToOtherVolume(source, target));
}

bool WindowsFileSystem::MoveOver(const std::string& source, const std::string& target) {
  if (FindFile(source).empty() || FindFile(target).empty()) return false;
  const std::wstring from = LongPath(source);
  const std::wstring to = LongPath(target);
  const DWORD error = RetryWhileInUse([&] { return RenameOver(from, to); });
  return error == 0 || (error == ERROR_NOT_SAME_DEVICE && MoveToOtherVolume(source, target));
}

void WindowsFileSystem::MakeFolder(const std::string& path) {
  if (!CreateDirectoryW(Native(path).c_str(), nullptr)) {
    RaiseSystemError(Attempt::kMakeFolder, GetLastError());
  }
}

bool WindowsFileSystem::MoveToOtherVolume(const std::string& source, const std::string& target) {
  try {
    Copy(source, target);
    Delete(source);
    return true;
  } catch (const RuntimeError&) {
    return false;
  }
}

Handle WindowsFileSystem::OpenAppend(const std::string& path) const {
  const std::wstring wide = Native(path);
  HANDLE file = INVALID_HANDLE_VALUE;
  const DWORD error = RetryWhileInUse([&] {
    file = CreateFileW(wide.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_ALWAYS,
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

void WindowsFileSystem::WriteAll(const Handle& file, std::string_view bytes) {
  DWORD count = 0;
  if (!WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
    RaiseSystemError(Attempt::kWrite, GetLastError());
  }
}

}  // namespace vlmr::platform
