#include "kway/direct_kway.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "common/test_run.h"
#include "kway/kway.h"
#include "partition/hypra.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

using testhg::Hypergraph;

// A ring of 3-pin hyperedges with chords: n vertices, no single-pin hyperedge, every hyperedge
// at most 3 pins unless `bignet` adds one hyperedge over the first 51 vertices.
Hypergraph Ring(int n, bool bignet = false) {
  Hypergraph h;
  h.nvtxs = n;
  for (int i = 0; i < n; i++) h.Add({i, (i + 1) % n, (i + 7) % n}, 1 + i % 3);
  if (bignet) {
    std::vector<int> pins;
    for (int v = 0; v < 51; v++) pins.push_back(v);
    h.Add(pins, 2);
  }
  h.vwgts.assign(n, 1);
  return h;
}

// The hypergraph as the direct k-way driver receives it: arrays only, no incidence lists.
HGraph *KwayInput(const Hypergraph &h) {
  HGraph *g = testhg::ToHGraph(h);
  g->nfixed = 0;
  return g;
}

PartCtrl MakeCtrl(int nparts, int nruns, int vcycle, int rtype, int dbglvl) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.run->now.CoarsenTo = 100;
  ctrl.MaxNetSize = 50;
  ctrl.run->now.CType = 1;
  ctrl.run->now.RType = rtype;
  ctrl.Nruns = nruns;
  ctrl.Vcycle = vcycle;
  ctrl.Seed = 7;
  ctrl.run->now.dbglvl = dbglvl;
  ctrl.Nparts = nparts;
  ctrl.run->now.UBfactor = 1.1f;
  return ctrl;
}

struct RunOutput {
  int best;
  std::vector<int> part;
  std::string out;
};

// Runs the driver with a pinned clock, so that the inner clock-seeded bisections repeat.
RunOutput RunDriver(const Hypergraph &h, PartCtrl ctrl) {
  SetClockOverride__(12345);
  HGraph *g = KwayInput(h);
  RunOutput r;
  r.part.assign(h.nvtxs, -1);
  testing::internal::CaptureStdout();
  r.best = MultilevelKwayPartition__(&ctrl, g, r.part.data());
  r.out = testing::internal::GetCapturedStdout();
  FreeHGraph__(g);
  ClearClockOverride__();
  return r;
}

using testhg::Count;

// The V-cycle trace opens each V-cycle with ten spaces and a bracket.
int VCycleRuns(const std::string &out) {
  return Count(out, "          [");
}

// The per-trial lines of bit 128 (those ending the trial's trace with the balance).
std::vector<std::string> TrialTraceLines(const std::string &out) {
  std::vector<std::string> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line);)
    if (line.rfind("    Cut/SOED of trial ", 0) == 0) lines.push_back(line);
  return lines;
}

using testhg::Cut;

int Soed(const Hypergraph &h, const std::vector<int> &part) {
  int soed = 0;
  for (int e = 0; e < h.nhedges(); e++) {
    std::vector<int> seen;
    for (int j = h.eptr[e]; j < h.eptr[e + 1]; j++) {
      bool found = false;
      for (int p : seen) found = found || p == part[h.eind[j]];
      if (!found) seen.push_back(part[h.eind[j]]);
    }
    if (seen.size() > 1) soed += static_cast<int>(seen.size()) * h.hewgts[e];
  }
  return soed;
}

TEST(DirectKway, OneRunWithEndVCyclesKeepsOneSlot) {
  PartCtrl ctrl = MakeCtrl(4, 1, 1, 1, DBG_TRACE);
  EXPECT_EQ(DirectKwayKeptSlots(&ctrl), 1);
  const RunOutput r = RunDriver(Ring(300), ctrl);
  // No V-cycles during the trial; the one kept partition is V-cycled once at the end.
  EXPECT_EQ(VCycleRuns(r.out), 1) << r.out;
  EXPECT_EQ(Count(r.out, "Cut/SOED of trial"), 1);
}

TEST(DirectKway, ElevenRunsKeepThreeSlotsTenKeepTwo) {
  PartCtrl ctrl = MakeCtrl(4, 11, 1, 1, DBG_TRACE);
  EXPECT_EQ(DirectKwayKeptSlots(&ctrl), 3);
  EXPECT_EQ(VCycleRuns(RunDriver(Ring(150), ctrl).out), 3);
  ctrl.Nruns = 10;
  EXPECT_EQ(DirectKwayKeptSlots(&ctrl), 2);
  EXPECT_EQ(VCycleRuns(RunDriver(Ring(150), ctrl).out), 2);
}

TEST(DirectKway, VcycleThreeWithinTwentyPercentOrTwenty) {
  PartCtrl ctrl = MakeCtrl(4, 1, 3, 1, 0);
  EXPECT_TRUE(DirectKwayWantsVCycles(&ctrl, 119, 100, false));   // 120 > 119
  EXPECT_FALSE(DirectKwayWantsVCycles(&ctrl, 125, 100, false));  // 120 < 125, 25 >= 20
  EXPECT_TRUE(DirectKwayWantsVCycles(&ctrl, 29, 10, false));     // difference 19
  EXPECT_FALSE(DirectKwayWantsVCycles(&ctrl, 30, 10, false));    // 12 < 30, difference 20
}

