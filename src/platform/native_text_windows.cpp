#include "platform/native_text_windows.h"

#include <windows.h>

#include <algorithm>

namespace vlmr::platform {

std::wstring ToWide(std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0)),
                    L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string FromWide(std::wstring_view wide) {
  if (wide.empty()) return {};
  const int length = static_cast<int>(wide.size());
  const int size = WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), length, text.data(), size, nullptr, nullptr);
  return text;
}

std::wstring LongPath(std::string_view path) {
  std::wstring wide = ToWide(path);
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  // Behind the prefix the system takes every character as it stands, so a doubled separator must go before.
  const auto root = wide.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(wide.size(), 2));
  wide.erase(std::unique(root, wide.end(), [](wchar_t a, wchar_t b) { return a == L'\\' && b == L'\\'; }),
             wide.end());
  if (wide.starts_with(LR"(\\?\)")) return wide;
  if (wide.starts_with(LR"(\\)")) return LR"(\\?\UNC\)" + wide.substr(2);
  if (wide.size() >= 3 && wide[1] == L':' && wide[2] == L'\\') return LR"(\\?\)" + wide;
  return wide;
}

}  // namespace vlmr::platform
