#include "index/entry_numbers.h"

#include <gtest/gtest.h>

#include <numeric>

namespace vlmr::index {
namespace {

std::vector<int> UpTo(int last) {
  std::vector<int> numbers(static_cast<std::size_t>(last));
  std::iota(numbers.begin(), numbers.end(), 1);
  return numbers;
}

TEST(EntryNumbers, AreAllOfThemUpToAThousandWhateverIsThere) {
  const core::IniDocument document("[S]\nK.3=x\n");
  EXPECT_EQ(EntryNumbers(document, "S", {"K."}, 3), UpTo(3));
  EXPECT_EQ(EntryNumbers(document, "S", {"K."}, 1000), UpTo(1000));
  EXPECT_EQ(EntryNumbers(document, "None", {"K."}, 2), UpTo(2));
  EXPECT_TRUE(EntryNumbers(document, "S", {"K."}, 0).empty());
  EXPECT_TRUE(EntryNumbers(document, "S", {"K."}, -1).empty());
}

TEST(EntryNumbers, BehindAThousandAreThoseThatAreThereUnderOneOfTheKeys) {
  const core::IniDocument document(
      "[S]\nK.999999=x\nk.1001=x\nPath.2000=x\nK.2000=x\nK.5=x\nK.01500=x\nK.1600x=x\n;K.1700=x\nK.=x\n"
      "K.9999999999=x\n[T]\nK.1800=x\n[S]\nK.1900=x\n");
  std::vector<int> expected = UpTo(1000);
  expected.insert(expected.end(), {1001, 2000, 999999});
  EXPECT_EQ(EntryNumbers(document, "s", {"K.", "Path."}, 1'000'000), expected);
  expected.pop_back();
  EXPECT_EQ(EntryNumbers(document, "S", {"K.", "Path."}, 2000), expected);
  expected.pop_back();
  EXPECT_EQ(EntryNumbers(document, "S", {"K.", "Path."}, 1999), expected);
}

}  // namespace
}  // namespace vlmr::index
