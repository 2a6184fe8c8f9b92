// A stand-in for a sibling program of the Windows executable. A test copies it under the sibling's name into
// the application folder and lays `<name>.actions` beside it, a line for each thing to do; without that file
// it ends at once with 0.
//
//     wait-for FILE      until FILE stands in the folder
//     pause N            N milliseconds
//     need FILE          ends with 1 when FILE is missing
//     make FILE          makes an empty file
//     write FILE TEXT    writes TEXT in one step; "\n" in it is a line end of Windows
//     need-text FILE TEXT  ends with 1 when no line of FILE is TEXT
//     never-end          does nothing for ever
//     report FILE [N]    writes what it was started with: folder, window, streams, whether it has the handle
//     N exit N             ends with the code N
//
// Each start adds a line with its process id to `<name>.starts`.
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::pair<fs::path, std::string> OwnFolderAndName() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return {fs::path(path).parent_path(), fs::path(path).filename().string()};
}

std::string Rest(std::istringstream& words) {
  std::string text;
  std::getline(words >> std::ws, text);
  return text;
}

void WriteInOneStep(const fs::path& path, std::string text) {
  for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at)) {
    text.replace(at, 2, "\r\n");
  }
  const fs::path beside = path.wstring() + L".new";
  std::ofstream(beside, std::ios::binary) << text;
  fs::rename(beside, path);
}

bool HasLine(const fs::path& path, const std::string& wanted) {
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (line == wanted) return true;
  }
  return false;
}

/// Where a handle leads: "none", or the file's name, or that it is no file.
std::string Describe(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return "none";
  DWORD flags = 0;
  if (!GetHandleInformation(handle, &flags)) return "none";
  wchar_t name[1024] = L"";
  if (GetFinalPathNameByHandleW(handle, name, 1024, 0) == 0) return "other";
  return fs::path(name).filename().string();
}

std::string Report(const std::string& handle) {
  STARTUPINFOW start{};
  GetStartupInfoW(&start);
  wchar_t folder[1024] = L"";
  GetCurrentDirectoryW(1024, folder);
  const bool hidden = (start.dwFlags & STARTF_USESHOWWINDOW) != 0 && start.wShowWindow == SW_HIDE;
  std::string text = "folder=" + fs::path(folder).string() + "\\n";
  text += std::string("window=") + (hidden ? "hidden" : "normal") + "\\n";
  text += "in=" + Describe(GetStdHandle(STD_INPUT_HANDLE)) + "\\n";
  text += "out=" + Describe(GetStdHandle(STD_OUTPUT_HANDLE)) + "\\n";
  text += "error=" + Describe(GetStdHandle(STD_ERROR_HANDLE)) + "\\n";
  if (!handle.empty()) {
    text +=
        "handle=" + Describe(reinterpret_cast<HANDLE>(std::strtoull(handle.c_str(), nullptr, 10))) + "\\n";
  }
  return text;
}

/// Does one thing; the exit code when that ends the program, -1 otherwise.
int Do(const fs::path& folder, const std::string& line) {
  std::istringstream words(line);
  std::string verb;
  words >> verb;
  if (verb == "never-end") Sleep(INFINITE);
  std::string name;
  words >> name;
  if (verb == "exit") return std::atoi(name.c_str());
  if (verb == "pause") Sleep(static_cast<DWORD>(std::atoi(name.c_str())));
  const fs::path path = folder / name;
  if (verb == "wait-for") {
    while (!fs::exists(path)) Sleep(10);
  }
  if (verb == "need" && !fs::exists(path)) return 1;
  if (verb == "need-text" && !HasLine(path, Rest(words))) return 1;
  if (verb == "make") WriteInOneStep(path, "");
  if (verb == "write") WriteInOneStep(path, Rest(words));
  if (verb == "report") WriteInOneStep(path, Report(Rest(words)));
  return -1;
}

}  // namespace

int main() {
  const auto [folder, name] = OwnFolderAndName();
  std::ofstream(folder / (name + ".starts"), std::ios::app) << GetCurrentProcessId() << "\n";
  std::ifstream actions(folder / (name + ".actions"));
  for (std::string line; std::getline(actions, line);) {
    const int code = Do(folder, line);
    if (code >= 0) return code;
  }
  return 0;
}
