#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace vlmr::core {

/// Conversions between text and numbers. Blanks and tabs around a number are dropped; an empty text is 0
/// without error; accepted are a sign, digits, one ".", and an exponent ("1e2"); anything else raises 13.

/// To 16 bits: the fraction rounds half to even; outside -32768..32767 raises 6.
std::int16_t ToInt16(std::string_view text);
/// To single precision: the nearest value; beyond its range raises 6.
float ToSingle(std::string_view text);
/// To double precision, for sizes; beyond its range raises 6.
double ToDouble(std::string_view text);
/// "True"/"False" in any case, else a number by the rules above, where non-zero is true; else raises 13.
bool ToBoolean(std::string_view text);

/// Up to 7 significant digits, no trailing zeros, a dot, plain form for 0 and from 0.0001 to 9999999, else
/// "1.5E+12".
std::string SingleText(float value);
/// "True" or "False".
std::string BooleanText(bool value);
/// Decimal text of a whole number.
std::string IntegerText(std::int64_t value);
/// At least `width` digits, zeros in front.
std::string PaddedText(int value, int width);

/// Version texts are compared by one of these two, as each rule says, never by a bare operator.
/// As text: by unsigned bytes, a prefix is lower. "99" > "100", "10.0" < "9.0", "" < "0".
std::strong_ordering CompareAsText(std::string_view a, std::string_view b);
/// As single-precision numbers. Raises 13 or 6 as `ToSingle`.
std::partial_ordering CompareAsSingles(std::string_view a, std::string_view b);

}  // namespace vlmr::core
