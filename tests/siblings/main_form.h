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
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, L"Form1", nullptr)) != nullptr) {
    if (CompareStringOrdinal(ExecutableOf(window).c_str(), -1, wanted.c_str(), -1, TRUE) == CSTR_EQUAL) break;
  }
  return window;
}
