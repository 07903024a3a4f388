// The bounded-imbalance mode of HYPRA_Partition: every part within (1 + EPS) x ceil(W / k) for
// both methods, with fixed vertices, serial and parallel; the status when the bound cannot be
// met; the bound and the bisection tolerances themselves.
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "partition/hypra.h"
#include "partition/partition.h"
#include "refine2/moves.h"

using namespace hypra;

namespace {

// The bound computed independently of the library: share + floor(EPS x share).
long long Bound(const std::vector<int> &vwgts, int nparts, double eps) {
  long long total = 0;
  for (int w : vwgts) total += w;
  const long long share = (total + nparts - 1) / nparts;
  return share + static_cast<long long>(eps * static_cast<double>(share) + 1e-9);
}

long long Heaviest(const std::vector<int> &vwgts, const std::vector<int> &part, int nparts) {
  std::vector<long long> pwgts(nparts, 0);
  for (size_t v = 0; v < part.size(); v++) pwgts[part[v]] += vwgts[v];
  long long heaviest = 0;
  for (long long w : pwgts) heaviest = w > heaviest ? w : heaviest;
  return heaviest;
}

struct Outcome {
  int status = -1;
  int objective = -1;
  std::vector<int> part;
};

struct Request {
  int method = HYPRA_RECURSIVE;
  int nparts = 2;
  double eps = 0.03;
  int runs = 1;
  int threads = 0;
  int rtype = 1;
  const std::vector<int> *fixed = nullptr;
};

Outcome Partition(const TestHypergraph &h, const Request &r) {
  HYPRA_Params params;
  HYPRA_DefaultParams(&params);
  params.method = r.method;
  params.nparts = r.nparts;
  params.runs = r.runs;
  params.threads = r.threads;
  params.rtype = r.rtype;
  params.seed = 7;
  params.imbalance = r.eps;
  params.fixed = r.fixed != nullptr ? r.fixed->data() : nullptr;
  Outcome o;
  o.part.assign(h.nvtxs, -5);
  // The direct path's serial inner bisections seed from the clock; pinned, the run repeats.
  SetClockOverride__(99);
  o.status = HYPRA_Partition(h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                             h.hewgts.data(), &params, o.part.data(), &o.objective);
  ClearClockOverride__();
  return o;
}

std::optional<TestHypergraph> Bench(const std::string &name) {
  const auto b = testhg::ReadBench(std::string(HYPRA_BENCH_DIR) + "/" + name);
  if (!b) return std::nullopt;
  TestHypergraph h;
  h.nvtxs = b->nvtxs;
  for (size_t e = 0; e < b->nets.size(); e++) h.Add(b->nets[e], b->netwgt[e]);
  h.vwgts = b->cellwgt;
  return h;
}

// Checks a run that must meet the bound: status, the bound, a complete partition, the objective.
void ExpectWithinBound(const TestHypergraph &h, const Request &r, const Outcome &o) {
  ASSERT_EQ(o.status, HYPRA_OK);
  for (int p : o.part) ASSERT_TRUE(p >= 0 && p < r.nparts) << p;
  EXPECT_LE(Heaviest(h.vwgts, o.part, r.nparts), Bound(h.vwgts, r.nparts, r.eps));
  if (r.rtype == 1) {
    EXPECT_EQ(o.objective, CutOf(h, o.part));
  }
  if (r.fixed != nullptr)
    for (int v = 0; v < h.nvtxs; v++)
      if ((*r.fixed)[v] >= 0) {
        ASSERT_EQ(o.part[v], (*r.fixed)[v]) << "vertex " << v;
      }
}

// Every tenth vertex (from `start`) fixed, round robin over the parts.
std::vector<int> SomeFixed(int nvtxs, int nparts, int start) {
  std::vector<int> fixed(nvtxs, -1);
  for (int v = start, i = 0; v < nvtxs; v += 10, i++) fixed[v] = i % nparts;
  return fixed;
}

struct Case {
  const char *file;  // a benchmark file, or nullptr for the generated weighted hypergraph
  int method;
  int nparts;
  double eps;
};

void PrintTo(const Case &c, std::ostream *os) {
  *os << (c.file != nullptr ? c.file : "generated") << ", "
      << (c.method == HYPRA_DIRECT ? "direct" : "recursive") << ", k = " << c.nparts
      << ", EPS = " << c.eps;
}

std::string CaseName(const testing::TestParamInfo<Case> &info) {
  const Case &c = info.param;
  std::string file = c.file == nullptr ? "ring" : c.file;
  for (char &ch : file)
    if (ch == '.') ch = '_';
  return file + (c.method == HYPRA_DIRECT ? "_direct_k" : "_recursive_k") +
         std::to_string(c.nparts) + "_eps" + std::to_string(static_cast<int>(c.eps * 100 + 0.5));
}

class BoundHolds : public testing::TestWithParam<Case> {};

TEST_P(BoundHolds, EveryPartWithinTheBound) {
  const Case &c = GetParam();
  std::optional<TestHypergraph> h;
  if (c.file == nullptr) {
    h = RingHypergraph(3000, 4000, 11, true);
  } else {
    h = Bench(c.file);
    if (!h) GTEST_SKIP() << "benchmark hypergraph " << c.file << " not found in " HYPRA_BENCH_DIR;
  }
  Request r;
  r.method = c.method;
  r.nparts = c.nparts;
  r.eps = c.eps;
  ExpectWithinBound(*h, r, Partition(*h, r));
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT}) {
    // The unit netlist: every part count at 3 %, the tighter and looser bounds on a few.
    for (int k : {2, 3, 7, 16, 64}) cases.push_back({"ibm01.hgr", method, k, 0.03});
    for (int k : {2, 7, 64}) cases.push_back({"ibm01.hgr", method, k, 0.01});
    for (int k : {3, 16}) cases.push_back({"ibm01.hgr", method, k, 0.10});
    // The weighted netlist up to 16 parts (its heaviest vertex exceeds the bound beyond that).
    for (int k : {2, 3, 7})
      for (double eps : {0.01, 0.03, 0.10}) cases.push_back({"ibm01.weight.hgr", method, k, eps});
    cases.push_back({"ibm01.weight.hgr", method, 16, 0.03});
    // A generated weighted hypergraph: every part count and bound.
    for (int k : {2, 3, 7, 16, 64})
      for (double eps : {0.01, 0.03, 0.10}) cases.push_back({nullptr, method, k, eps});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(Imbalance, BoundHolds, testing::ValuesIn(Cases()), CaseName);

TEST(Imbalance, DirectSoedObjectiveKeepsTheBound) {
  const TestHypergraph h = RingHypergraph(3000, 4000, 12, true);
  for (int k : {3, 16}) {
    Request r;
    r.method = HYPRA_DIRECT;
    r.nparts = k;
    r.rtype = 2;
    ExpectWithinBound(h, r, Partition(h, r));
  }
}

TEST(Imbalance, FixedVerticesStayAndTheBoundHolds) {
  const TestHypergraph ring = RingHypergraph(3000, 4000, 13, true);
  for (int k : {3, 64})
    for (double eps : {0.01, 0.10}) {
      const std::vector<int> fixed = SomeFixed(ring.nvtxs, k, 3);
      Request r;
      r.nparts = k;
      r.eps = eps;
      r.fixed = &fixed;
      ExpectWithinBound(ring, r, Partition(ring, r));
    }
  const std::optional<TestHypergraph> ibm = Bench("ibm01.hgr");
  if (!ibm) GTEST_SKIP() << "benchmark hypergraph ibm01.hgr not found in " HYPRA_BENCH_DIR;
  for (int k : {16}) {
    const std::vector<int> fixed = SomeFixed(ibm->nvtxs, k, 5);
    Request r;
    r.nparts = k;
    r.eps = 0.03;
    r.fixed = &fixed;
    ExpectWithinBound(*ibm, r, Partition(*ibm, r));
  }
}

// The parallel mode keeps the bound, and its partition does not depend on the thread count.
TEST(Imbalance, TwoThreadsGiveOneThreadsPartition) {
  std::optional<TestHypergraph> h = Bench("ibm01.hgr");
  if (!h) h = RingHypergraph(3000, 4000, 14, true);
  for (const auto &[method, k] : {std::pair{HYPRA_RECURSIVE, 7}, std::pair{HYPRA_DIRECT, 16}}) {
    Request r;
    r.method = method;
    r.nparts = k;
    r.runs = 2;
    r.threads = 1;
    const Outcome one = Partition(*h, r);
    ExpectWithinBound(*h, r, one);
    r.threads = 2;
    const Outcome two = Partition(*h, r);
    EXPECT_EQ(two.status, one.status);
    EXPECT_EQ(two.objective, one.objective);
    EXPECT_EQ(two.part, one.part) << "method " << method << ", " << k << " parts";
  }
}

TEST(Imbalance, ParallelModeWithFixedVertices) {
  const TestHypergraph h = RingHypergraph(3000, 4000, 15, true);
  const std::vector<int> fixed = SomeFixed(h.nvtxs, 7, 1);
  Request r;
  r.nparts = 7;
  r.fixed = &fixed;
  r.threads = 2;
  const Outcome two = Partition(h, r);
  ExpectWithinBound(h, r, two);
  r.threads = 1;
  EXPECT_EQ(Partition(h, r).part, two.part);
}

// A small hypergraph: a chain of `n` vertices joined by two-pin hyperedges.
TestHypergraph Chain(const std::vector<int> &vwgts) {
  TestHypergraph h;
  h.nvtxs = static_cast<int>(vwgts.size());
  for (int v = 0; v + 1 < h.nvtxs; v++) h.Add({v, v + 1});
  h.vwgts = vwgts;
  return h;
}

TEST(Imbalance, VertexHeavierThanTheBoundIsReportedBeforePartitioning) {
  // W = 40, k = 4: the bound is 10 + 1 = 11; one vertex weighs 12.
  const TestHypergraph h = Chain({12, 4, 4, 4, 4, 4, 4, 4});
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT}) {
    Request r;
    r.method = method;
    r.nparts = 4;
    r.eps = 0.1;
    const Outcome o = Partition(h, r);
    EXPECT_EQ(o.status, HYPRA_ERROR_BALANCE);
    EXPECT_EQ(o.part, std::vector<int>(h.nvtxs, -5)) << "part is left as it was";
    EXPECT_EQ(o.objective, -1);
  }
}

