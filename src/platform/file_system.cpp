#include "platform/file_system.h"

#include <algorithm>
#include <array>

#include "platform/ascii_case.h"

namespace vlmr::platform {

void FileSystem::Replace(const std::string& path, std::string_view bytes, Access access) {
  const std::unique_ptr<StagedFile> staged = Stage(path, access);
  staged->Write(bytes);
  staged->Commit();
}

void FileSystem::Copy(const std::string& source, const std::string& target, Access access) {
  const std::unique_ptr<InputFile> input = OpenRead(source);
  const std::unique_ptr<StagedFile> staged = Stage(target, access);
  std::vector<char> buffer(std::size_t{256} * 1024);
  std::int64_t offset = 0;
  while (const std::size_t count = input->ReadAt(offset, buffer)) {
    staged->Write(std::string_view(buffer.data(), count));
    offset += static_cast<std::int64_t>(count);
  }
  staged->Commit();
}

void FileSystem::MakeFolders(const std::string& path) {
  std::string folder = path;
  while (folder.ends_with('\\')) folder.pop_back();
  // A drive ("C:") is there or cannot be made.
  if (folder.empty() || folder.ends_with(':') || !FindFolder(folder).empty()) return;
  MakeFolders(std::string(FolderOf(folder)));
  MakeFolder(folder);
}

std::string_view FolderOf(std::string_view path) {
  const std::size_t backslash = path.rfind('\\');
  return backslash == std::string_view::npos ? std::string_view() : path.substr(0, backslash);
}

std::string_view NameOf(std::string_view path) {
  const std::size_t backslash = path.rfind('\\');
  return backslash == std::string_view::npos ? path : path.substr(backslash + 1);
}

bool MatchesWildcard(std::string_view name, std::string_view pattern) {
  // The classic "every file", which does not ask for a dot.
  if (pattern == "*.*") return true;
  std::size_t at = 0;
  std::size_t wanted = 0;
  // Where to take up again when a run that a "*" stands for has to be longer: the places behind the "*".
  std::size_t run_end = 0;
  std::size_t behind_star = std::string_view::npos;
  while (at < name.size()) {
    if (wanted < pattern.size() && pattern[wanted] == '*') {
      behind_star = ++wanted;
      run_end = at;
    } else if (wanted < pattern.size() &&
               (pattern[wanted] == '?' || AsciiUpper(pattern[wanted]) == AsciiUpper(name[at]))) {
      ++wanted;
      ++at;
    } else if (behind_star != std::string_view::npos) {
      wanted = behind_star;
      at = ++run_end;
    } else {
      return false;
    }
  }
  while (wanted < pattern.size() && pattern[wanted] == '*') ++wanted;
  return wanted == pattern.size();
}

bool ListsBefore(std::string_view left, std::string_view right) {
  const auto upper_byte = [](char c) { return static_cast<unsigned char>(AsciiUpper(c)); };
  const auto [l, r] = std::mismatch(left.begin(), left.end(), right.begin(), right.end(),
                                    [](char a, char b) { return AsciiUpper(a) == AsciiUpper(b); });
  if (l != left.end() && r != right.end()) return upper_byte(*l) < upper_byte(*r);
  if (l != left.end() || r != right.end()) return r != right.end();
  return left < right;
}

}  // namespace vlmr::platform
