#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vlmr::platform {

/// Every path in these interfaces is a text in the system's own notation: the application folder as the
/// platform spells it, followed by components that each begin with a backslash, for example
/// `/opt/mirror\ActiveUpdate\server.ini`. Only implementations turn it into a real path. Below the
/// application folder names are looked up without regard to ASCII case, an exact spelling first; a name that
/// does not exist yet is made exactly as written. A component ".." below the application folder is refused:
/// what raises raises 75, what finds finds nothing. So is a link that leads out of its tree, the folder of
/// the application folder that it stands in, or nowhere; links that stand directly in the application folder
/// are followed.

/// The fixed, recognisable part of the name of every temporary file. What a killed run left is found by it.
inline constexpr std::string_view kTemporaryMark = ".vlmr-tmp";

/// What one look at a file tells about whether it is still the same. Two equal stamps mean: same file, same
/// contents, as far as the system's clock can tell.
struct FileStamp {
  std::uint64_t identity = 0;  ///< inode or file index
  std::int64_t size = 0;       ///< bytes
  std::int64_t modified = 0;   ///< nanoseconds, epoch of the system
  std::int64_t changed = 0;    ///< nanoseconds, change of the entry itself; 0 where the system has none
  bool operator==(const FileStamp&) const = default;
};

/// Who may read a file that is newly made; a file that is replaced keeps the rights that it has.
enum class Access {
  kEverybody,      ///< what the network's servers read (still subject to the process's umask)
  kOwnerAndGroup,  ///< what can hold a password: settings, log
  kOwner,          ///< keys
};

/// A file opened for reading from any place in it. Closed by the destructor.
class InputFile {
 public:
  virtual ~InputFile() = default;
  /// Reads up to `buffer.size()` bytes from `offset`; returns how many (0 at the end). Raises 57 on a read
  /// fault.
  virtual std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) = 0;
  /// Length in bytes when it was opened.
  virtual std::int64_t Length() const = 0;
};

/// A file that is being made beside its target under a temporary name. Nobody sees the target change before
/// `Commit`; a `StagedFile` that is destroyed without it removes its temporary file.
class StagedFile {
 public:
  virtual ~StagedFile() = default;
  /// Appends bytes. Raises 61 when the disk is full, 57 on another fault.
  virtual void Write(std::string_view bytes) = 0;
  /// Writes bytes at `offset` (an archive's header is known last). Raises as `Write`.
  virtual void WriteAt(std::int64_t offset, std::string_view bytes) = 0;
  /// Reads back what was written; returns the number of bytes (0 at the end).
  virtual std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) = 0;
  /// Bytes held so far.
  virtual std::int64_t Length() const = 0;
  /// Makes the file appear under its own name, replacing an existing one in a single step. Raises 70 or 75
  /// when that is not possible; the old file is then unchanged.
  virtual void Commit() = 0;
};

/// The read side: what a procedure needs that only looks.
class FileReader {
 public:
  virtual ~FileReader() = default;
  /// The name of the file as it stands on disk (its last component), or empty: absent, a folder, a missing
  /// parent, an empty path, or a path that ends in a backslash. Raises nothing.
  virtual std::string FindFile(const std::string& path) const = 0;
  /// Like `FindFile`, for folders only.
  virtual std::string FindFolder(const std::string& path) const = 0;
  /// Why every operation refuses this path, in words for the log; empty when none does. For callers of what
  /// raises nothing.
  virtual std::string Refusal(const std::string& /*path*/) const { return {}; }
  /// The names of the files in a folder that match the last component of `pattern` (`*` any run, `?` one
  /// character,
  /// `*.*` and `*` every file; ASCII case ignored), ascending by upper-cased name, ties by bytes. Folders,
  /// hidden entries and names that begin with a dot are left out. A missing folder gives an empty list. The
  /// list is complete: the caller may delete what it names.
  virtual std::vector<std::string> List(const std::string& pattern) const = 0;
  /// The names of the folders directly inside `path`, in the same order; empty when it is missing.
  virtual std::vector<std::string> ListFolders(const std::string& path) const = 0;
  /// The paths of all files inside `folder`, at any depth, whose names contain `mark`, names that begin with
  /// a dot among them. `folder` itself may be a link; links inside it are not followed, so the walk ends and
  /// stays below it. Each folder is read once, and the list is complete: the caller may delete what it names.
  /// In no particular order; empty when the folder is missing.
  virtual std::vector<std::string> FindMarked(const std::string& folder, std::string_view mark) const = 0;
  /// Length in bytes. Raises 53 when the file or its folder is absent.
  virtual std::int64_t Length(const std::string& path) const = 0;
  /// What `stat` tells, or nothing when the file is absent. One system call for a path that is spelled
  /// exactly.
  virtual std::optional<FileStamp> Stamp(const std::string& path) const = 0;
  /// Bytes that can still be written where a folder lies or, when it is missing, is going to lie. Nothing
  /// when the system cannot tell.
  virtual std::optional<std::int64_t> FreeSpace(const std::string& /*folder*/) const { return std::nullopt; }
  /// The whole contents, unchanged. Raises 53 (file absent), 76 (folder absent), 70 (no right), 57 (read
  /// fault).
  virtual std::string ReadAll(const std::string& path) const = 0;
  /// Opens for reading. Raises as `ReadAll`.
  virtual std::unique_ptr<InputFile> OpenRead(const std::string& path) const = 0;
};