TEST(Imbalance, FixedWeightAboveTheBoundIsReportedBeforePartitioning) {
  // W = 16, k = 2: the bound is 8 (EPS x 8 < 1); vertices 0 .. 2 (weight 9) are fixed to part 1.
  const TestHypergraph h = Chain({3, 3, 3, 1, 1, 1, 1, 1, 1, 1});
  std::vector<int> fixed(h.nvtxs, -1);
  fixed[0] = fixed[1] = fixed[2] = 1;
  Request r;
  r.nparts = 2;
  r.eps = 0.1;
  r.fixed = &fixed;
  const Outcome o = Partition(h, r);
  EXPECT_EQ(o.status, HYPRA_ERROR_BALANCE);
  EXPECT_EQ(o.part, std::vector<int>(h.nvtxs, -5));
}

TEST(Imbalance, UnreachableBoundLeavesTheBestPartition) {
  // Three vertices of weight 10 in two parts: the bound is 15 + 1 = 16, yet one part always
  // holds two of them. No vertex alone is too heavy, so only the partitioning can tell.
  const TestHypergraph h = Chain({10, 10, 10});
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT})
    for (int threads : {0, 2}) {
      Request r;
      r.method = method;
      r.nparts = 2;
      r.eps = 0.1;
      r.threads = threads;
      const Outcome o = Partition(h, r);
      EXPECT_EQ(o.status, HYPRA_ERROR_BALANCE);
      for (int p : o.part) EXPECT_TRUE(p == 0 || p == 1) << p;
      EXPECT_EQ(o.objective, CutOf(h, o.part));
    }
}

