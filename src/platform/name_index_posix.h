#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace vlmr::platform {

/// What stands in the folders below one root, found by ASCII-folded name. A folder is read once and believed
/// while its modification time stays; changes of our own are entered, so a run that makes thousands of files
/// and looks for thousands of missing ones reads each folder once.
///
/// A name that is remembered but gone does no harm, its user finds out; a name that is there but not
/// remembered would. Therefore a folder whose modification time is as young as the clock tick in which it was
/// read is read again later: another program could have added a name within that tick. One gap is left: a
/// name that another program adds within the few milliseconds of a clock tick in which we change the same
/// folder is seen at the folder's next change, or after `Forget`.
class NameIndex {
 public:
  /// `root` is the descriptor of the folder that all folder texts are relative to; it outlives this object.
  explicit NameIndex(int root) : root_(root) {}

  /// The spelling on disk of `name` in `folder` (relative, "/" between components, "" for the root): the
  /// exact one, else the first in the order of listings. `now` is what `stat` tells about the folder at this
  /// moment. Valid until the next call.
  std::optional<std::string_view> Find(std::string_view folder, const struct stat& now,
                                       std::string_view name);

  /// Remembers a folder that we have made ourselves a moment ago: it holds nothing and need not be read.
  void AddEmpty(std::string_view folder);

  /// Forgets everything.
  void Forget() { folders_.clear(); }
  /// How many folders have been read so far, for tests of the cost.
  std::uint64_t Scans() const { return scans_; }

  /// The folder text of a place that is not below the root, of which nothing is ever remembered.
  static constexpr std::string_view kOutside = "/";

  class Change;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  struct FoldedHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const;
  };
  struct FoldedEqual {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const;
  };
  struct Folder {
    dev_t device = 0;
    ino_t inode = 0;
    timespec modified = {};
    bool settled = false;    ///< modified before the tick in which it was read
    bool ours = false;       ///< the last modification was our own
    std::uint64_t used = 0;  ///< the count of uses when it was used last
    std::unordered_multiset<std::string, FoldedHash, FoldedEqual> names;

    bool Matches(const struct stat& now) const;
  };

  /// So many folders are remembered; then the half that was used least lately is forgotten. A run goes
  /// through tens of thousands of folders that it never comes back to.
  static constexpr std::size_t kMostFolders = 256;

  Folder& Remember(std::string_view folder);
  void ForgetLongUnused();
  bool Read(const std::string& path, Folder& folder);
  Folder* Known(std::string_view folder);
  Folder* Believed(std::string_view folder);
  bool StatFolder(std::string_view folder, struct stat& now) const;

  int root_;
  std::uint64_t scans_ = 0;
  std::uint64_t uses_ = 0;
  std::unordered_map<std::string, Folder, Hash, std::equal_to<>> folders_;
};

/// Stands around one change that we make in a folder ourselves, so that what is remembered of it stays good.
/// What another program did before it is noticed and makes the folder be read again.
class NameIndex::Change {
 public:
  /// `compared`: what is remembered of the folder was compared with the disk for the same operation.
  Change(NameIndex& index, std::string_view folder, bool compared = false);
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;
  /// Takes the folder's new modification time when something was changed.
  ~Change();
  void Made(std::string_view name);
  void Gone(std::string_view name);
  /// Something else changed in the folder, such as a temporary file.
  void Touched() { changed_ = true; }

 private:
  NameIndex& index_;
  std::string path_;
  Folder* folder_;
  bool changed_ = false;
};

}  // namespace vlmr::platform