/// Reading and writing.
class FileSystem : public FileReader {
 public:
  /// Opens for append (made when absent), writes, closes. Raises 76 (folder absent), 75 (a folder of that
  /// name, read-only), 70 (no right, in use), 61 (disk full).
  virtual void Append(const std::string& path, std::string_view bytes,
                      Access access = Access::kEverybody) = 0;
  /// As `Append`, but a file that is already larger than `limit` bytes is deleted first. One open in the
  /// usual case.
  virtual void AppendLimited(const std::string& path, std::string_view bytes, double limit,
                             Access access) = 0;
  /// Makes a temporary file beside `path`, at most one at a time for the same target. Raises 76, 75, 70, 61
  /// as `Append`.
  virtual std::unique_ptr<StagedFile> Stage(const std::string& path, Access access = Access::kEverybody) = 0;
  /// Replaces or makes the file in one step through a temporary file. Raises as `Stage`.
  void Replace(const std::string& path, std::string_view bytes, Access access = Access::kEverybody);
  /// Deletes a file. Raises 53 (absent, or a folder), 70 (in use, no right).
  virtual void Delete(const std::string& path) = 0;
  /// Raises what `Delete` would raise, as far as that can be told beforehand; changes nothing.
  virtual void RequireDeletable(const std::string& path) = 0;
  /// Copies a file, replacing the target in one step. Raises as `OpenRead` for the source, as `Stage` for the
  /// target.
  void Copy(const std::string& source, const std::string& target, Access access = Access::kEverybody);
  /// Moves a file as Windows' `MoveFileA` does: false when the target exists, the target's folder is missing
  /// or the source is absent; copies and deletes between volumes. Raises nothing.
  virtual bool Move(const std::string& source, const std::string& target) = 0;
  /// Moves a file onto one that is there, in one step: whoever looks finds the old file or the new one. False
  /// when the target is absent or a folder, when the source is absent, or when the system refuses; both files
  /// are then unchanged. Between volumes it copies and deletes. Raises nothing.
  virtual bool MoveOver(const std::string& source, const std::string& target) = 0;
  /// Makes one folder. Raises 75 (a file or folder of that name, no right) or 76 (parent absent).
  virtual void MakeFolder(const std::string& path) = 0;
  /// Makes every missing folder of `path`. Raises as `MakeFolder`.
  virtual void MakeFolders(const std::string& path);
  /// Forgets whatever is remembered of folder contents, because another program may have changed them.
  virtual void ForgetNames() = 0;
};

/// The text before the last backslash of a path: its folder.
std::string_view FolderOf(std::string_view path);
/// The text behind the last backslash of a path: its last component.
std::string_view NameOf(std::string_view path);
/// Whether a file name matches a wildcard pattern by the rules of `FileReader::List`.
bool MatchesWildcard(std::string_view name, std::string_view pattern);
/// The order of `FileReader::List`: by ASCII upper-cased name, ties by bytes.
bool ListsBefore(std::string_view left, std::string_view right);

}  // namespace vlmr::platform
