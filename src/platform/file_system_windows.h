#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"
#include "platform/handle_windows.h"

namespace vlmr::platform {

/// Whether the attributes are those of a folder.
inline bool IsFolder(DWORD attributes) { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

/// Whether a path ends as no file's does.
inline bool EndsWithSeparator(std::string_view path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

/// The file system of a Windows machine, which looks names up without regard to case by itself.
class WindowsFileSystem : public FileSystem {
 public:
  explicit WindowsFileSystem(std::string folder) : folder_(std::move(folder)) {}

  std::string FindFile(const std::string& path) const override;
  std::string FindFolder(const std::string& path) const override;
  std::vector<std::string> List(const std::string& pattern) const override;
  std::vector<std::string> ListFolders(const std::string& path) const override;
  std::vector<std::string> FindMarked(const std::string& folder, std::string_view mark) const override;
  std::int64_t Length(const std::string& path) const override;

  /// By a handle, because a file that replaced another may carry its creation and write times. Asked of the
  /// kernel directly: the call of the Windows API also asks for the path and the volume, which takes as long
  /// again, and the settings are looked at before every line of the log.
  std::optional<FileStamp> Stamp(const std::string& path) const override;
  std::optional<std::int64_t> FreeSpace(const std::string& folder) const override;
  std::string ReadAll(const std::string& path) const override;
  std::unique_ptr<InputFile> OpenRead(const std::string& path) const override;
  void Append(const std::string& path, std::string_view bytes, Access access) override;
  void AppendLimited(const std::string& path, std::string_view bytes, double limit, Access access) override;
  std::unique_ptr<StagedFile> Stage(const std::string& path, Access access) override;
  void Delete(const std::string& path) override;
  void RequireDeletable(const std::string& path) override;
  bool Move(const std::string& source, const std::string& target) override;
  bool MoveOver(const std::string& source, const std::string& target) override;
  void MakeFolder(const std::string& path) override;
  void ForgetNames() override {}

 private:
  static constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

  /// A component ".." below the application folder.
  bool Climbs(std::string_view path) const;

  /// The path as the system's functions take it. Raises 75 for one that climbs.
  std::wstring Native(const std::string& path) const;

  /// Not left to the system's own copy, which shows half a file while it works.
  bool MoveToOtherVolume(const std::string& source, const std::string& target);

  /// A find tells how the name stands on disk.
  bool FindEntry(const std::string& path, WIN32_FIND_DATAW& entry) const;

  /// Every entry of a folder, given with a backslash at its end.
  template <class Visitor>
  void ForEachEntry(const std::string& folder, const Visitor& visit) const;
  std::vector<std::string> Entries(const std::string& folder, std::string_view pattern, bool folders) const;
  Handle OpenAppend(const std::string& path) const;
  static void WriteAll(const Handle& file, std::string_view bytes);
  std::string folder_;
};

}  // namespace vlmr::platform
