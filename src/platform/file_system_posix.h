#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/descriptor_posix.h"
#include "platform/file_system.h"
#include "platform/path_resolver_posix.h"

namespace vlmr::platform {

/// The file system of a Linux machine below one application folder. Paths that do not begin with the
/// application folder are used as they are, with "/" for each backslash and with regard to case.
class PosixFileSystem : public FileSystem {
 public:
  /// Raises 76 when the application folder is missing.
  explicit PosixFileSystem(std::string folder) : resolver_(std::move(folder)) {}

  std::string FindFile(const std::string& path) const override;
  std::string FindFolder(const std::string& path) const override;
  std::string Refusal(const std::string& path) const override;
  std::vector<std::string> List(const std::string& pattern) const override;
  std::vector<std::string> ListFolders(const std::string& path) const override;
  std::vector<std::string> FindMarked(const std::string& folder, std::string_view mark) const override;
  std::int64_t Length(const std::string& path) const override;
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
  void MakeFolders(const std::string& path) override;
  void ForgetNames() override {
    resolver_.Names().Forget();
    resolver_.ForgetLinks();
  }

  /// How many folders have been read for the sake of look-ups, for tests of the cost.
  std::uint64_t FolderScans() const { return resolver_.Names().Scans(); }

 private:
  /// Moves with this way of renaming, which returns 0 or an `errno` value; `target_state` is what a look at
  /// the target must tell.
  bool MoveTo(const std::string& source, const std::string& target, int target_state,
              int (*rename)(const RealPath& from, const RealPath& to));
  bool StatFile(const std::string& path, struct stat& found) const;
  Descriptor OpenExisting(RealPath& path, int flags, int& error) const;
  Descriptor OpenForReading(const std::string& path, struct stat& found) const;
  Descriptor OpenForAppending(RealPath& path, Access access);
  std::vector<std::string> ListEntries(std::string_view folder, bool folders,
                                       std::string_view wildcard) const;
  int DeleteEntry(RealPath& path);

  // A look-up puts what it learns of a folder into the resolver; that changes no answer.
  mutable PathResolver resolver_;
};

}  // namespace vlmr::platform
