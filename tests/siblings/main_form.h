#pragma once

#include <windows.h>

#include <string>

/// The executable of the process that a window belongs to; empty when it cannot be told.
inline std::wstring ExecutableOf(HWND window) {
  DWORD process_id = 0;
  GetWindowThreadProcessId(window, &process_id);
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process_id);
  if (process == nullptr) return {};
  std::wstring path(32768, L'\0');
  auto size = static_cast<DWORD>(path.size());
  if (!QueryFullProcessImageNameW(process, 0, path.data(), &size)) size = 0;
  CloseHandle(process);
  path.resize(size);
  return path;
}

/// The main form of the running program whose executable is `path`, in the system's code page; null when
/// there is none.
inline HWND MainFormOf(const std::string& path) {
  std::wstring wanted(path.size(), L'\0');
  const int size = static_cast<int>(path.size());
  if (size > 0) MultiByteToWideChar(CP_ACP, 0, path.data(), size, wanted.data(), size);
  // A list made at once: other windows come and go meanwhile, and a search that goes on behind one that has
  // gone finds nothing more.
  struct Search {
    std::wstring wanted;
    HWND found;
  } search{wanted, nullptr};
  EnumWindows(
      [](HWND window, LPARAM parameter) -> BOOL {
        auto& looked_for = *reinterpret_cast<Search*>(parameter);
        wchar_t name[16] = L"";
        GetClassNameW(window, name, 16);
        if (std::wstring(name) != L"Form1") return TRUE;
        if (CompareStringOrdinal(ExecutableOf(window).c_str(), -1, looked_for.wanted.c_str(), -1, TRUE) !=
            CSTR_EQUAL) {
          return TRUE;
        }
        looked_for.found = window;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}
