#include "core/outside_name.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "platform/file_system.h"
#include "platform/runtime_error.h"

namespace vlmr::core {
namespace {

constexpr std::size_t kLongestComponent = 255;
constexpr std::size_t kLongestPath = 1024;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

/// Windows opens a device under these names in every folder, whatever extension follows.
bool IsDeviceName(std::string_view component) {
  constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
  const std::string stem = ToUpper(TrimBlanks(component.substr(0, component.find('.'))));
  if (std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end()) return true;
  const std::string_view port = std::string_view(stem).substr(0, 3);
  if (port != "COM" && port != "LPT") return false;
  const std::string_view number = std::string_view(stem).substr(3);
  // The superscript digits 1 to 3 count as digits there, in the ANSI code page and in UTF-8.
  constexpr std::array<std::string_view, 6> kSuperscripts = {"\xb9",     "\xb2",     "\xb3",
                                                             "\xc2\xb9", "\xc2\xb2", "\xc2\xb3"};
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
         std::find(kSuperscripts.begin(), kSuperscripts.end(), number) != kSuperscripts.end();
}

NameFault CheckComponent(std::string_view component) {
  if (component.empty()) return NameFault::kEmptyComponent;
  if (component == "..") return NameFault::kParentFolder;
  if (component.size() > kLongestComponent) return NameFault::kTooLong;
  if (component.back() == '.' || component.back() == ' ') return NameFault::kTrailingDotOrBlank;
  if (IsDeviceName(component)) return NameFault::kDeviceName;
  // What is left over from a killed run is found by this mark, in any case.
  const bool marked = ToUpper(component).find(ToUpper(platform::kTemporaryMark)) != std::string::npos;
  if (marked) return NameFault::kTemporaryMark;
  return NameFault::kNone;
}

NameFault CheckCharacters(std::string_view path) {
  for (const char c : path) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return NameFault::kControlCharacter;
    if (c == ':') return NameFault::kDriveOrStream;
    if (std::string_view("<>\"|*").find(c) != std::string_view::npos) return NameFault::kReservedCharacter;
  }
  return NameFault::kNone;
}

[[noreturn]] void Refuse(NameFault fault) {
  const int number = platform::error_number::kPathFileAccess;
  throw platform::RuntimeError(number, platform::DescribeError(number) + ": " + DescribeNameFault(fault));
}

}  // namespace

NameFault CheckOutsidePath(std::string_view relative_path) {
  if (relative_path.empty()) return NameFault::kEmpty;
  if (relative_path.size() > kLongestPath) return NameFault::kTooLong;
  if (IsSeparator(relative_path.front())) return NameFault::kLeadingSeparator;
  if (const NameFault fault = CheckCharacters(relative_path); fault != NameFault::kNone) return fault;
  std::size_t begin = 0;
  while (begin <= relative_path.size()) {
    const std::size_t end = std::min(relative_path.find_first_of("/\\", begin), relative_path.size());
    if (const NameFault fault = CheckComponent(relative_path.substr(begin, end - begin));
        fault != NameFault::kNone) {
      return fault;
    }
    begin = end + 1;
  }
  return NameFault::kNone;
}

NameFault CheckOutsideFileName(std::string_view name) {
  const NameFault fault = CheckOutsidePath(name);
  if (fault != NameFault::kNone) return fault;
  return std::any_of(name.begin(), name.end(), IsSeparator) ? NameFault::kFolderPart : NameFault::kNone;
}

std::string DescribeNameFault(NameFault fault) {
  switch (fault) {
    case NameFault::kNone:
      return "nothing is wrong";
    case NameFault::kEmpty:
      return "the name is empty";
    case NameFault::kLeadingSeparator:
      return "it begins with a separator";
    case NameFault::kDriveOrStream:
      return "it holds a colon";
    case NameFault::kParentFolder:
      return "it leads out of its folder";
    case NameFault::kControlCharacter:
      return "it holds a control character";
    case NameFault::kDeviceName:
      return "it names a device";
    case NameFault::kTrailingDotOrBlank:
      return "a part of it ends with a dot or a blank";
    case NameFault::kReservedCharacter:
      return "it holds a reserved character";
    case NameFault::kEmptyComponent:
      return "a part of it is empty";
    case NameFault::kTooLong:
      return "it is too long";
    case NameFault::kFolderPart:
      return "it holds a folder";
    case NameFault::kTemporaryMark:
      return "it looks like a temporary file";
  }
  return {};
}

std::string PathBelow(std::string_view folder, std::string_view outside_path) {
  if (const NameFault fault = CheckOutsidePath(outside_path); fault != NameFault::kNone) Refuse(fault);
  return ShownBelow(folder, outside_path);
}

std::string FileIn(std::string_view folder, std::string_view outside_name) {
  if (const NameFault fault = CheckOutsideFileName(outside_name); fault != NameFault::kNone) Refuse(fault);
  return ShownBelow(folder, outside_name);
}

std::string ShownBelow(std::string_view folder, std::string_view outside_path) {
  std::string path(folder);
  if (!path.ends_with('\\')) path += '\\';
  const std::size_t begin = path.size();
  path += outside_path;
  std::replace(path.begin() + static_cast<std::ptrdiff_t>(begin), path.end(), '/', '\\');
  return path;
}

}  // namespace vlmr::core
