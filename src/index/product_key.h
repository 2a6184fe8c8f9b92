#pragma once

#include <string>
#include <string_view>

namespace vlmr::index {

/// A product entry of [All_Product]: `product,minimal version[,language]`.
struct ProductEntry {
  std::string product;          ///< as it stands; "0" when empty
  std::string minimal_version;  ///< as it stands; "0" when empty
  std::string forced_language;  ///< empty when the entry carries none (no third field, an empty one, or "0")
};

/// The fields of an entry. Fields beyond the third mean nothing.
ProductEntry ParseProductEntry(std::string_view entry);

/// The minimal version as it stands in a key: the parts between the dots with zeros in front, the first to
/// two digits, each further to three, a missing second part as "0". "5.58" gives "05058", "5" gives "05000".
std::string MinimalVersionText(std::string_view minimal_version);

/// The name of the product's section: "Info_" product "_" language "_" minimal version text "_1".
std::string ProductKey(std::string_view product, std::string_view language,
                       std::string_view minimal_version_text);

}  // namespace vlmr::index
