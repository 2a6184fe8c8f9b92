#include "index/product_key.h"

#include <vector>

#include "core/text.h"

namespace vlmr::index {
namespace {

constexpr std::string_view kNothing = "0";

std::string FieldAt(const std::vector<std::string>& fields, std::size_t position) {
  return position < fields.size() && !fields[position].empty() ? fields[position] : std::string(kNothing);
}

std::string WithZeros(const std::string& digits, std::size_t width) {
  return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

}  // namespace

ProductEntry ParseProductEntry(std::string_view entry) {
  const std::vector<std::string> fields = core::Split(entry, ',');
  ProductEntry parsed{
      .product = FieldAt(fields, 0), .minimal_version = FieldAt(fields, 1), .forced_language = {}};
  if (std::string language = FieldAt(fields, 2); language != kNothing) {
    parsed.forced_language = std::move(language);
  }
  return parsed;
}

std::string MinimalVersionText(std::string_view minimal_version) {
  std::vector<std::string> parts = core::Split(minimal_version, '.');
  if (parts.size() == 1) parts.emplace_back(kNothing);
  std::string text = WithZeros(parts.front(), 2);
  for (std::size_t n = 1; n < parts.size(); ++n) text += WithZeros(parts[n], 3);
  return text;
}

std::string ProductKey(std::string_view product, std::string_view language,
                       std::string_view minimal_version_text) {
  std::string key = "Info_";
  key.append(product).append("_").append(language).append("_").append(minimal_version_text).append("_1");
  return key;
}

}  // namespace vlmr::index
