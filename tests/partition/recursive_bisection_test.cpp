#include <gtest/gtest.h>

#include <regex>
#include <vector>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "fixtures.h"
#include "partition/hypra.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

// The targets of the bisections in the order they ran, from the bit-8 summary lines.
std::vector<std::string> Targets(const std::string &out) {
  std::vector<std::string> t;
  std::regex re("balance=([0-9.]+)\\]");
  for (auto it = std::sregex_iterator(out.begin(), out.end(), re); it != std::sregex_iterator();
       ++it)
    t.push_back((*it)[1]);
  return t;
}

std::string PartitionRun(const TestHypergraph &h, int nparts, std::vector<int> &part, int &cut,
                         std::vector<int> opts, bool internal = false) {
  part.assign(h.nvtxs, -1);
  testing::internal::CaptureStdout();
  (internal ? HYPRA_PartRecursiveInternal : HYPRA_PartRecursive)(
      h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(), h.hewgts.data(), nparts,
      5, opts.data(), part.data(), &cut);
  return testing::internal::GetCapturedStdout();
}

TEST(RecursiveBisection, TwoPartsIsOneBisection) {
  TestHypergraph h = RingHypergraph(200, 250, 21);
  std::vector<int> part;
  int cut;
  std::string out = PartitionRun(h, 2, part, cut, {1, 2, 1, 1, 0, 0, 0, 3, 8 | 4});
  EXPECT_EQ(Count(out, "Bisecting a hgraph"), 1);
  EXPECT_EQ(Targets(out), (std::vector<std::string>{"0.50"}));
  EXPECT_EQ(Count(out, "Balance: ["), 0);
  EXPECT_EQ(cut, CutOf(h, part));
}

TEST(RecursiveBisection, ThreePartsTargetsAThirdFirst) {
  TestHypergraph h = RingHypergraph(300, 380, 22);
  std::vector<int> part;
  int cut;
  std::string out = PartitionRun(h, 3, part, cut, {1, 2, 1, 1, 0, 0, 0, 3, 8}, true);
  EXPECT_EQ(Targets(out), (std::vector<std::string>{"0.33", "0.50"}));
  // The first bisection's side 0 becomes part 0 at once: about a third of the vertices.
  int n0 = 0;
  for (int p : part) n0 += p == 0;
  EXPECT_GE(n0, static_cast<int>((1.0 / 3 - 0.05) * 300));
  EXPECT_LE(n0, 300 - static_cast<int>((2.0 / 3 - 0.05) * 300));
}

TEST(RecursiveBisection, FivePartsDepthFirstLeftBeforeRight) {
  TestHypergraph h = RingHypergraph(400, 500, 23);
  std::vector<int> part;
  int cut;
  std::string out = PartitionRun(h, 5, part, cut, {1, 2, 1, 1, 0, 0, 0, 3, 8}, true);
  EXPECT_EQ(Targets(out), (std::vector<std::string>{"0.40", "0.50", "0.33", "0.50"}));
  for (int p : part) {
    EXPECT_GE(p, 0);
    EXPECT_LT(p, 5);
  }
}

TEST(RecursiveBisection, WithoutReconstructionBisectionCutsSumToTheCut) {
  TestHypergraph h = RingHypergraph(500, 650, 24, true);
  std::vector<int> part;
  int cut;
  PartitionRun(h, 8, part, cut, {1, 4, 1, 1, 0, 0, 0, 5, 0}, true);
  EXPECT_EQ(cut, CutOf(h, part));
}

TEST(RecursiveBisection, ReconstructionKeepsOnlyTheSideWithSeveralPins) {
  // Hyperedge {0, 4, 5, 6}: vertex 0 on the left, 4, 5, 6 on the right.
  TestHypergraph h;
  h.nvtxs = 8;
  h.Add({0, 4, 5, 6}, 7);
  h.Add({0, 1}, 1);
  h.Add({6, 7}, 1);
  HGraph *g = ToHGraph(h);
  g->nfixed = 0;
  g->label = imalloc__(8, "test: label");
  for (int v = 0; v < 8; v++) g->label[v] = 10 + v;
  std::vector<int> bisection = {0, 0, 0, 0, 1, 1, 1, 1};
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Reconst = 1;
  ctrl.run->now.TargetFrac = 0.5f;
  HGraph *l = CreateHGraph__(), *r = CreateHGraph__();
  SplitGraphPart__(&ctrl, g, bisection.data(), l, r);
  ASSERT_EQ(l->nhedges, 1);  // only {0, 1}
  EXPECT_EQ(l->netptr[1], 2);
  ASSERT_EQ(r->nhedges, 2);
  // The right side holds {4, 5, 6} renumbered to {0, 1, 2} with the full weight, and {6, 7}.
  bool found = false;
  for (int e = 0; e < r->nhedges; e++)
    if (r->netptr[e + 1] - r->netptr[e] == 3) {
      found = true;
      EXPECT_EQ(r->netwgt[e], 7);
      std::vector<int> pins(r->netind + r->netptr[e], r->netind + r->netptr[e + 1]);
      EXPECT_EQ(pins, (std::vector<int>{0, 1, 2}));
    }
  EXPECT_TRUE(found);
  EXPECT_EQ(r->label[0], 14);
  EXPECT_EQ(l->label[3], 13);
  EXPECT_EQ(l->nvtxs, 4);
  EXPECT_EQ(r->isroot, 0);
  for (HGraph *x : {g, l, r}) {
    RVfree__(&x->label);
    FreeHGraph__(x);
  }
}

TEST(RecursiveBisection, WithoutReconstructionCutHyperedgesAreDropped) {
  TestHypergraph h;
  h.nvtxs = 4;
  h.Add({0, 2, 3}, 1);
  h.Add({2, 3}, 1);
  h.Add({}, 1);  // an empty last hyperedge goes to side 0
  HGraph *g = ToHGraph(h);
  g->nfixed = 3;
  g->label = imalloc__(4, "test: label");
  std::vector<int> bisection = {0, 0, 1, 1};
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.run->now.TargetFrac = 0.5f;
  HGraph *l = CreateHGraph__(), *r = CreateHGraph__();
  SplitGraphPart__(&ctrl, g, bisection.data(), l, r);
  EXPECT_EQ(l->nhedges, 1);
  EXPECT_EQ(l->netptr[1], 0);
  EXPECT_EQ(r->nhedges, 1);
  // 3 * 0.5 + 0.4 truncates to 1 super-vertex on the left, 2 on the right.
  EXPECT_EQ(l->nfixed, 1);
  EXPECT_EQ(r->nfixed, 2);
  for (HGraph *x : {g, l, r}) {
    RVfree__(&x->label);
    FreeHGraph__(x);
  }
}

}  // namespace
