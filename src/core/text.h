#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlmr::core {

/// Text helpers that know ASCII only: no locale ever changes what a file or an index means.

char FoldCase(char c);                       ///< ASCII letter to lower case, else unchanged
std::string ToUpper(std::string_view text);  ///< ASCII letters to upper case
bool EqualsIgnoringCase(std::string_view a, std::string_view b);  ///< ASCII case ignored
/// Blanks (not tabs) at both ends dropped.
std::string_view TrimBlanks(std::string_view text);
/// Blanks and tabs at both ends dropped.
std::string_view TrimBlanksAndTabs(std::string_view text);
/// Every occurrence of `from` (not empty) replaced, left to right, without looking at what was put in.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);
/// The text split at every `separator`; an empty text gives one empty piece.
std::vector<std::string> Split(std::string_view text, char separator);
/// The last `count` characters, or all when there are fewer.
std::string_view LastCharacters(std::string_view text, std::size_t count);
/// The lines of a text; CR LF, LF and CR each end one, a last line without an end counts, a final end makes
/// no extra line.
std::vector<std::string_view> Lines(std::string_view text);

/// A path-and-size value of the index, split at its first comma.
/// An empty value gives two empty parts; a non-empty one without a comma raises 5.
struct PathAndSize {
  std::string path;
  std::string size;
};
PathAndSize SplitPathAndSize(std::string_view value);
/// The version of a path-version-size value: what follows the first comma, trimmed of blanks, up to the next
/// comma. Empty for an empty value; a non-empty value without a comma raises 5.
std::string GetVersionField(std::string_view value);
/// The text before the first comma; raises 5 when there is none, also in an empty text.
std::string BeforeComma(std::string_view value);

}  // namespace vlmr::core
