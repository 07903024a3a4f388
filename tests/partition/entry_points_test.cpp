#include <gtest/gtest.h>

#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "partition/hypra.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

using namespace hypra;

namespace {

struct Result {
  std::vector<int> part;
  int cut = -1;
  std::string out;
};

Result Partition(const TestHypergraph &h, int nparts, int ubfactor, std::vector<int> options,
                 bool internal = false, bool weights = true) {
  Result r;
  r.part.assign(h.nvtxs, 0);
  testing::internal::CaptureStdout();
  auto fn = internal ? HYPRA_PartRecursiveInternal : HYPRA_PartRecursive;
  fn(h.nvtxs, h.nhedges(), weights ? h.vwgts.data() : nullptr, h.eptr.data(), h.eind.data(),
     weights ? h.hewgts.data() : nullptr, nparts, ubfactor, options.data(), r.part.data(), &r.cut);
  r.out = testing::internal::GetCapturedStdout();
  return r;
}

TEST(EntryPoints, ZeroOptionsMeanTheDefaults) {
  TestHypergraph h = RingHypergraph(300, 400, 1);
  SetClockOverride__(1234);  // both runs seed from the same "clock"
  Result a = Partition(h, 4, 5, {0, 0, 0, 0, 0, 0, 0, 0, 0});
  Result b = Partition(h, 4, 5, {1, 10, 1, 1, 1, 0, 0, -1, 0});
  ClearClockOverride__();
  EXPECT_EQ(a.part, b.part);
  EXPECT_EQ(a.cut, b.cut);
  EXPECT_EQ(a.cut, CutOf(h, a.part));
}

TEST(EntryPointsDeathTest, UBfactorOutsideOneTo49IsRejected) {
  TestHypergraph h = RingHypergraph(50, 60, 2);
  std::vector<int> part(50);
  int cut;
  std::vector<int> opts = {1, 1, 1, 1, 0, 0, 0, 3, 0};
  EXPECT_EXIT(HYPRA_PartRecursive(50, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr,
                                  2, 0, opts.data(), part.data(), &cut),
              testing::ExitedWithCode(0), "UBfactor should be between 1 and 49.");
  EXPECT_EXIT(HYPRA_PartRecursive(50, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr,
                                  2, 50, opts.data(), part.data(), &cut),
              testing::ExitedWithCode(0), "UBfactor should be between 1 and 49.");
}

TEST(EntryPoints, UBfactorOneAnd49AreAccepted) {
  TestHypergraph h = RingHypergraph(120, 150, 3);
  for (int ub : {1, 49}) {
    Result r = Partition(h, 2, ub, {1, 2, 1, 1, 0, 0, 0, 5, 0});
    EXPECT_EQ(r.cut, CutOf(h, r.part));
  }
}

TEST(EntryPointsDeathTest, EachOptionIsRangeChecked) {
  TestHypergraph h = RingHypergraph(50, 60, 4);
  std::vector<int> part(50);
  int cut;
  auto run = [&](int nparts, std::vector<int> o) {
    HYPRA_PartRecursive(50, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr, nparts, 5,
                        o.data(), part.data(), &cut);
  };
  EXPECT_EXIT(run(1, {0, 0, 0, 0, 0, 0, 0, 0, 0}), testing::ExitedWithCode(0),
              "Nparts should be at least 2.");
  EXPECT_EXIT(run(2, {1, 0, 1, 1, 1, 0, 0, 1, 0}), testing::ExitedWithCode(0),
              "Nruns should be at least 1.");
  EXPECT_EXIT(run(2, {1, 1, 6, 1, 1, 0, 0, 1, 0}), testing::ExitedWithCode(0),
              "Ctype should be between 1 and 5.");
  EXPECT_EXIT(run(2, {1, 1, 1, -1, 1, 0, 0, 1, 0}), testing::ExitedWithCode(0),
              "Rtype should be between 1 and 3.");
  EXPECT_EXIT(run(2, {1, 1, 1, 1, -1, 0, 0, 1, 0}), testing::ExitedWithCode(0),
              "Vcycle should be between 0 and 3.");
  EXPECT_EXIT(run(2, {1, 1, 1, 1, 1, 2, 0, 1, 0}), testing::ExitedWithCode(0),
              "Reconst should be between 0 and 1.");
  EXPECT_EXIT(run(2, {1, 1, 1, 1, 1, 0, -1, 1, 0}), testing::ExitedWithCode(0),
              "Fixed should be between 0 and 1.");
}

TEST(EntryPointsDeathTest, PinsOutOfRangeEndTheRunCleanly) {
  std::vector<int> eptr = {0, 2}, eind = {0, 7}, part(3);
  std::vector<int> opts = {0, 0, 0, 0, 0, 0, 0, 0, 0};
  int cut;
  EXPECT_EXIT(HYPRA_PartRecursive(3, 1, nullptr, eptr.data(), eind.data(), nullptr, 2, 5,
                                  opts.data(), part.data(), &cut),
              testing::ExitedWithCode(0), "pin 1 names vertex 7");
}

// The k-way passes announce themselves on their first pass with a "Balance:" line (bit 4).
TEST(EntryPoints, KwayRefinementUpTo64PartsOnly) {
  TestHypergraph h = RingHypergraph(400, 500, 5);
  std::vector<int> opts = {1, 1, 1, 1, 0, 0, 0, 7, 4};
  EXPECT_GT(Count(Partition(h, 64, 5, opts).out, "Balance: ["), 0);
  EXPECT_EQ(Count(Partition(h, 65, 5, opts).out, "Balance: ["), 0);
  EXPECT_EQ(Count(Partition(h, 64, 5, opts, true).out, "Balance: ["), 0);
  EXPECT_EQ(Count(Partition(h, 4, 5, opts, true).out, "Balance: ["), 0);
}

TEST(EntryPoints, NullWeightsAreUnitWeightsAndInputsStayUnchanged) {
  TestHypergraph h = RingHypergraph(200, 260, 6);
  TestHypergraph copy = h;
  std::vector<int> opts = {1, 2, 1, 1, 1, 0, 0, 11, 0};
  Result unit = Partition(h, 3, 5, opts, false, false);
  Result ones = Partition(h, 3, 5, opts, false, true);  // fixture weights are all 1
  EXPECT_EQ(unit.part, ones.part);
  EXPECT_EQ(unit.cut, ones.cut);
  EXPECT_EQ(h.eptr, copy.eptr);
  EXPECT_EQ(h.eind, copy.eind);
  EXPECT_EQ(h.hewgts, copy.hewgts);
  EXPECT_EQ(h.vwgts, copy.vwgts);
}

TEST(EntryPoints, SameSeedSamePartitionAndOutput) {
  TestHypergraph h = RingHypergraph(500, 650, 7, true);
  std::vector<int> opts = {1, 4, 1, 1, 1, 0, 0, 99, 8 | 16 | 128};
  Result a = Partition(h, 5, 5, opts);
  Result b = Partition(h, 5, 5, opts);
  EXPECT_EQ(a.part, b.part);
  EXPECT_EQ(a.out, b.out);
  for (int p : a.part) {
    EXPECT_GE(p, 0);
    EXPECT_LT(p, 5);
  }
}

TEST(EntryPoints, TwoWayRefineIsTenPassesOfFm) {
  TestHypergraph h = RingHypergraph(300, 380, 8);
  std::vector<int> start(h.nvtxs);
  for (int v = 0; v < h.nvtxs; v++) start[v] = v % 2;

  // Reference: the refiner called directly on the same bisection with the same random state.
  HGraph *g = ToHGraph(h);
  g->nfixed = 0;
  CreateIncidentHGraph__(g);
  AllocateRefinementMemory__(g);
  icopy__(h.nvtxs, start.data(), g->where);
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = 2;
  ctrl.run->now.UBfactor = static_cast<float>(5 / 100.0);
  ctrl.run->now.TargetFrac = 0.5f;
  testrun::Seed(17);
  Refine_FM__(&ctrl, g, 10);
  std::vector<int> expect(g->where, g->where + h.nvtxs);
  const int expect_cut = g->mincut;
  FreeHGraph__(g);

  for (std::vector<int> opts :
       {std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0}, std::vector<int>{1, 3, 4, 3, 2, 1, 1, 5, 0}}) {
    std::vector<int> part = start;
    int cut = -1;
    SeedSharedSequence__(17);
    HYPRA_2WayRefine(h.nvtxs, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr, 5,
                     opts.data(), part.data(), &cut);
    EXPECT_EQ(part, expect);
    EXPECT_EQ(cut, expect_cut);
    EXPECT_EQ(cut, CutOf(h, part));
  }
}

}  // namespace
