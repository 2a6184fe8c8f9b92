#include "core/text.h"

#include <algorithm>

#include "platform/ascii_case.h"
#include "platform/runtime_error.h"

namespace vlmr::core {

namespace {

std::string_view TrimAnyOf(std::string_view text, std::string_view dropped) {
  const std::size_t first = text.find_first_not_of(dropped);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(dropped) - first + 1);
}

}  // namespace

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string ToUpper(std::string_view text) { return platform::AsciiUpper(text); }

bool EqualsIgnoringCase(std::string_view a, std::string_view b) { return platform::SameName(a, b); }

std::string_view TrimBlanks(std::string_view text) { return TrimAnyOf(text, " "); }

std::string_view TrimBlanksAndTabs(std::string_view text) { return TrimAnyOf(text, " \t"); }

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t found = text.find(from); found != std::string_view::npos; found = text.find(from)) {
    result.append(text.substr(0, found)).append(to);
    text.remove_prefix(found + from.size());
  }
  return result.append(text);
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
    pieces.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  pieces.emplace_back(text);
  return pieces;
}

std::string_view LastCharacters(std::string_view text, std::size_t count) {
  return text.size() > count ? text.substr(text.size() - count) : text;
}

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(text.size(), 1));
  }
  return lines;
}

std::string BeforeComma(std::string_view value) {
  const std::size_t comma = value.find(',');
  if (comma == std::string_view::npos) throw platform::RuntimeError(platform::error_number::kInvalidCall);
  return std::string(value.substr(0, comma));
}

PathAndSize SplitPathAndSize(std::string_view value) {
  if (value.empty()) return {};
  PathAndSize parts;
  parts.path = BeforeComma(value);
  parts.size = value.substr(parts.path.size() + 1);
  return parts;
}

std::string GetVersionField(std::string_view value) {
  if (value.empty()) return {};
  const std::string_view rest = TrimBlanks(value.substr(BeforeComma(value).size() + 1));
  return std::string(rest.substr(0, rest.find(',')));
}

}  // namespace vlmr::core
