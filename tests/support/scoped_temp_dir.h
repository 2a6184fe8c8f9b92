#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vlmr::test {

/// A folder of its own on the real disk, removed with everything in it at the end of the test.
class ScopedTempDir {
 public:
  ScopedTempDir();
  ~ScopedTempDir();
  ScopedTempDir(const ScopedTempDir&) = delete;
  ScopedTempDir& operator=(const ScopedTempDir&) = delete;

  /// The folder as an application folder's text.
  std::string Folder() const { return path_.string(); }
  /// The path text of something below it, given with backslashes, such as "\\Pattern\\vsapi.zip".
  std::string At(std::string_view below) const { return Folder() + std::string(below); }
  /// The real path of something below it, given with backslashes.
  std::filesystem::path Real(std::string_view below = "") const;

  /// Writes a file behind the program's back; its folder is made when it is missing.
  void Put(std::string_view below, std::string_view bytes) const;
  /// A file's bytes; empty when it is absent.
  std::string Text(std::string_view below) const;

 private:
  std::filesystem::path path_;
};

}  // namespace vlmr::test
