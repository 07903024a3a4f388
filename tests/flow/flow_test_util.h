// Random hypergraphs and partitions, and objectives recomputed from the pins, for the flow tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <set>
#include <vector>

#include "common/test_hypergraphs.h"
#include "core/core.h"
#include "flow/flow.h"

namespace flowtest {

// A small deterministic generator of the tests' own (the engine's stays untouched).
struct Lcg {
  uint64_t state;
  explicit Lcg(uint64_t seed) : state(seed * 2862933555777941757ULL + 3037000493ULL) {}
  int Next(int n) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int>((state >> 33) % static_cast<uint64_t>(n));
  }
};

struct Instance {
  int nvtxs = 0;
  testhg::Nets nets;
  std::vector<int> netwgt, cellwgt;
};

// nvtxs vertices weighing 1..maxcw, hyperedges of 2..maxsize distinct pins weighing 1..maxew;
// a path of two-pin hyperedges keeps every vertex reachable.
inline Instance RandomInstance(Lcg &rng, int nvtxs, int nhedges, int maxsize, int maxcw,
                               int maxew) {
  Instance in;
  in.nvtxs = nvtxs;
  for (int v = 0; v < nvtxs; v++) in.cellwgt.push_back(1 + rng.Next(maxcw));
  for (int v = 0; v + 1 < nvtxs; v++) {
    if (rng.Next(3) == 0) continue;
    in.nets.push_back({v, v + 1});
    in.netwgt.push_back(1 + rng.Next(maxew));
  }
  for (int e = 0; e < nhedges; e++) {
    const int size = 2 + rng.Next(maxsize - 1);
    std::set<int> pins;
    while (static_cast<int>(pins.size()) < std::min(size, nvtxs)) pins.insert(rng.Next(nvtxs));
    in.nets.emplace_back(pins.begin(), pins.end());
    in.netwgt.push_back(1 + rng.Next(maxew));
  }
  return in;
}

inline HGraph *ToGraph(const Instance &in, bool incidence) {
  if (incidence) return testhg::Make(in.nvtxs, in.nets, in.netwgt, in.cellwgt);
  HGraph *g = testhg::NetsOnly(in.nvtxs, in.nets, in.netwgt);
  g->cellwgt = imalloc__(in.nvtxs, "test: cellwgt");
  for (int v = 0; v < in.nvtxs; v++) g->cellwgt[v] = in.cellwgt[v];
  return g;
}

// Cut (objective 1) or connectivity - 1 (objective 2) of part.
inline long long Objective(const Instance &in, const std::vector<int> &part, int objective) {
  long long total = 0;
  for (size_t e = 0; e < in.nets.size(); e++) {
    std::set<int> parts;
    for (int v : in.nets[e]) parts.insert(part[v]);
    const long long lambda = static_cast<long long>(parts.size());
    if (lambda > 1) total += in.netwgt[e] * (objective == FLOW_OBJ_CUT ? 1 : lambda - 1);
  }
  return total;
}

inline std::vector<long long> PartWeights(const Instance &in, const std::vector<int> &part,
                                          int nparts) {
  std::vector<long long> w(nparts, 0);
  for (int v = 0; v < in.nvtxs; v++) w[part[v]] += in.cellwgt[v];
  return w;
}

inline long long TotalWeight(const Instance &in) {
  return std::accumulate(in.cellwgt.begin(), in.cellwgt.end(), 0LL);
}

// A random partition in which no part exceeds maxpartwgt: vertices in random order, each into a
// random part with room (the lightest part when none has).
inline std::vector<int> RandomPartition(Lcg &rng, const Instance &in, int nparts,
                                        long long maxpartwgt) {
  std::vector<int> order(in.nvtxs), part(in.nvtxs, 0);
  std::iota(order.begin(), order.end(), 0);
  for (int i = in.nvtxs - 1; i > 0; i--) std::swap(order[i], order[rng.Next(i + 1)]);
  std::vector<long long> w(nparts, 0);
  for (int v : order) {
    std::vector<int> room;
    for (int p = 0; p < nparts; p++)
      if (w[p] + in.cellwgt[v] <= maxpartwgt) room.push_back(p);
    int p;
    if (room.empty())
      p = static_cast<int>(std::min_element(w.begin(), w.end()) - w.begin());
    else
      p = room[rng.Next(static_cast<int>(room.size()))];
    part[v] = p;
    w[p] += in.cellwgt[v];
  }
  return part;
}

}  // namespace flowtest
