#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "core/core.h"

namespace {

int Scaled(int r, int range) {
  return static_cast<int>(double(r) * range * 4.656612873077393e-10);
}

TEST(Random, FewerThanSixteenElementsAreNeverShuffled) {
  std::srand(1);
  int p[10];
  RandomPermute__(p, 10, 1);
  for (int i = 0; i < 10; i++) EXPECT_EQ(p[i], i);
  // No rand() was consumed either.
  std::srand(1);
  int first = std::rand();
  std::srand(1);
  RandomPermute__(p, 10, 1);
  EXPECT_EQ(std::rand(), first);
}

TEST(Random, SixteenElementsMakeOneBlockSwap) {
  for (unsigned seed : {1u, 7u, 12345u}) {
    std::srand(seed);
    int r1 = std::rand(), r2 = std::rand(), r3 = std::rand();
    int u = Scaled(r1, 8), v = Scaled(r2, 8);
    ASSERT_LT(u, 8);
    ASSERT_LT(v, 8);
    std::vector<int> expect(16);
    for (int i = 0; i < 16; i++) expect[i] = i;
    for (int j = 0; j < 4; j++) std::swap(expect[u + j], expect[v + j]);

    std::srand(seed);
    int p[16];
    RandomPermute__(p, 16, 1);
    EXPECT_EQ(std::vector<int>(p, p + 16), expect);
    EXPECT_EQ(std::rand(), r3);  // exactly two draws
  }
}

TEST(Random, PermuteWithoutInitialisingKeepsContents) {
  std::srand(3);
  std::vector<int> p(100);
  for (int i = 0; i < 100; i++) p[i] = 1000 + i;
  RandomPermute__(p.data(), 100, 0);
  std::vector<int> sorted = p;
  std::sort(sorted.begin(), sorted.end());
  for (int i = 0; i < 100; i++) EXPECT_EQ(sorted[i], 1000 + i);
}

TEST(Random, FinePermutationDrawsTwicePerElement) {
  std::srand(42);
  std::vector<int> draws(7);
  for (auto &d : draws) d = std::rand();
  std::vector<int> expect = {0, 1, 2};
  for (int i = 0; i < 3; i++)
    std::swap(expect[Scaled(draws[2 * i], 3)], expect[Scaled(draws[2 * i + 1], 3)]);
  std::srand(42);
  int p[3];
  RandomPermuteFine__(p, 3, 1);
  EXPECT_EQ(std::vector<int>(p, p + 3), expect);
  EXPECT_EQ(std::rand(), draws[6]);
}

TEST(Random, SeedIsTakenModuloTwoToThe32) {
  InitRandom__(5);
  int a = std::rand();
  InitRandom__((int64_t{1} << 32) + 5);
  EXPECT_EQ(std::rand(), a);
}

TEST(Random, NegativeSeedReadsTheClock) {
  SetClockOverride__(77);
  InitRandom__(-1);
  int a = std::rand();
  std::srand(77);
  EXPECT_EQ(std::rand(), a);
  EXPECT_EQ(ClockSeed__(), 77);
  ClearClockOverride__();
  EXPECT_GT(ClockSeed__(), 1000000000LL);
}

}  // namespace
