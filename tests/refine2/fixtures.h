// Hypergraphs, control records and independent reference computations for the two-way
// refinement tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "common/test_run.h"
#include "core/core.h"
#include "refine2/refine2.h"

using namespace hypra;

namespace r2test {

using testhg::Nets;

// A control record as a bisection of two equal halves with a 5 % tolerance sets it.
inline PartCtrl Ctrl(int dbglvl = 0) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.run->now.CoarsenTo = 100;
  ctrl.run->now.CType = 1;
  ctrl.run->now.RType = 1;
  ctrl.Nruns = 1;
  ctrl.MaxNetSize = 50;
  ctrl.run->now.UBfactor = 0.05f;
  ctrl.Seed = 1;
  ctrl.run->now.dbglvl = dbglvl;
  ctrl.Nparts = 2;
  ctrl.run->now.TargetFrac = 0.5f;
  return ctrl;
}

// A hypergraph from 0-based pin lists with incidence and refinement arrays; `where` is copied in
// when given. Weights default to 1.
inline HGraph *Make(int nvtxs, const Nets &nets, std::vector<int> netwgt = {},
                    std::vector<int> cellwgt = {}, std::vector<int> where = {}, int nfixed = 0) {
  HGraph *g = testhg::Make(nvtxs, nets, netwgt, cellwgt, nfixed);
  AllocateRefinementMemory__(g);
  for (int v = 0; v < static_cast<int>(where.size()); v++) g->where[v] = where[v];
  return g;
}

inline std::vector<int> Vec(const int *a, int n) {
  return n > 0 ? std::vector<int>(a, a + n) : std::vector<int>{};
}

inline std::vector<int> Where(const HGraph *g) {
  return Vec(g->where, g->nvtxs);
}

// The bisection state recomputed from `where` straight from the definitions.
struct State {
  std::vector<int> ndeg0, ndeg1, gain;
  int pwgt0 = 0, pwgt1 = 0, cut = 0;
};

inline State Reference(const HGraph *g) {
  State s;
  s.ndeg0.assign(g->nhedges, 0);
  s.ndeg1.assign(g->nhedges, 0);
  s.gain.assign(g->nvtxs, 0);
  for (int e = 0; e < g->nhedges; e++) {
    for (int j = g->netptr[e]; j < g->netptr[e + 1]; j++)
      (g->where[g->netind[j]] == 0 ? s.ndeg0 : s.ndeg1)[e]++;
    if (s.ndeg0[e] > 0 && s.ndeg1[e] > 0) s.cut += g->netwgt[e];
  }
  for (int v = 0; v < g->nvtxs; v++) {
    (g->where[v] == 0 ? s.pwgt0 : s.pwgt1) += g->cellwgt[v];
    for (int j = g->incptr[v]; j < g->incptr[v + 1]; j++) {
      const int e = g->incind[j];
      const int own = g->where[v] == 0 ? s.ndeg0[e] : s.ndeg1[e];
      const int other = g->where[v] == 0 ? s.ndeg1[e] : s.ndeg0[e];
      if (other == 0)
        s.gain[v] -= g->netwgt[e];
      else if (own == 1)
        s.gain[v] += g->netwgt[e];
    }
  }
  return s;
}

inline void ExpectGainsExact(const HGraph *g) {
  const State s = Reference(g);
  EXPECT_EQ(Vec(g->gain, g->nvtxs), s.gain);
  EXPECT_EQ(Vec(g->ndeg[0], g->nhedges), s.ndeg0);
  EXPECT_EQ(Vec(g->ndeg[1], g->nhedges), s.ndeg1);
}

inline void ExpectCutAndWeightsExact(const HGraph *g) {
  const State s = Reference(g);
  EXPECT_EQ(g->mincut, s.cut);
  EXPECT_EQ(g->pwgts[0], s.pwgt0);
  EXPECT_EQ(g->pwgts[1], s.pwgt1);
}

// Lower bounds of the two sides for the test control record (TargetFrac 0.5, UBfactor 0.05),
// worked out by hand for the totals used in the tests: side 0 in float, side 1 in double.
inline bool Balanced(const HGraph *g, const PartCtrl &ctrl) {
  const int w = g->pwgts[0] + g->pwgts[1];
  const int min0 =
      static_cast<int>((ctrl.run->now.TargetFrac - ctrl.run->now.UBfactor) * static_cast<float>(w));
  const int min1 = static_cast<int>((1.0 - ctrl.run->now.TargetFrac - ctrl.run->now.UBfactor) * w);
  return g->pwgts[0] >= min0 && g->pwgts[1] >= min1;
}

using testhg::Count;

// Random hypergraph without single-pin hyperedges: nets of 2..maxsize distinct pins, vertex
// weights 1..maxcw, hyperedge weights 1..maxnw.
inline HGraph *Random(unsigned seed, int nvtxs, int nhedges, int maxsize, int maxcw, int maxnw,
                      int nfixed = 0) {
  std::mt19937 rng(seed);
  Nets nets;
  std::vector<int> netwgt, cellwgt;
  for (int e = 0; e < nhedges; e++) {
    const int size = 2 + static_cast<int>(rng() % (maxsize - 1));
    std::vector<int> pins;
    while (static_cast<int>(pins.size()) < size) {
      const int v = static_cast<int>(rng() % nvtxs);
      bool dup = false;
      for (int u : pins) dup = dup || u == v;
      if (!dup) pins.push_back(v);
    }
    nets.push_back(pins);
    netwgt.push_back(1 + static_cast<int>(rng() % maxnw));
  }
  for (int v = 0; v < nvtxs; v++) cellwgt.push_back(1 + static_cast<int>(rng() % maxcw));
  return Make(nvtxs, nets, netwgt, cellwgt, {}, nfixed);
}

// A bisection that alternates sides in vertex order (balanced for unit weights).
inline void Alternate(HGraph *g) {
  for (int v = 0; v < g->nvtxs; v++) g->where[v] = v % 2;
}

// Reads a benchmark hypergraph (header "nhedges nvtxs [fmt]", 1-based pins, '%' comments),
// dropping hyperedges with fewer than two distinct pins. Null when the file is absent.
inline HGraph *ReadBench(const std::string &name) {
  const auto b = testhg::ReadBench(std::string(HYPRA_BENCH_DIR) + "/" + name, 2);
  return b ? Make(b->nvtxs, b->nets, b->netwgt, b->cellwgt) : nullptr;
}

}  // namespace r2test