TEST(DirectKway, VcycleTwoOnNewMinimumOrImprovingPrunedTrial) {
  PartCtrl ctrl = MakeCtrl(4, 1, 2, 1, 0);
  EXPECT_TRUE(DirectKwayWantsVCycles(&ctrl, 100, 100, false));
  EXPECT_FALSE(DirectKwayWantsVCycles(&ctrl, 101, 100, false));
  EXPECT_TRUE(DirectKwayWantsVCycles(&ctrl, 101, 100, true));
  for (int vcycle : {0, 1}) {
    ctrl.Vcycle = vcycle;
    EXPECT_FALSE(DirectKwayWantsVCycles(&ctrl, 0, 100, true));
  }
}

TEST(DirectKway, FirstTrialAlwaysVCycledWithModesTwoAndThree) {
  for (int vcycle : {2, 3}) {
    const RunOutput r = RunDriver(Ring(300), MakeCtrl(4, 1, vcycle, 1, DBG_TRACE));
    EXPECT_EQ(VCycleRuns(r.out), 1) << "Vcycle " << vcycle << "\n" << r.out;
  }
  const RunOutput none = RunDriver(Ring(300), MakeCtrl(4, 1, 0, 1, DBG_TRACE));
  EXPECT_EQ(VCycleRuns(none.out), 0) << none.out;
}

TEST(DirectKway, NoPruningMeansNoFullHypergraphPieces) {
  const RunOutput r = RunDriver(Ring(300), MakeCtrl(4, 2, 0, 1, DBG_TRACE));
  const std::vector<std::string> lines = TrialTraceLines(r.out);
  ASSERT_EQ(lines.size(), 2u) << r.out;
  for (const std::string &line : lines) {
    // Only the balance is bracketed: "... %6d %6d [x.xx]".
    EXPECT_EQ(Count(line, "["), 1) << line;
    EXPECT_EQ(Count(line, ", "), 0) << line;
    EXPECT_EQ(line.size() - line.find(" ["), 7u) << line;
  }
}

TEST(DirectKway, PrunedHyperedgeIsRefinedOnTheFullHypergraph) {
  const Hypergraph h = Ring(300, true);
  const RunOutput r = RunDriver(h, MakeCtrl(4, 2, 0, 1, DBG_TRACE));
  const std::vector<std::string> lines = TrialTraceLines(r.out);
  ASSERT_EQ(lines.size(), 2u) << r.out;
  for (const std::string &line : lines) {
    // "... %6d %6d[%d, %d] [x.xx]": the objective before and after the full refinement.
    const size_t open = line.find("[");
    ASSERT_NE(open, std::string::npos) << line;
    EXPECT_NE(line[open - 1], ' ') << line;
    EXPECT_EQ(Count(line, "["), 2) << line;
    EXPECT_EQ(Count(line, ", "), 1) << line;
    EXPECT_EQ(Count(line, "] ["), 1) << line;
  }
  // The 51-pin hyperedge is counted in the returned objective.
  EXPECT_EQ(r.best, Cut(h, r.part));
}

TEST(DirectKway, ActualSoedWithoutHyperedgesIsZero) {
  Hypergraph h;
  h.nvtxs = 3;
  h.vwgts = {1, 1, 1};
  HGraph *g = KwayInput(h);
  const int part[] = {0, 1, 2};
  EXPECT_EQ(ComputeActualSOED__(g, part), 0);
  FreeHGraph__(g);
}

TEST(DirectKway, ActualSoedCountsPartsTimesWeight) {
  Hypergraph h;
  h.nvtxs = 5;
  h.vwgts = {1, 1, 1, 1, 1};
  h.Add({0, 1}, 4);        // parts 0,0: uncut
  h.Add({0, 2, 3}, 2);     // parts 0,1,2: 3 x 2
  h.Add({3, 4, 1, 2}, 5);  // parts 2,2,0,1: 3 x 5
  h.Add({2, 1}, 1);        // parts 1,0: 2 x 1
  HGraph *g = KwayInput(h);
  const int part[] = {0, 0, 1, 2, 2};
  EXPECT_EQ(ComputeActualSOED__(g, part), 6 + 15 + 2);
  EXPECT_EQ(ComputeActualCut__(g, part), 2 + 5 + 1);
  FreeHGraph__(g);
}

