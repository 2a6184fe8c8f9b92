#include <windows.h>

#include "platform/executable.h"
#include "platform/file_system.h"
#include "platform/native_text_windows.h"
#include "platform/runtime_error.h"

namespace vlmr::platform {
namespace {

/// A folder whose name the code page cannot spell is addressed by its short name, so that settings, log and
/// sibling programs agree on it.
std::wstring Spellable(const std::wstring& path) {
  if (ToWide(FromWide(path)) == path) return path;
  std::wstring shorter(32768, L'\0');
  const DWORD size = GetShortPathNameW(path.c_str(), shorter.data(), static_cast<DWORD>(shorter.size()));
  if (size == 0 || size >= shorter.size()) return path;
  shorter.resize(size);
  return shorter;
}

}  // namespace

Executable FindExecutable() {
  std::wstring path(32768, L'\0');
  const DWORD size = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  if (size == 0 || size >= path.size()) throw RuntimeError(error_number::kFileNotFound);
  path.resize(size);
  const std::size_t slash = path.find_last_of(L'\\');
  return {.folder = FromWide(Spellable(path.substr(0, slash))),
          .file_name = FromWide(path.substr(slash + 1))};
}

}  // namespace vlmr::platform
