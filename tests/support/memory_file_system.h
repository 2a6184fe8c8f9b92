#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_system.h"

namespace vlmr::test {

/// A whole file system in memory with the names, cases and error numbers of the real ones, which records what
/// is done to it and fails on demand. The suite of tests/platform/file_system_test.cpp runs over it and over
/// the running system's.
///
/// Example:
///     MemoryFileSystem files;                                  // application folder "/opt/mirror"
///     files.Put("\\VLMR.ini", "[ADMIN]\r\n");                  // what another program would write
///     files.Fail(MemoryFileSystem::Operation::kDelete, "vsapi.zip", 70);
///     ...
///     EXPECT_EQ(files.Text("\\VlMR.log"), "...");
class MemoryFileSystem : public platform::FileSystem {
 public:
  /// What can be made to fail.
  enum class Operation {
    kRead,        ///< `ReadAll` and `OpenRead`
    kLength,      ///< `Length`
    kStage,       ///< `Stage`, so `Replace` and `Copy` too
    kWrite,       ///< bytes written: by a staged file, `Append`, `AppendLimited`
    kCommit,      ///< the rename at the end of a staged file
    kDelete,      ///< `Delete`
    kMove,        ///< `Move` and `MoveOver`, which then return false; matched against the source's name
    kMakeFolder,  ///< `MakeFolder`
    kAnyChange,   ///< whatever changes the disk: all but the first two
  };

  explicit MemoryFileSystem(std::string folder = "/opt/mirror");
  /// What `FreeSpace` tells.
  std::optional<std::int64_t> free_space;
  std::optional<std::int64_t> FreeSpace(const std::string& /*folder*/) const override { return free_space; }
  ~MemoryFileSystem() override;

  /// The application folder's text.
  const std::string& Folder() const { return folder_; }
  /// The full path of one that begins with a backslash.
  std::string At(std::string_view below) const { return folder_ + std::string(below); }

  /// Makes the `nth` to `nth + times - 1`-th such operation on a file whose name matches `name` (a wildcard)
  /// raise `number`, counted from this call.
  void Fail(Operation operation, std::string name, int number, int nth = 1, int times = 1'000'000'000);
  /// Ends all failures.
  void FailNothing();

  /// Puts a file there as another program would: spelled exactly so (beside a twin of another case, if there
  /// is one), folders made, nothing recorded, nothing failing. This and the next four take full paths, and
  /// paths below the application folder that begin with a backslash.
  void Put(std::string_view path, std::string_view bytes);
  /// Makes a folder and its parents likewise.
  void PutFolder(std::string_view path);
  /// Removes a file or a whole folder likewise; one that is absent is ignored.
  void Remove(std::string_view path);
  /// A file's contents; empty when it is absent.
  std::string Text(std::string_view path) const;
  /// Whether there is a file of exactly this spelling.
  bool Has(std::string_view path) const;
  /// The rights with which a file was made.
  platform::Access AccessOf(std::string_view path) const;
  /// All files below the application folder, in the order of listings, as paths that begin with a backslash.
  std::vector<std::string> Files() const;
  /// All folders below the application folder likewise.
  std::vector<std::string> Folders() const;

  /// The paths, as the caller wrote them, of what has been done so far. Clear them at will.
  mutable std::vector<std::string> files_read;             ///< `ReadAll`, `OpenRead`
  std::vector<std::string> files_written;                  ///< committed, and appended to
  std::vector<std::string> files_deleted;                  ///< by `Delete`
  std::vector<std::pair<std::string, std::string>> moves;  ///< successful ones
  std::vector<std::string> folders_made;                   ///< by `MakeFolder`
  mutable std::vector<std::string> looked_up;              ///< `FindFile`, `FindFolder`
  mutable std::vector<std::string> stamped;                ///< `Stamp`
  mutable std::vector<std::string> listed;                 ///< `List`, `ListFolders`, `FindMarked`

  std::string FindFile(const std::string& path) const override;
  std::string FindFolder(const std::string& path) const override;
  std::vector<std::string> List(const std::string& pattern) const override;
  std::vector<std::string> ListFolders(const std::string& path) const override;
  std::vector<std::string> FindMarked(const std::string& folder, std::string_view mark) const override;
  std::int64_t Length(const std::string& path) const override;
  std::optional<platform::FileStamp> Stamp(const std::string& path) const override;
  std::string ReadAll(const std::string& path) const override;
  std::unique_ptr<platform::InputFile> OpenRead(const std::string& path) const override;
  void Append(const std::string& path, std::string_view bytes,
              platform::Access access = platform::Access::kEverybody) override;
  void AppendLimited(const std::string& path, std::string_view bytes, double limit,
                     platform::Access access) override;
  std::unique_ptr<platform::StagedFile> Stage(
      const std::string& path, platform::Access access = platform::Access::kEverybody) override;
  void Delete(const std::string& path) override;
  void RequireDeletable(const std::string& path) override;
  bool Move(const std::string& source, const std::string& target) override;
  bool MoveOver(const std::string& source, const std::string& target) override;
  void MakeFolder(const std::string& path) override;
  void ForgetNames() override {}

 private:
  class Input;
  class Staged;
  struct Node;
  struct Place;
  struct Failure {
    Operation operation;
    std::string name;
    int number;
    int first;
    int last;
    int seen = 0;
  };

  std::string FullPath(std::string_view path) const;
  Node& FolderToPutIn(std::string_view path);
  Place Find(std::string_view path) const;
  Node& FileForReading(const std::string& path) const;
  Place PlaceForWriting(const std::string& path) const;
  std::unique_ptr<Node> NewNode(bool is_folder) const;
  void Touch(Node& node) const;
  void MayFail(Operation operation, const std::string& path) const;

  std::string folder_;
  std::unique_ptr<Node> root_;     ///< the application folder
  std::unique_ptr<Node> outside_;  ///< everything else, by exact spelling
  mutable std::vector<Failure> failures_;
  mutable std::int64_t ticks_ = 1'700'000'000'000'000'000;
  mutable std::uint64_t nodes_made_ = 0;
};

}  // namespace vlmr::test
