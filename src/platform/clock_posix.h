#pragma once

#include <clocale>
#include <ctime>
#include <string>

namespace vlmr::platform {

/// The name of the locale that the environment wants for times (`LC_ALL`, else `LC_TIME`, else `LANG`); empty
/// when that is none but the C locale, which has no form of its own.
std::string TimeLocaleName();

/// A moment as `Clock::DateTimeText` shows it: `%x %X` of a locale, `YYYY-MM-DD HH:MM:SS` without one (null).
std::string FormatMoment(const std::tm& moment, locale_t locale);

}  // namespace vlmr::platform
