// Small hypergraphs for the coarsening tests, built in memory or read from the bench files.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/core.h"

namespace testgraphs {

// A hypergraph from pin lists (0-based) with optional weights; incidence arrays built as the
// partitioner builds them, nfixed 0.
inline HGraph *Make(int nvtxs, const std::vector<std::vector<int>> &nets,
                    std::vector<int> netwgt = {}, std::vector<int> cellwgt = {}) {
  HGraph *g = CreateHGraph__();
  const int nhedges = static_cast<int>(nets.size());
  g->nvtxs = nvtxs;
  g->nhedges = nhedges;
  g->nfixed = 0;
  int npins = 0;
  for (const auto &n : nets) npins += static_cast<int>(n.size());
  g->netptr = imalloc__(nhedges + 1, "test: netptr");
  g->netind = imalloc__(npins, "test: netind");
  g->netwgt = imalloc__(nhedges, "test: netwgt");
  g->cellwgt = imalloc__(nvtxs, "test: cellwgt");
  g->netptr[0] = 0;
  int k = 0;
  for (int e = 0; e < nhedges; e++) {
    for (int v : nets[e]) g->netind[k++] = v;
    g->netptr[e + 1] = k;
    g->netwgt[e] = netwgt.empty() ? 1 : netwgt[e];
  }
  for (int v = 0; v < nvtxs; v++) g->cellwgt[v] = cellwgt.empty() ? 1 : cellwgt[v];
  CreateIncidentHGraph__(g);
  return g;
}

// Reads "nhedges nvtxs [fmt]" files: fmt units digit = hyperedge weights first on each line,
// tens digit = vertex weights after the hyperedges. Returns null when the file is absent.
inline HGraph *ReadBench(const std::string &path) {
  FILE *f = std::fopen(path.c_str(), "r");
  if (!f) return nullptr;
  int nhedges = 0, nvtxs = 0, fmt = 0;
  char line[1 << 16];
  while (std::fgets(line, sizeof line, f) && line[0] == '%') {
  }
  if (std::sscanf(line, "%d %d %d", &nhedges, &nvtxs, &fmt) < 2) {
    std::fclose(f);
    return nullptr;
  }
  std::vector<std::vector<int>> nets;
  std::vector<int> netwgt, cellwgt;
  std::string buf;
  int c;
  auto readline = [&]() -> bool {
    buf.clear();
    while ((c = std::fgetc(f)) != EOF && c != '\n') buf.push_back(static_cast<char>(c));
    return !(c == EOF && buf.empty());
  };
  while (static_cast<int>(nets.size()) < nhedges && readline()) {
    if (buf.empty() || buf[0] == '%') continue;
    std::vector<int> pins;
    const char *p = buf.c_str();
    char *end;
    bool first = true;
    int w = 1;
    for (long x = std::strtol(p, &end, 10); end != p; x = std::strtol(p, &end, 10)) {
      p = end;
      if (first && (fmt % 10) == 1) {
        w = static_cast<int>(x);
      } else {
        const int v = static_cast<int>(x) - 1;
        bool dup = false;
        for (int u : pins) dup = dup || u == v;
        if (!dup) pins.push_back(v);
      }
      first = false;
    }
    nets.push_back(pins);
    netwgt.push_back(w);
  }
  if ((fmt / 10) % 10 == 1) {
    while (static_cast<int>(cellwgt.size()) < nvtxs && readline()) {
      if (buf.empty() || buf[0] == '%') continue;
      cellwgt.push_back(static_cast<int>(std::strtol(buf.c_str(), nullptr, 10)));
    }
    if (static_cast<int>(cellwgt.size()) < nvtxs) cellwgt.clear();
  }
  std::fclose(f);
  return Make(nvtxs, nets, netwgt, cellwgt);
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
