#include "platform/files_windows.h"

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <vector>

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

/// The security identifier, as a text, of the account that this thread works under; empty when it cannot be
/// told.
std::wstring OwnIdentifier() {
  HANDLE opened = nullptr;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, /*OpenAsSelf=*/TRUE, &opened) &&
      !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) {
    return {};
  }
  const Handle token(opened);
  alignas(TOKEN_USER) std::array<char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
  DWORD size = 0;
  LPWSTR text = nullptr;
  if (!GetTokenInformation(token.Get(), TokenUser, user.data(), static_cast<DWORD>(user.size()), &size) ||
      !ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, &text)) {
    return {};
  }
  std::wstring identifier = text;
  LocalFree(text);
  return identifier;
}

/// Rights for the own account, the system and the administrators, and none from the folder.
class OwnerOnly {
 public:
  OwnerOnly() {
    const std::wstring own = OwnIdentifier();
    const std::wstring rights =
        L"D:P(A;;FA;;;SY)(A;;FA;;;BA)" + (own.empty() ? own : L"(A;;FA;;;" + own + L")");
    ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1,
                                                         &attributes_.lpSecurityDescriptor, nullptr);
  }
  ~OwnerOnly() { LocalFree(attributes_.lpSecurityDescriptor); }
  OwnerOnly(const OwnerOnly&) = delete;
  OwnerOnly& operator=(const OwnerOnly&) = delete;

  SECURITY_ATTRIBUTES* Get() { return &attributes_; }

 private:
  SECURITY_ATTRIBUTES attributes_{
      .nLength = sizeof(SECURITY_ATTRIBUTES), .lpSecurityDescriptor = nullptr, .bInheritHandle = FALSE};
};

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
    const std::wstring target = AsItStands(target_);
    KeepRights(target);
    file_.Close();
    const DWORD error = RetryWhileInUse([&] { return RenameOver(temporary_, target); });
    if (error != 0) {
      // The handle is gone; the destructor removes the temporary file.
      RaiseSystemError(Attempt::kWrite, error);
    }
    committed_ = true;
  }

 private:
  /// The path with its last component spelled as it is on disk, where there is such a file: a replaced file
  /// keeps its name.
  static std::wstring AsItStands(const std::wstring& path) {
    WIN32_FIND_DATAW entry{};
    const HANDLE find =
        FindFirstFileExW(path.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0);
    if (find == INVALID_HANDLE_VALUE) return path;
    FindClose(find);
    return path.substr(0, path.find_last_of(L'\\') + 1) + entry.cFileName;
  }

  /// A replaced file keeps the rights that an administrator gave it. Rights that only come from the folder
  /// are on the new file already.
  void KeepRights(const std::wstring& target) const {
    PACL rights = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetNamedSecurityInfoW(target.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              &rights, nullptr, &descriptor) != ERROR_SUCCESS) {
      return;
    }
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    if (GetSecurityDescriptorControl(descriptor, &control, &revision) && (control & SE_DACL_PROTECTED) != 0) {
      std::wstring temporary = temporary_;
      SetNamedSecurityInfoW(temporary.data(), SE_FILE_OBJECT,
                            DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                            rights, nullptr);
    }
    LocalFree(descriptor);
  }

  Handle file_;
  std::wstring temporary_;
  std::wstring target_;
  std::int64_t length_ = 0;
  bool committed_ = false;
};

}  // namespace

bool RenameOver(const std::wstring& from, const std::wstring& to) {
  // FILE_RENAME_INFO with flags, class FileRenameInfoEx of Windows 10; the cross compiler's headers lack
  // both.
  struct RenameInfo {
    DWORD flags;
    HANDLE root;
    DWORD name_bytes;
    WCHAR name[1];
  };
  constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  constexpr DWORD kReplaceIfExists = 1;
  constexpr DWORD kPosixSemantics = 2;
  Handle file(CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file) {
    const std::size_t name_bytes = to.size() * sizeof(wchar_t);
    std::vector<std::byte> buffer(sizeof(RenameInfo) + name_bytes);
    const RenameInfo info{.flags = kReplaceIfExists | kPosixSemantics,
                          .root = nullptr,
                          .name_bytes = static_cast<DWORD>(name_bytes),
                          .name = {}};
    std::memcpy(buffer.data(), &info, sizeof info);
    std::memcpy(buffer.data() + offsetof(RenameInfo, name), to.c_str(), name_bytes + sizeof(wchar_t));
    if (SetFileInformationByHandle(file.Get(), kFileRenameInfoEx, buffer.data(),
                                   static_cast<DWORD>(buffer.size()))) {
      return true;
    }
  }
  file.Close();
  // The older call, which a reader holds up, where the system or the volume does not know the newer one.
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

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

std::unique_ptr<StagedFile> OpenStagedFile(const std::wstring& path, Access access) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    RaiseSystemError(Attempt::kWrite, ERROR_ALREADY_EXISTS);
  }
  std::wstring temporary = path + ToWide(kTemporaryMark);
  // Other files inherit their rights from the folder, as administrators set them there.
  std::optional<OwnerOnly> owner_only;
  if (access == Access::kOwner) {
    owner_only.emplace();
    // Rights are given to a new file alone.
    DeleteFileW(temporary.c_str());
  }
  Handle file(CreateFileW(temporary.c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_DELETE, owner_only ? owner_only->Get() : nullptr,
                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) RaiseSystemError(Attempt::kWrite, GetLastError());
  return std::make_unique<WindowsStagedFile>(std::move(file), std::move(temporary), path);
}

}  // namespace vlmr::platform
