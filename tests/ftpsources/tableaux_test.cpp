#include "ftpsources/tableaux.h"

#include <gtest/gtest.h>

namespace vlmr::ftpsources {
namespace {

using Texts = std::vector<std::string>;

TEST(Tableaux, SortsAsTextTheGreatestFirst) {
  Texts versions = {"10000", "9", "12345", "", "abc", "ABC", "12344", "9"};
  SortTableau(versions);
  EXPECT_EQ(versions, (Texts{"abc", "ABC", "9", "9", "12345", "12344", "10000", ""}));
}

TEST(Tableaux, ComparesUnsignedBytes) {
  Texts versions = {"a", "\xE9", "~"};
  SortTableau(versions);
  EXPECT_EQ(versions, (Texts{"\xE9", "~", "a"}));
}

TEST(Tableaux, TakesEmptyAndSingleLists) {
  Texts none;
  SortTableau(none);
  EXPECT_TRUE(none.empty());
  Texts one = {"x"};
  SortTableau(one);
  EXPECT_EQ(one, Texts{"x"});
}

TEST(Tableaux, StaysQuickOnManyEqualVersions) {
  Texts equal(200'000, "12345");
  SortTableau(equal);
  EXPECT_EQ(equal.front(), "12345");
}

}  // namespace
}  // namespace vlmr::ftpsources
