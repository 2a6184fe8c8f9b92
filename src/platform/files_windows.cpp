#include "platform/files_windows.h"

#include <algorithm>

#include "platform/native_text_windows.h"
#include "platform/system_error.h"

namespace vlmr::platform {
namespace {

OVERLAPPED At(std::int64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(static_cast<std::uint64_t>(offset) & 0xffffffffU);
  place.OffsetHigh = static_cast<DWORD>(static_cast<std::uint64_t>(offset) >> 32U);
  return place;
}

std::size_t ReadFrom(HANDLE file, std::int64_t offset, std::span<char> buffer) {
  OVERLAPPED place = At(offset);
  DWORD count = 0;
  const auto wanted = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), 1U << 30U));
  if (!ReadFile(file, buffer.data(), wanted, &count, &place) && GetLastError() != ERROR_HANDLE_EOF) {
    RaiseSystemError(Attempt::kRead, GetLastError());
  }
  return count;
}

std::int64_t LengthOf(HANDLE file) {
  LARGE_INTEGER size{};
  GetFileSizeEx(file, &size);
  return size.QuadPart;
}

class WindowsInputFile : public InputFile {
 public:
  explicit WindowsInputFile(Handle file) : file_(std::move(file)), length_(LengthOf(file_.Get())) {}
  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    return ReadFrom(file_.Get(), offset, buffer);
  }
  std::int64_t Length() const override { return length_; }

 private:
  Handle file_;
  std::int64_t length_;
};

class WindowsStagedFile : public StagedFile {
 public:
  WindowsStagedFile(Handle file, std::wstring temporary, std::wstring target)
      : file_(std::move(file)), temporary_(std::move(temporary)), target_(std::move(target)) {}

  ~WindowsStagedFile() override {
    if (committed_) return;
    file_.Close();
    DeleteFileW(temporary_.c_str());
  }
  WindowsStagedFile(const WindowsStagedFile&) = delete;
  WindowsStagedFile& operator=(const WindowsStagedFile&) = delete;

  void Write(std::string_view bytes) override { WriteAt(length_, bytes); }

  void WriteAt(std::int64_t offset, std::string_view bytes) override {
    while (!bytes.empty()) {
      OVERLAPPED place = At(offset);
      DWORD count = 0;
      const auto wanted = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 30U));
      if (!WriteFile(file_.Get(), bytes.data(), wanted, &count, &place)) {
        RaiseSystemError(Attempt::kWrite, GetLastError());
      }
      bytes.remove_prefix(count);
      offset += count;
      length_ = std::max(length_, offset);
    }
  }

  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    return ReadFrom(file_.Get(), offset, buffer);
  }
  std::int64_t Length() const override { return length_; }

  void Commit() override {
    file_.Close();
    const DWORD error = RetryWhileInUse(
        [&] { return MoveFileExW(temporary_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING) != 0; });
    if (error != 0) {
      // The handle is gone; the destructor removes the temporary file.
      RaiseSystemError(Attempt::kWrite, error);
    }
    committed_ = true;
  }

 private:
  Handle file_;
  std::wstring temporary_;
  std::wstring target_;
  std::int64_t length_ = 0;
  bool committed_ = false;
};

}  // namespace

std::unique_ptr<InputFile> OpenInputFile(const std::wstring& path) {
  Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    DWORD error = GetLastError();
    const DWORD attributes = GetFileAttributesW(path.c_str());
    const bool folder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    RaiseSystemError(Attempt::kRead, folder ? ERROR_FILE_NOT_FOUND : error);
  }
  return std::make_unique<WindowsInputFile>(std::move(file));
}

std::unique_ptr<StagedFile> OpenStagedFile(const std::wstring& path, Access /*access*/) {
  // Rights are inherited from the folder, as administrators set them there.
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    RaiseSystemError(Attempt::kWrite, ERROR_ALREADY_EXISTS);
  }
  std::wstring temporary = path + ToWide(kTemporaryMark);
  Handle file(CreateFileW(temporary.c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                          nullptr));
  if (!file) RaiseSystemError(Attempt::kWrite, GetLastError());
  return std::make_unique<WindowsStagedFile>(std::move(file), std::move(temporary), path);
}

}  // namespace vlmr::platform
