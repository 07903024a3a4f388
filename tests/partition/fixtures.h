// Small generated hypergraphs for the partitioning tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/core.h"

struct TestHypergraph {
  int nvtxs = 0;
  std::vector<int> eptr{0};
  std::vector<int> eind;
  std::vector<int> hewgts;
  std::vector<int> vwgts;
  int nhedges() const { return static_cast<int>(eptr.size()) - 1; }
  void Add(const std::vector<int> &pins, int wgt = 1) {
    eind.insert(eind.end(), pins.begin(), pins.end());
    eptr.push_back(static_cast<int>(eind.size()));
    hewgts.push_back(wgt);
  }
};

// A deterministic generator independent of the C library's rand(), so fixtures never disturb
// the random sequence the partitioner draws from.
class Lcg {
 public:
  explicit Lcg(uint64_t seed) : state_(seed * 6364136223846793005ULL + 1442695040888963407ULL) {}
  int Next(int range) {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int>((state_ >> 33) % static_cast<uint64_t>(range));
  }

 private:
  uint64_t state_;
};

// Vertices on a ring with local hyperedges of 2 to 5 pins: easy to cut well, hard to cut badly.
inline TestHypergraph RingHypergraph(int nvtxs, int nhedges, uint64_t seed, bool weighted = false) {
  TestHypergraph h;
  h.nvtxs = nvtxs;
  Lcg rng(seed);
  for (int e = 0; e < nhedges; e++) {
    int size = 2 + rng.Next(4);
    int start = rng.Next(nvtxs);
    std::vector<int> pins;
    for (int k = 0; k < size; k++) {
      int v = (start + k * (1 + rng.Next(3))) % nvtxs;
      bool dup = false;
      for (int p : pins) dup |= p == v;
      if (!dup) pins.push_back(v);
    }
    h.Add(pins, weighted ? 1 + rng.Next(5) : 1);
  }
  h.vwgts.assign(nvtxs, 1);
  if (weighted)
    for (auto &w : h.vwgts) w = 1 + rng.Next(4);
  return h;
}

inline int CutOf(const TestHypergraph &h, const std::vector<int> &part) {
  int cut = 0;
  for (int e = 0; e < h.nhedges(); e++)
    for (int j = h.eptr[e] + 1; j < h.eptr[e + 1]; j++)
      if (part[h.eind[j]] != part[h.eind[h.eptr[e]]]) {
        cut += h.hewgts[e];
        break;
      }
  return cut;
}

inline int Count(const std::string &text, const std::string &what) {
  int n = 0;
  for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1)) n++;
  return n;
}

// Builds an HGraph record that owns copies of the arrays.
inline HGraph *ToHGraph(const TestHypergraph &h) {
  HGraph *g = CreateHGraph__();
  g->nvtxs = h.nvtxs;
  g->nhedges = h.nhedges();
  g->netptr = icopy__(g->nhedges + 1, h.eptr.data(), imalloc__(g->nhedges + 1, "test: netptr"));
  g->netind = icopy__(h.eptr.back(), h.eind.data(), imalloc__(h.eptr.back(), "test: netind"));
  g->netwgt = icopy__(g->nhedges, h.hewgts.data(), imalloc__(g->nhedges, "test: netwgt"));
  g->cellwgt = ismalloc__(h.nvtxs, 1, "test: cellwgt");
  for (int v = 0; v < h.nvtxs && v < static_cast<int>(h.vwgts.size()); v++)
    g->cellwgt[v] = h.vwgts[v];
  return g;
}
