#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "core/core.h"

using namespace hypra;

namespace {

int Scaled(int r, int range) {
  return static_cast<int>(double(r) * range * 4.656612873077393e-10);
}

RandomState Seeded(unsigned seed) {
  RandomState rng;
  SeedRandom__(&rng, seed);
  return rng;
}

// The first five draws and the thousandth after seeding, as the GNU C library's rand() gives
// them after srand(seed).
struct KnownSequence {
  unsigned seed;
  int draws[6];
};

const KnownSequence kKnown[] = {
    {0u, {1804289383, 846930886, 1681692777, 1714636915, 1957747793, 1143565421}},
    {1u, {1804289383, 846930886, 1681692777, 1714636915, 1957747793, 1143565421}},
    {2u, {1505335290, 1738766719, 190686788, 260874575, 747983061, 2057566690}},
    {12345u, {383100999, 858300821, 357768173, 455528251, 133005921, 121832119}},
    {2147483647u, {1065668062, 2142264300, 1066566375, 1064012770, 2141034222, 1698607095}},
    {2147483648u, {1336741213, 1210407648, 1447044896, 337392383, 82502902, 193932953}},
    {4294967295u, {254925627, 1205188300, 366127624, 1401405153, 76053476, 1892540048}},
};

TEST(Random, RepeatsTheKnownSequences) {
  for (const KnownSequence &k : kKnown) {
    RandomState rng = Seeded(k.seed);
    for (int i = 0; i < 5; i++) EXPECT_EQ(NextRandom__(&rng), k.draws[i]) << "seed " << k.seed;
    for (int i = 5; i < 999; i++) NextRandom__(&rng);
    EXPECT_EQ(NextRandom__(&rng), k.draws[5]) << "seed " << k.seed;
  }
}

#ifdef __GLIBC__
// On the platform whose rand() it repeats, the two agree far into the sequence.
TEST(Random, MatchesTheCLibraryDrawForDraw) {
  for (unsigned seed : {0u, 1u, 7u, 99991u, 3000000000u}) {
    std::srand(seed);
    RandomState rng = Seeded(seed);
    for (int i = 0; i < 100000; i++) ASSERT_EQ(NextRandom__(&rng), std::rand()) << seed << " " << i;
  }
}
#endif

TEST(Random, DrawsLeaveTheProcessSequenceAlone) {
  std::srand(4);
  const int first = std::rand();
  std::srand(4);
  RandomState rng = Seeded(9);
  int p[64];
  RandomPermute__(&rng, p, 64, 1);
  InitRandom__(&rng, 5);
  EXPECT_EQ(std::rand(), first);
}

TEST(Random, FewerThanSixteenElementsAreNeverShuffled) {
  RandomState rng = Seeded(1);
  int p[10];
  RandomPermute__(&rng, p, 10, 1);
  for (int i = 0; i < 10; i++) EXPECT_EQ(p[i], i);
  // No draw was consumed either.
  RandomState fresh = Seeded(1);
  EXPECT_EQ(NextRandom__(&rng), NextRandom__(&fresh));
}

TEST(Random, SixteenElementsMakeOneBlockSwap) {
  for (unsigned seed : {1u, 7u, 12345u}) {
    RandomState draws = Seeded(seed);
    int r1 = NextRandom__(&draws), r2 = NextRandom__(&draws), r3 = NextRandom__(&draws);
    int u = Scaled(r1, 8), v = Scaled(r2, 8);
    ASSERT_LT(u, 8);
    ASSERT_LT(v, 8);
    std::vector<int> expect(16);
    for (int i = 0; i < 16; i++) expect[i] = i;
    for (int j = 0; j < 4; j++) std::swap(expect[u + j], expect[v + j]);

    RandomState rng = Seeded(seed);
    int p[16];
    RandomPermute__(&rng, p, 16, 1);
    EXPECT_EQ(std::vector<int>(p, p + 16), expect);
    EXPECT_EQ(NextRandom__(&rng), r3);  // exactly two draws
  }
}

TEST(Random, PermuteWithoutInitialisingKeepsContents) {
  RandomState rng = Seeded(3);
  std::vector<int> p(100);
  for (int i = 0; i < 100; i++) p[i] = 1000 + i;
  RandomPermute__(&rng, p.data(), 100, 0);
  std::vector<int> sorted = p;
  std::sort(sorted.begin(), sorted.end());
  for (int i = 0; i < 100; i++) EXPECT_EQ(sorted[i], 1000 + i);
}

TEST(Random, FinePermutationDrawsTwicePerElement) {
  RandomState draws = Seeded(42);
  std::vector<int> d(7);
  for (auto &x : d) x = NextRandom__(&draws);
  std::vector<int> expect = {0, 1, 2};
  for (int i = 0; i < 3; i++)
    std::swap(expect[Scaled(d[2 * i], 3)], expect[Scaled(d[2 * i + 1], 3)]);
  RandomState rng = Seeded(42);
  int p[3];
  RandomPermuteFine__(&rng, p, 3, 1);
  EXPECT_EQ(std::vector<int>(p, p + 3), expect);
  EXPECT_EQ(NextRandom__(&rng), d[6]);
}

TEST(Random, SeedIsTakenModuloTwoToThe32) {
  RandomState a, b;
  InitRandom__(&a, 5);
  InitRandom__(&b, (int64_t{1} << 32) + 5);
  EXPECT_EQ(NextRandom__(&a), NextRandom__(&b));
}

TEST(Random, NegativeSeedReadsTheClock) {
  SetClockOverride__(77);
  RandomState rng;
  InitRandom__(&rng, -1);
  RandomState expect = Seeded(77);
  EXPECT_EQ(NextRandom__(&rng), NextRandom__(&expect));
  EXPECT_EQ(ClockSeed__(), 77);
  ClearClockOverride__();
  EXPECT_GT(ClockSeed__(), 1000000000LL);
}

TEST(Random, CandidateListsGrowAndKeepTheirEntries) {
  RunState run;
  InitRunState__(&run, 1);
  CandidateList &list = run.lists[0];
  for (int i = 0; i < 25000; i++) {
    GrowCandidateList__(&list);
    list.cand[list.ncand] = i;
    list.cwgt[list.ncand] = static_cast<float>(i) / 2;
    list.ncand++;
  }
  EXPECT_GE(list.capacity, 25000);
  for (int i = 0; i < 25000; i += 997) {
    EXPECT_EQ(list.cand[i], i);
    EXPECT_EQ(list.cwgt[i], static_cast<float>(i) / 2);
  }
  FreeRunState__(&run);
  EXPECT_EQ(run.lists[0].cand, nullptr);
}

}  // namespace
