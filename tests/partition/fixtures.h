// Small generated hypergraphs for the partitioning tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "core/core.h"

using namespace hypra;

using TestHypergraph = testhg::Hypergraph;

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
  return testhg::Cut(h, part);
}

using testhg::Count;

// Builds an HGraph record that owns copies of the arrays.
using testhg::ToHGraph;
