#pragma once

#include <string>
#include <string_view>

#include "core/ini_store.h"

namespace vlmr::index {

/// Several values of one index at the cost of one look at its file. Valid until anything else is read,
/// written or logged.
class IndexValues {
 public:
  IndexValues(core::IniStore& ini, const std::string& file) : document_(ini.Document(file)) {}

  /// As `ReadIniValue`: at most 254 bytes, empty when the key or its section is missing.
  std::string Get(std::string_view section, std::string_view key) const {
    return std::string(document_.Get(section, key).substr(0, core::IniStore::kLongestValue));
  }

 private:
  const core::IniDocument& document_;
};

}  // namespace vlmr::index
