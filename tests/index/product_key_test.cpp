#include "index/product_key.h"

#include <gtest/gtest.h>

namespace vlmr::index {
namespace {

TEST(ProductKeyTest, EntryArgumentAndForcedLanguageAndMinimalVersionMakeTheKey) {
  struct Case {
    const char* entry;
    const char* language;  ///< the caller's
    const char* key;
  };
  for (const Case& c : {
           Case{"22,5.58", "1", "Info_22_1_05058_1"},
           Case{"22,5.58", "16", "Info_22_16_05058_1"},
           Case{"22,5.58,64", "1", "Info_22_64_05058_1"},
           Case{"22,5.58,0", "16", "Info_22_16_05058_1"},
           Case{"22,5.58,", "16", "Info_22_16_05058_1"},
           Case{"22,5.58,1,ignored", "64", "Info_22_1_05058_1"},
           Case{"22,5", "1", "Info_22_1_05000_1"},
           Case{"22", "1", "Info_22_1_00000_1"},
           Case{"22,", "1", "Info_22_1_00000_1"},
           Case{",5.58", "1", "Info_0_1_05058_1"},
           Case{"22,1.2.3", "1", "Info_22_1_01002003_1"},
           Case{"AB c,12.345.6", "x y", "Info_AB c_x y_12345006_1"},
       }) {
    const ProductEntry entry = ParseProductEntry(c.entry);
    const std::string language = entry.forced_language.empty() ? c.language : entry.forced_language;
    EXPECT_EQ(ProductKey(entry.product, language, MinimalVersionText(entry.minimal_version)), c.key)
        << c.entry << " with " << c.language;
  }
}

TEST(ProductKeyTest, PartsOfAMinimalVersionGetZerosInFrontAndAreNeverCut) {
  struct Case {
    const char* version;
    const char* text;
  };
  for (const Case& c :
       {Case{"5.58", "05058"}, Case{"5", "05000"}, Case{"0", "00000"}, Case{"1.2.3", "01002003"},
        Case{"123.4567", "1234567"}, Case{"5.", "05000"}, Case{".5", "00005"}, Case{"", "00000"}}) {
    EXPECT_EQ(MinimalVersionText(c.version), c.text) << c.version;
  }
}

}  // namespace
}  // namespace vlmr::index