TEST(Imbalance, WeightedNetlistAtSixteenPartsAndOnePercentIsInfeasible) {
  const std::optional<TestHypergraph> h = Bench("ibm01.weight.hgr");
  if (!h) GTEST_SKIP() << "benchmark hypergraph ibm01.weight.hgr not found in " HYPRA_BENCH_DIR;
  Request r;
  r.nparts = 16;
  r.eps = 0.01;
  EXPECT_EQ(Partition(*h, r).status, HYPRA_ERROR_BALANCE);
}

TEST(Imbalance, ZeroImbalanceKeepsTheUsualRun) {
  const TestHypergraph h = RingHypergraph(400, 600, 16, true);
  HYPRA_Params params;
  HYPRA_DefaultParams(&params);
  EXPECT_EQ(params.imbalance, 0.0);
  params.nparts = 5;
  params.seed = 3;
  std::vector<int> a(h.nvtxs), b(h.nvtxs), c(h.nvtxs);
  int cuta = 0, cutb = 0, cutc = 0;
  EXPECT_EQ(HYPRA_Partition(h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                            h.hewgts.data(), &params, a.data(), &cuta),
            HYPRA_OK);
  // A record of the layout before the field ignores whatever lies beyond it.
  params.size = static_cast<int>(offsetof(HYPRA_Params, imbalance));
  params.imbalance = 0.5;
  EXPECT_EQ(HYPRA_Partition(h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                            h.hewgts.data(), &params, b.data(), &cutb),
            HYPRA_OK);
  EXPECT_EQ(a, b);
  EXPECT_EQ(cuta, cutb);
  // The options-vector entry point gives the same run.
  const int options[9] = {1, 10, 1, 1, 1, 0, 0, 3, 0};
  HYPRA_PartRecursive(h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                      h.hewgts.data(), 5, 5, options, c.data(), &cutc);
  EXPECT_EQ(a, c);
  EXPECT_EQ(cuta, cutc);
}

