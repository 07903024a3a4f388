// Small hypergraphs for the coarsening tests, built in memory or read from the bench files.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "common/test_run.h"
#include "core/core.h"

using namespace hypra;

namespace testgraphs {

// A hypergraph from pin lists (0-based) with optional weights; incidence arrays built as the
// partitioner builds them, nfixed 0.
using testhg::Make;

// A benchmark file read whole (every hyperedge kept); null when the file is absent.
inline HGraph *ReadBench(const std::string &path) {
  return testhg::MakeBench(path);
}

// A control record for coarsening: CoarsenTo 100, the given matching type, vertex-weight bound
// and hyperedge-size limit.
inline PartCtrl Ctrl(int ctype, int maxcellwgt, int maxnetsize = 50) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.run->now.CoarsenTo = 100;
  ctrl.MaxNetSize = maxnetsize;
  ctrl.run->now.CType = ctype;
  ctrl.run->now.MaxCellWgt = maxcellwgt;
  return ctrl;
}

// The same with the vertex-weight bound the partitioner derives from g's total weight.
inline PartCtrl MakeCtrl(int ctype, const HGraph *g) {
  return Ctrl(ctype, 2 * iasum__(g->nvtxs, g->cellwgt) / 100);
}

// Frees every level of the chain below and including g.
inline void FreeChain(HGraph *g) {
  while (g) {
    HGraph *next = g->coarser;
    FreeHGraph__(g);
    g = next;
  }
}

}  // namespace testgraphs

namespace testgraphs {

// A random hypergraph of n vertices and m hyperedges of 2 .. maxsize distinct pins, weights 1 .. 3
// for hyperedges and 1 .. 2 for vertices; a private generator leaves rand() alone.
inline HGraph *Random(int n, int m, int maxsize, unsigned seed) {
  unsigned x = seed * 2654435761u + 1;
  auto next = [&](int bound) {
    x = x * 1664525u + 1013904223u;
    return static_cast<int>((x >> 8) % static_cast<unsigned>(bound));
  };
  std::vector<std::vector<int>> nets;
  std::vector<int> netwgt, cellwgt;
  for (int e = 0; e < m; e++) {
    const int size = 2 + next(maxsize - 1);
    std::vector<int> pins;
    // Mostly local pins so that coarsening finds structure; a few long-range ones.
    const int base = next(n);
    while (static_cast<int>(pins.size()) < size) {
      const int v = next(4) == 0 ? next(n) : (base + next(20)) % n;
      bool dup = false;
      for (int u : pins) dup = dup || u == v;
      if (!dup) pins.push_back(v);
    }
    nets.push_back(pins);
    netwgt.push_back(1 + next(3));
  }
  for (int v = 0; v < n; v++) cellwgt.push_back(1 + next(2));
  return Make(n, nets, netwgt, cellwgt);
}

}  // namespace testgraphs
