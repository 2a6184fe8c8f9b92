// A stand-in for a sibling program of the Windows executable. A test copies it under the sibling's name into
// the application folder and lays `<name>.actions` beside it, a line for each thing to do; without that file
// it ends at once with 0.
//
//     wait-for FILE         until FILE stands in the folder
//     until-text FILE TEXT  until a line of FILE is TEXT
//     pause N               N milliseconds
//     need FILE             ends with 1 when FILE is missing
//     make FILE             makes an empty file
//     write FILE TEXT       writes TEXT in one step; "\n" in it is a line end of Windows
//     get PORT PATH         an HTTP request to this machine; ends with 1 when it fails
//     run FILE              another program of the folder; ends with its code unless that is 0
//     report FILE [N]       writes how it was started: folder, window, streams, where the handle N leads
//     never-end             does nothing for ever
//     exit N                ends with the code N
//
// Each start adds a line with its process id to `<name>.starts`.
#include <winsock2.h>
// behind winsock2.h, which it needs
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

bool Get(int port, const std::string& path) {
  WSADATA data{};
  WSAStartup(MAKEWORD(2, 2), &data);
  const SOCKET connection = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(port));
  if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return false;
  const std::string request = "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
  send(connection, request.data(), static_cast<int>(request.size()), 0);
  std::string answer;
  char buffer[1024];
  // The server may keep the connection; the head of its answer is enough.
  for (int got = 0; answer.find("\r\n\r\n") == std::string::npos &&
                    (got = recv(connection, buffer, sizeof buffer, 0)) > 0;) {
    answer.append(buffer, static_cast<std::size_t>(got));
  }
  closesocket(connection);
  return answer.find(" 200 ") != std::string::npos;
}

int Run(const fs::path& program) {
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  if (!CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &made)) {
    return 1;
  }
  WaitForSingleObject(made.hProcess, INFINITE);
  DWORD code = 1;
  GetExitCodeProcess(made.hProcess, &code);
  return static_cast<int>(code);
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
  if (verb == "until-text") {
    const std::string wanted = Rest(words);
    while (!HasLine(path, wanted)) Sleep(10);
  }
  if (verb == "get" && !Get(std::atoi(name.c_str()), Rest(words))) return 1;
  if (verb == "run") {
    const int code = Run(path);
    if (code != 0) return code;
  }
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
