#pragma once

#include <optional>
#include <string_view>

/// What one line of an INI file says. Inline, because these run several times for each line of a long file.
namespace vlmr::core::ini {

inline bool IsBlank(char c) { return c == ' ' || c == '\t'; }

/// As `TrimBlanksAndTabs`, but in place.
inline std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

/// The line without its line end.
inline std::string_view WithoutEnd(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

/// The name that a section header tells; nothing for another line. What stands behind the bracket is ignored.
inline std::optional<std::string_view> SectionName(std::string_view content) {
  if (!content.starts_with('[')) return std::nullopt;
  const std::size_t end = content.find(']');
  if (end == std::string_view::npos) return std::nullopt;
  return Trim(content.substr(1, end - 1));
}

/// A key line, taken apart; views of the line.
struct KeyAndValue {
  std::string_view key;
  std::string_view value;
};

/// Empty key: the line is none.
inline KeyAndValue SplitLine(std::string_view content) {
  if (content.empty() || content.front() == ';' || content.front() == '[') return {};
  const std::size_t equals = content.find('=');
  if (equals == std::string_view::npos) return {};
  return {Trim(content.substr(0, equals)), Trim(content.substr(equals + 1))};
}

/// The value without one pair of like quotes around it.
inline std::string_view WithoutQuotes(std::string_view value) {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace vlmr::core::ini
