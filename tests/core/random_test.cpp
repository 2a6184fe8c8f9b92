#include "core/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace vlmr::core {
namespace {

std::vector<int> Draws(PseudoRandom& random, int count) {
  std::vector<int> draws;
  for (int i = 0; i < count; ++i) draws.push_back(random.Draw());
  return draws;
}

TEST(Random, DrawsWholeNumbersFrom1To500AndReachesAllOfThem) {
  PseudoRandom random;
  const std::vector<int> draws = Draws(random, 20000);
  const std::set<int> values(draws.begin(), draws.end());
  EXPECT_EQ(values.size(), 500U);
  EXPECT_EQ(*values.begin(), 1);
  EXPECT_EQ(*values.rbegin(), 500);
}

TEST(Random, UnseededSequencesAreTheSame) {
  PseudoRandom first;
  PseudoRandom second;
  EXPECT_EQ(Draws(first, 50), Draws(second, 50));
}

TEST(Random, TheMomentDecidesTheSeededSequence) {
  PseudoRandom first;
  PseudoRandom second;
  PseudoRandom third;
  first.Seed(123456789);
  second.Seed(123456789);
  third.Seed(987654321);
  const std::vector<int> draws = Draws(first, 50);
  EXPECT_EQ(draws, Draws(second, 50));
  EXPECT_NE(draws, Draws(third, 50));
}

TEST(Random, NoMomentStopsTheSequence) {
  for (const std::uint64_t moment :
       {std::uint64_t{0}, std::uint64_t{2147483646}, std::uint64_t{2147483647}, ~std::uint64_t{0}}) {
    PseudoRandom random;
    random.Seed(moment);
    const std::vector<int> draws = Draws(random, 50);
    EXPECT_GT(std::set<int>(draws.begin(), draws.end()).size(), 10U) << moment;
  }
}

}  // namespace
}  // namespace vlmr::core
