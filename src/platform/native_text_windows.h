#pragma once

#include <string>
#include <string_view>

namespace vlmr::platform {

/// Texts of the program are bytes in the system's ANSI code page, as the settings and the sibling programs
/// have them; the system itself is called in its own wide characters, so that no path is too long. These are
/// the only conversions.

std::wstring ToWide(std::string_view text);
/// Characters that the code page lacks become "?", as the ANSI functions would give them.
std::string FromWide(std::wstring_view wide);

/// A path in the form that knows no limit of 260 characters: "\\?\" in front, "/" turned into "\", doubled
/// separators made one. A path that is not absolute is left without the prefix.
std::wstring LongPath(std::string_view path);

}  // namespace vlmr::platform
