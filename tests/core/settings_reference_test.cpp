#include "core/settings_reference.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "core/settings_table.h"

namespace vlmr::core {
namespace {

std::string ReadDocument() {
  std::ifstream file(VLMR_SOURCE_DIR "/docs/settings.md", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(SettingsReference, TheDocumentIsMadeFromTheTable) {
  EXPECT_EQ(ReadDocument(), SettingsReference()) << "make it anew: settings_reference > docs/settings.md";
}

TEST(SettingsReference, EveryKeyAndItsDefaultStandInIt) {
  const std::string text = SettingsReference();
  for (const SettingRow& row : SettingTable()) {
    EXPECT_NE(text.find("| `" + std::string(row.key) + "`"), std::string::npos) << row.key;
    EXPECT_NE(text.find(row.default_text), std::string::npos) << row.key;
  }
}

}  // namespace
}  // namespace vlmr::core
