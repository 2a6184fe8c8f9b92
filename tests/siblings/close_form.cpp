// Asks a running VlMr to close as Windows does: posts WM_CLOSE to the main form of the process whose
// executable is the one argument. Ends with 0 when that form was found.
#include <windows.h>

#include <string>

namespace {

std::wstring ExecutableOf(HWND window) {
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

}  // namespace

int main(int count, char** arguments) {
  const std::string text = count > 1 ? arguments[1] : "";
  std::wstring wanted(text.size(), L'\0');
  const int size = static_cast<int>(text.size());
  if (size > 0) MultiByteToWideChar(CP_ACP, 0, text.data(), size, wanted.data(), size);
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, L"Form1", nullptr)) != nullptr) {
    if (CompareStringOrdinal(ExecutableOf(window).c_str(), -1, wanted.c_str(), -1, TRUE) == CSTR_EQUAL) {
      return PostMessageW(window, WM_CLOSE, 0, 0) ? 0 : 1;
    }
  }
  return 1;
}
