#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <string>
#include <string_view>
#include <unordered_set>

#include "platform/descriptor_posix.h"
#include "platform/name_index_posix.h"

namespace vlmr::platform {

/// A path as the system calls take it, made from the system's own notation: relative to the application
/// folder when it lies below it, else as it was given with "/" for each backslash. It lives on the stack.
class RealPath {
 public:
  /// The descriptor that the text is relative to.
  int Base() const { return base_; }
  const char* Text() const { return length_ == 0 && IsBelow() ? "." : text_; }
  /// Whether the application folder or something below it is meant.
  bool IsBelow() const { return base_ != AT_FDCWD; }
  /// Empty, or written with a separator at its end: no file can be meant.
  bool NamesNoFile() const { return ends_in_separator_ || length_ == 0; }
  /// Whether it lies in a folder of the application folder, which no link may lead it out of.
  bool IsFenced() const { return fence_ != 0; }
  /// 0, or why no system call may see it: `EXDEV` for a component "..", `ENAMETOOLONG`, `EINVAL`.
  int Refusal() const { return refusal_; }
  /// The last component.
  std::string_view Name() const { return {text_ + name_start_, length_ - name_start_}; }
  /// Everything before the last component, without a separator at its end; "" is the base itself.
  std::string_view Folder() const { return {text_, name_start_ == 0 ? 0 : name_start_ - 1}; }

 private:
  friend class PathResolver;
  static constexpr std::size_t kUnknown = static_cast<std::size_t>(-1);
  RealPath(int base, std::string_view text);

  int base_;
  int refusal_ = 0;
  bool ends_in_separator_ = false;
  std::size_t length_ = 0;
  std::size_t name_start_ = 0;
  std::size_t fence_ = 0;  ///< length of the first of several components below the application folder, else 0
  bool respelled_ = false;
  /// How much of the text names the deepest folder that is there, once a look-up has had to find out. What is
  /// remembered of that folder was compared with the disk then, so one operation need not do so again.
  std::size_t there_ = kUnknown;
  char text_[PATH_MAX];
};

/// Turns path texts into real paths and looks names up without regard to ASCII case below the application
/// folder. A path that is spelled exactly costs the one system call that uses it.
///
/// Each folder of the application folder is a fence: it may itself be a link of the operator's, but a link
/// deeper in it that leads out of it, or nowhere, is not followed. That folders hold no such link is
/// remembered until `ForgetLinks`; nothing in this program makes one.
class PathResolver {
 public:
  /// Opens the application folder once and for all. Raises 76 when it is missing.
  explicit PathResolver(std::string folder);

  /// The application folder's text.
  const std::string& Folder() const { return folder_; }
  /// The application folder's descriptor, for path-relative calls and as a working folder.
  int Root() const { return root_.Get(); }
  /// What is remembered of folders.
  NameIndex& Names() { return names_; }
  /// Stands around a change that we make in the folder of `path`.
  NameIndex::Change Changing(const RealPath& path) {
    return {names_, path.IsBelow() ? path.Folder() : NameIndex::kOutside,
            path.there_ == path.Folder().size()};
  }

  /// Forgets which folders were found to be no links.
  void ForgetLinks() { inside_.clear(); }

  /// Takes a text apart. No look-up yet.
  RealPath Parse(std::string_view path) const;

  /// `stat` with the spelling put right in place, links followed. Returns 0, `ENOENT` (the name is missing;
  /// its folder is there, and spelled right in `path` from now on), `ENOTDIR` (the folder is missing) or
  /// another value: `errno`'s, or `kLinkLeadsOut`.
  int Stat(RealPath& path, struct stat& found);

  /// Makes every folder of `path` that is missing. REQUIRES: `Stat` has just found it missing. Returns 0 or
  /// an `errno` value.
  int MakeMissingFolders(RealPath& path);

  /// Opens what the path names, as `::open` with these flags; REQUIRES: `OnExisting` or `Stat` has looked at
  /// its folder. Returns 0, `errno` or `kLinkLeadsOut`.
  int Open(const RealPath& path, int flags, Descriptor& opened) const;

  /// The text of the file that a link of the operator's in the application folder, or outside it, leads to;
  /// the text as it was given when there is no link. What replaces a file in one step must replace that one.
  std::string BehindLink(const std::string& path);

  /// Makes a system call (a function that returns 0 or an `errno` value) on a path that should exist: as it
  /// is written at first, and once more with its spelling put right when that finds nothing. Returns as
  /// `Stat`.
  template <typename Call>
  int OnExisting(RealPath& path, Call call) {
    if (path.Refusal() != 0) return path.Refusal();
    if (const int error = CheckFolder(path)) return error;
    const int first = call(path);
    if (first != ENOENT && first != ENOTDIR) return first;
    struct stat found = {};
    if (const int error = Stat(path, found)) return error;
    return call(path);
  }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };

  int Locate(RealPath& path, std::size_t end, struct stat& found);
  int CheckFolder(const RealPath& path);
  bool StaysInside(const RealPath& path, std::string_view place) const;

  std::string folder_;
  Descriptor root_;
  NameIndex names_;
  std::unordered_set<std::string, Hash, std::equal_to<>> inside_;
};

}  // namespace vlmr::platform