TEST(DirectKway, BalanceIsPartsTimesHeaviestOverTotal) {
  Hypergraph h;
  h.nvtxs = 4;
  h.vwgts = {3, 1, 2, 2};
  HGraph *g = KwayInput(h);
  PartCtrl ctrl = MakeCtrl(3, 1, 0, 1, 0);
  const int part[] = {0, 1, 1, 2};  // weights 3, 3, 2 of 8
  EXPECT_FLOAT_EQ(ComputeBalanceKway__(&ctrl, g, part), static_cast<float>(3.0 * 3 / 8));
  FreeHGraph__(g);
}

TEST(DirectKway, SummaryAndInitialLinesNameTheObjective) {
  const Hypergraph h = Ring(300);
  const RunOutput cut = RunDriver(h, MakeCtrl(4, 1, 0, 1, DBG_BISECT | DBG_INITPART));
  EXPECT_NE(cut.out.find("4-way initial cut: "), std::string::npos) << cut.out;
  EXPECT_NE(cut.out.find("  Partitioning a hgraph of size [vertices=300, hedges=300, "
                         "balance=1.10]\n"),
            std::string::npos)
      << cut.out;
  EXPECT_NE(cut.out.find("    The mincut for this partitioning = " + std::to_string(cut.best) +
                         ", (average = "),
            std::string::npos)
      << cut.out;
  EXPECT_EQ(cut.best, Cut(h, cut.part));

  const RunOutput soed = RunDriver(h, MakeCtrl(4, 1, 0, 2, DBG_BISECT | DBG_INITPART));
  EXPECT_NE(soed.out.find("4-way initial soed: "), std::string::npos) << soed.out;
  EXPECT_NE(soed.out.find("    The minsoed for this partitioning = " + std::to_string(soed.best)),
            std::string::npos)
      << soed.out;
  EXPECT_EQ(soed.best, Soed(h, soed.part));
}

TEST(DirectKway, RunLinesAtBitSixteenMatchTheTrials) {
  const RunOutput r = RunDriver(Ring(300), MakeCtrl(4, 3, 0, 1, DBG_RUNS));
  EXPECT_EQ(Count(r.out, "    Cut/SOED of trial "), 3) << r.out;
  EXPECT_EQ(Count(r.out, "The mincut"), 0);
}

TEST(DirectKway, BestTrialIsReturnedAndEveryPartIsUsed) {
  const Hypergraph h = Ring(400);
  for (int rtype : {1, 2}) {
    const RunOutput r = RunDriver(h, MakeCtrl(8, 4, 1, rtype, 0));
    EXPECT_EQ(r.best, rtype == 1 ? Cut(h, r.part) : Soed(h, r.part));
    std::vector<int> sizes(8, 0);
    for (int p : r.part) {
      ASSERT_GE(p, 0);
      ASSERT_LT(p, 8);
      sizes[p]++;
    }
    for (int s : sizes) EXPECT_GT(s, 0);
  }
}

TEST(DirectKway, SameSeedAndClockRepeatTheRun) {
  const Hypergraph h = Ring(300);
  const RunOutput a = RunDriver(h, MakeCtrl(4, 3, 2, 1, DBG_TRACE));
  const RunOutput b = RunDriver(h, MakeCtrl(4, 3, 2, 1, DBG_TRACE));
  EXPECT_EQ(a.part, b.part);
  EXPECT_EQ(a.out, b.out);
}

// The public entry point.
TEST(PartKway, ReturnsPartitionAndObjective) {
  const Hypergraph h = Ring(300);
  const std::vector<int> eptr = h.eptr, eind = h.eind;
  std::vector<int> part(h.nvtxs, -1);
  int options[9] = {1, 2, 1, 2, 1, 0, 0, 5, 0};
  int objective = -1;
  SetClockOverride__(1);
  HYPRA_PartKway(h.nvtxs, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), h.hewgts.data(), 4,
                 10, options, part.data(), &objective);
  ClearClockOverride__();
  EXPECT_EQ(objective, Soed(h, part));
  EXPECT_EQ(eptr, h.eptr);
  EXPECT_EQ(eind, h.eind);
}

TEST(PartKwayDeathTest, RejectsFixedVertices) {
  const Hypergraph h = Ring(50);
  std::vector<int> part(h.nvtxs, -1);
  int options[9] = {1, 1, 1, 1, 1, 0, 1, 5, 0};
  EXPECT_EXIT(HYPRA_PartKway(h.nvtxs, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr,
                             4, 10, options, part.data(), nullptr),
              testing::ExitedWithCode(0), "fixed vertices");
}

TEST(PartKwayDeathTest, ValidatesLikeRecursiveBisection) {
  const Hypergraph h = Ring(50);
  std::vector<int> part(h.nvtxs, 0);
  EXPECT_EXIT(HYPRA_PartKway(h.nvtxs, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr,
                             4, 50, nullptr, part.data(), nullptr),
              testing::ExitedWithCode(0), "UBfactor should be between 1 and 49.");
  EXPECT_EXIT(HYPRA_PartKway(h.nvtxs, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr,
                             1, 5, nullptr, part.data(), nullptr),
              testing::ExitedWithCode(0), "Nparts should be at least 2.");
}

}  // namespace
