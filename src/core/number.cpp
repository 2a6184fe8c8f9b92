#include "core/number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "core/text.h"
#include "platform/runtime_error.h"

namespace vlmr::core {

namespace {

using platform::RuntimeError;
namespace error_number = platform::error_number;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t CountDigits(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return count;
}

/// Whether the text is digits with at most one "." among or beside them, and an exponent perhaps. It keeps
/// out what `from_chars` would take as well: "inf", "nan".
bool HasNumberForm(std::string_view text) {
  const std::size_t whole = CountDigits(text);
  text.remove_prefix(whole);
  std::size_t fraction = 0;
  if (text.starts_with('.')) {
    fraction = CountDigits(text.substr(1));
    text.remove_prefix(1 + fraction);
  }
  if (whole + fraction == 0) return false;
  if (text.empty()) return true;
  if (FoldCase(text.front()) != 'e') return false;
  text.remove_prefix(1);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  return !text.empty() && CountDigits(text) == text.size();
}

/// Whether a number that is out of a type's range is so because it is tiny: then it is 0, no overflow.
bool IsTiny(std::string_view number) {
  const std::string_view mantissa = number.substr(0, number.find_first_of("eE"));
  std::int64_t exponent = 0;
  if (mantissa.size() < number.size()) {
    std::string_view digits = number.substr(mantissa.size() + 1);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (result.ec != std::errc()) return digits.starts_with('-');
  }
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return true;
  const std::size_t dot = std::min(mantissa.find('.'), mantissa.size());
  const std::int64_t place = static_cast<std::int64_t>(dot) - static_cast<std::int64_t>(first);
  return place + exponent <= 0;
}

template <class Number>
Number Parse(std::string_view text) {
  text = TrimBlanksAndTabs(text);
  if (text.empty()) return 0;
  const bool negative = text.front() == '-';
  if (negative || text.front() == '+') text.remove_prefix(1);
  if (!HasNumberForm(text)) throw RuntimeError(error_number::kTypeMismatch);
  Number value = 0;
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    if (!IsTiny(text)) throw RuntimeError(error_number::kOverflow);
    value = 0;
  }
  return negative ? -value : value;
}

/// The nearest whole number, of two equally near ones the even one. The mode in which the processor rounds
/// does not matter here.
double RoundHalfToEven(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  const bool up = rest > 0.5 || (rest == 0.5 && std::fmod(below, 2.0) != 0.0);
  return up ? below + 1 : below;
}

std::string ScientificText(std::string_view digits, int exponent, bool negative) {
  std::string text = negative ? "-" : "";
  text += digits.front();
  if (digits.size() > 1) text.append(".").append(digits.substr(1));
  text += exponent < 0 ? "E-" : "E+";
  return text + PaddedText(exponent < 0 ? -exponent : exponent, 2);
}

std::string PlainText(std::string_view digits, int exponent, bool negative) {
  std::string text = negative ? "-" : "";
  if (exponent < 0) {
    return text.append("0.").append(static_cast<std::size_t>(-exponent - 1), '0').append(digits);
  }
  const auto whole = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= whole) return text.append(digits).append(whole - digits.size(), '0');
  return text.append(digits.substr(0, whole)).append(".").append(digits.substr(whole));
}

}  // namespace

std::int16_t ToInt16(std::string_view text) {
  const double whole = RoundHalfToEven(Parse<double>(text));
  if (whole < std::numeric_limits<std::int16_t>::min() || whole > std::numeric_limits<std::int16_t>::max()) {
    throw RuntimeError(error_number::kOverflow);
  }
  return static_cast<std::int16_t>(whole);
}

float ToSingle(std::string_view text) { return Parse<float>(text); }

double ToDouble(std::string_view text) { return Parse<double>(text); }

bool ToBoolean(std::string_view text) {
  const std::string_view word = TrimBlanksAndTabs(text);
  if (EqualsIgnoringCase(word, "True")) return true;
  if (EqualsIgnoringCase(word, "False")) return false;
  return ToDouble(word) != 0;
}

std::string SingleText(float value) {
  if (value == 0) return "0";
  // Seven significant digits in the form d.dddddde[+-]dd, from which both forms are made.
  std::array<char, 32> buffer{};
  const std::to_chars_result end = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                                 std::fabs(value), std::chars_format::scientific, 6);
  const std::string_view form(buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data()));
  std::string digits{form.front()};
  digits += form.substr(2, 6);
  digits.erase(digits.find_last_not_of('0') + 1);
  int exponent = 0;
  const std::size_t sign = form.find('e') + 1;
  std::from_chars(form.data() + sign + 1, form.data() + form.size(), exponent);
  if (form[sign] == '-') exponent = -exponent;
  const bool plain = exponent >= -4 && exponent <= 6;
  return plain ? PlainText(digits, exponent, value < 0) : ScientificText(digits, exponent, value < 0);
}

std::string BooleanText(bool value) { return value ? "True" : "False"; }

std::string IntegerText(std::int64_t value) {
  std::array<char, 24> buffer{};
  const std::to_chars_result end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), end.ptr};
}

std::string PaddedText(int value, int width) {
  std::string text = IntegerText(value);
  const std::size_t sign = value < 0 ? 1 : 0;
  const auto wanted = static_cast<std::size_t>(width < 0 ? 0 : width) + sign;
  if (text.size() < wanted) text.insert(sign, wanted - text.size(), '0');
  return text;
}

std::strong_ordering CompareAsText(std::string_view a, std::string_view b) {
  // char_traits<char> compares as unsigned bytes.
  return a.compare(b) <=> 0;
}

std::partial_ordering CompareAsSingles(std::string_view a, std::string_view b) {
  return ToSingle(a) <=> ToSingle(b);
}

}  // namespace vlmr::core
