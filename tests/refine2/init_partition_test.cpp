#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "common/test_run.h"
#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Where;

// The permutation that the first try draws right after seeding with seed.
std::vector<int> FirstPerm(unsigned seed, int n) {
  testrun::Seed(seed);
  std::vector<int> perm(n);
  RandomPermuteFine__(testrun::Rng(), perm.data(), n, 1);
  return perm;
}

TEST(InitPartition, NoVerticesReturnsWithNothingDone) {
  HGraph *g = CreateHGraph__();
  g->nvtxs = 0;
  g->nhedges = 0;
  g->nfixed = 0;
  g->netptr = ismalloc__(1, 0, "test: netptr");
  CreateIncidentHGraph__(g);
  PartCtrl ctrl = r2test::Ctrl(DBG_INITPART);
  testing::internal::CaptureStdout();
  InitPartition__(&ctrl, g);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(g->where, nullptr);
  EXPECT_EQ(g->mincut, 0);
  EXPECT_EQ(g->pwgts[0], -1);
  EXPECT_EQ(g->pwgts[1], -1);
  FreeHGraph__(g);
}

TEST(InitPartition, FixedVerticesSplitByTargetShare) {
  // nfixed 3: 3 x 0.5 + 0.4 truncates to 1 fixed vertex on side 0; nfixed 1: 0.9 gives none.
  for (int nfixed : {3, 1}) {
    for (unsigned seed : {1u, 2u, 3u}) {
      HGraph *g = r2test::Random(seed, 12, 20, 4, 1, 3, nfixed);
      RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
      PartCtrl ctrl = r2test::Ctrl();
      testrun::Seed(seed);
      InitPartition__(&ctrl, g);
      int onzero = 0;
      for (int v = 0; v < nfixed; v++) onzero += g->where[v] == 0;
      EXPECT_EQ(onzero, nfixed == 3 ? 1 : 0);
      FreeHGraph__(g);
    }
  }
}

TEST(InitPartition, HeavyVertexDrawnFirstFillsSideZeroAlone) {
  // Weights 10,1,1,1,1: the target of side 0 is 7. When vertex 0 comes first it alone reaches
  // the target, every other vertex goes to side 1, and balancing sees sides (10, 4).
  unsigned seed = 1;
  while (FirstPerm(seed, 5)[0] != 0) seed++;
  HGraph *g = Make(5, {{0, 1}, {1, 2}, {2, 3}, {3, 4}}, {}, {10, 1, 1, 1, 1});
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  testrun::Seed(seed);
  testing::internal::CaptureStdout();
  Random_FMPartition__(&ctrl, g);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.rfind("Partitions[B]: [     1,      10]  [     4,       4], Initial Cut:        1 "
                      "[1] [6]\n",
                      0),
            0u)
      << out;
  FreeHGraph__(g);
}

TEST(InitPartition, EqualCutsKeepTheFirstTry) {
  // Without hyperedges every try has cut 0. A perfectly balanced fill is never changed by
  // balancing or FM (no point is better), so the result is the first try's fill: the first 8
  // vertices of its permutation on side 0.
  const unsigned seed = 7;
  const std::vector<int> perm = FirstPerm(seed, 16);
  std::vector<int> expected(16, 1);
  for (int i = 0; i < 8; i++) expected[perm[i]] = 0;
  // The second try draws after the first try's FM pass shuffled once; it differs.
  std::vector<int> scratch(16), perm2(16);
  RandomPermute__(testrun::Rng(), scratch.data(), 16, 1);
  RandomPermuteFine__(testrun::Rng(), perm2.data(), 16, 1);
  std::vector<int> second(16, 1);
  for (int i = 0; i < 8; i++) second[perm2[i]] = 0;
  ASSERT_NE(second, expected);

  HGraph *g = Make(16, {});
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
  PartCtrl ctrl = r2test::Ctrl(DBG_INITPART);
  testrun::Seed(seed);
  testing::internal::CaptureStdout();
  InitPartition__(&ctrl, g);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(Where(g), expected);
  EXPECT_EQ(g->mincut, 0);
  std::string lines;
  for (int t = 0; t < 10; t++) lines += "    8     8     0\n";
  EXPECT_EQ(out, lines + "Bestcut Icut:     0\n");
  FreeHGraph__(g);
}

TEST(InitPartition, TwentyTriesWhenKwayRefinementFollows) {
  HGraph *g = Make(6, {{0, 1}, {2, 3}, {4, 5}});
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
  PartCtrl ctrl = r2test::Ctrl(DBG_INITPART);
  ctrl.KwayRefine = 1;
  testrun::Seed(3);
  testing::internal::CaptureStdout();
  InitPartition__(&ctrl, g);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r2test::Count(out, "\n"), 21);
  EXPECT_EQ(r2test::Count(out, "Bestcut Icut:"), 1);
  EXPECT_EQ(g->mincut, r2test::Reference(g).cut);
  FreeHGraph__(g);
}

TEST(InitPartition, RefinementLinesAreSilencedAndDebugLevelRestored) {
  HGraph *g = r2test::Random(5, 30, 40, 4, 2, 2);
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
  const int dbg = DBG_INITPART | DBG_REFINE | DBG_MOVES;
  PartCtrl ctrl = r2test::Ctrl(dbg);
  testrun::Seed(11);
  testing::internal::CaptureStdout();
  InitPartition__(&ctrl, g);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(ctrl.run->now.dbglvl, dbg);
  EXPECT_EQ(r2test::Count(out, "Partitions"), 0);
  EXPECT_EQ(r2test::Count(out, "Gains from moving"), 0);
  EXPECT_EQ(r2test::Count(out, "Minimum Cut"), 0);
  EXPECT_EQ(r2test::Count(out, "\n"), 11);
  // The kept bisection and its cut agree.
  ComputeInitGains__(g);
  EXPECT_EQ(
      r2test::Count(out, "Bestcut Icut: " + std::string(5 - std::to_string(g->mincut).size(), ' ') +
                             std::to_string(g->mincut) + "\n"),
      1);
  FreeHGraph__(g);
}

}  // namespace