TEST(Imbalance, ImbalanceOutsideTheRangeIsRefused) {
  const TestHypergraph h = Chain({1, 1, 1, 1});
  for (double eps : {-0.1, 1.0}) {
    HYPRA_Params params;
    HYPRA_DefaultParams(&params);
    params.imbalance = eps;
    std::vector<int> part(h.nvtxs);
    EXPECT_EQ(HYPRA_Partition(h.nvtxs, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                              h.hewgts.data(), &params, part.data(), nullptr),
              HYPRA_ERROR_ARGS);
    EXPECT_NE(std::string(HYPRA_LastError()).find("imbalance should be"), std::string::npos);
  }
}

TEST(Imbalance, PartWeightBound) {
  EXPECT_EQ(PartWeightBound__(12752, 64, 0.03), 206);  // ceil = 200
  EXPECT_EQ(PartWeightBound__(12752, 64, 0.01), 202);
  EXPECT_EQ(PartWeightBound__(100, 3, 0.029), 34);  // ceil = 34, 0.986 rounds down
  EXPECT_EQ(PartWeightBound__(1000, 10, 0.07), 107);
  EXPECT_EQ(PartWeightBound__(100, 1, 0.29), 129);
  EXPECT_EQ(PartWeightBound__(0, 4, 0.5), 0);
  EXPECT_EQ(PartWeightBound__(1073741823, 2, 0.999), 1073204953);
}

// Following the tolerances down any path of the recursion, with each side at the heaviest its
// bisection allows, never leaves a part above the bound.
TEST(Imbalance, BisectionTolerancesCompoundWithinTheBound) {
  for (int k : {2, 3, 5, 7, 16, 64, 100})
    for (double eps : {0.01, 0.03, 0.10}) {
      const int total = 100000;
      PartCtrl ctrl{};
      ctrl.run = testrun::Fresh();
      ctrl.Imbalance = eps;
      ctrl.MaxPartWgt = PartWeightBound__(total, k, eps);
      // The heaviest weight a subtree of `nparts` parts can be handed, following the side that
      // the bisection bounds give the most weight.
      struct Walk {
        PartCtrl *ctrl;
        long long Worst(long long weight, int nparts) {
          if (nparts == 1) return weight;
          const int nleft = nparts / 2;
          ctrl->run->now.TargetFrac = static_cast<float>(static_cast<double>(nleft) / nparts);
          std::vector<int> wgts(1000, static_cast<int>(weight / 1000));
          wgts[0] += static_cast<int>(weight % 1000);
          HGraph g{};
          g.nvtxs = 1000;
          g.cellwgt = wgts.data();
          ctrl->run->now.UBfactor = BisectionTolerance__(ctrl, &g, nparts, nleft);
          EXPECT_GT(ctrl->run->now.UBfactor, 0.0f);
          const int pw[2] = {0, static_cast<int>(weight)};
          const refine2::Bounds b = refine2::BalanceBounds(ctrl, pw);
          const long long left = weight - b.min1, right = weight - b.min0;
          const long long l = Worst(left, nleft), r = Worst(right, nparts - nleft);
          return l > r ? l : r;
        }
      } walk{&ctrl};
      EXPECT_LE(walk.Worst(total, k), ctrl.MaxPartWgt) << k << " parts, EPS " << eps;
    }
}

}  // namespace
