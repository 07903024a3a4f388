// Hypergraphs for the tests of every subsystem: built from pin lists, read from the benchmark
// files, and the cut of a part vector recomputed straight from the pins.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "core/core.h"

using namespace hypra;

namespace testhg {

using Nets = std::vector<std::vector<int>>;

// A hypergraph as plain arrays (the shape the public entry points take): hyperedge pointers,
// pins, hyperedge weights and vertex weights.
struct Hypergraph {
  int nvtxs = 0;
  std::vector<int> eptr{0}, eind, hewgts, vwgts;
  int nhedges() const { return static_cast<int>(eptr.size()) - 1; }
  void Add(const std::vector<int> &pins, int wgt = 1) {
    eind.insert(eind.end(), pins.begin(), pins.end());
    eptr.push_back(static_cast<int>(eind.size()));
    hewgts.push_back(wgt);
  }
};

// An HGraph holding only the hyperedge arrays (pointers, pins, weights; unit weights unless
// given); vertex weights and incidence lists are left to the caller.
inline HGraph *NetsOnly(int nvtxs, const Nets &nets, const std::vector<int> &netwgt = {}) {
  HGraph *g = CreateHGraph__();
  g->nvtxs = nvtxs;
  g->nhedges = static_cast<int>(nets.size());
  int npins = 0;
  for (const auto &n : nets) npins += static_cast<int>(n.size());
  g->netptr = imalloc__(g->nhedges + 1, "test: netptr");
  g->netind = imalloc__(npins, "test: netind");
  g->netwgt = imalloc__(g->nhedges, "test: netwgt");
  g->netptr[0] = 0;
  int k = 0;
  for (int e = 0; e < g->nhedges; e++) {
    for (int v : nets[e]) g->netind[k++] = v;
    g->netptr[e + 1] = k;
    g->netwgt[e] = netwgt.empty() ? 1 : netwgt[e];
  }
  return g;
}

// A hypergraph from 0-based pin lists with incidence arrays built as the partitioner builds
// them; weights default to 1.
inline HGraph *Make(int nvtxs, const Nets &nets, const std::vector<int> &netwgt = {},
                    const std::vector<int> &cellwgt = {}, int nfixed = 0) {
  HGraph *g = NetsOnly(nvtxs, nets, netwgt);
  g->nfixed = nfixed;
  g->cellwgt = imalloc__(nvtxs, "test: cellwgt");
  for (int v = 0; v < nvtxs; v++) g->cellwgt[v] = cellwgt.empty() ? 1 : cellwgt[v];
  CreateIncidentHGraph__(g);
  return g;
}

// An HGraph record owning copies of the arrays, without incidence lists (as the entry points
// receive a hypergraph); vertices beyond vwgts weigh 1.
inline HGraph *ToHGraph(const Hypergraph &h) {
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

// Total weight of the hyperedges whose pins are not all in one part.
inline int Cut(const Hypergraph &h, const std::vector<int> &part) {
  int cut = 0;
  for (int e = 0; e < h.nhedges(); e++)
    for (int j = h.eptr[e] + 1; j < h.eptr[e + 1]; j++)
      if (part[h.eind[j]] != part[h.eind[h.eptr[e]]]) {
        cut += h.hewgts[e];
        break;
      }
  return cut;
}

// Occurrences of pattern in text (overlapping ones included).
inline int Count(const std::string &text, const std::string &pattern) {
  int n = 0;
  for (size_t pos = text.find(pattern); pos != std::string::npos; pos = text.find(pattern, pos + 1))
    n++;
  return n;
}

// A benchmark file as pin lists: 0-based pins without repeats, hyperedge and vertex weights
// (1 where the file gives none).
struct BenchHypergraph {
  int nvtxs = 0;
  Nets nets;
  std::vector<int> netwgt, cellwgt;
};

// Reads a file "nhedges nvtxs [fmt]" ('%' comment lines; fmt units digit: a weight first on each
// hyperedge line, tens digit: vertex weights after the hyperedges). Pins out of range and
// repeated pins are dropped, and so are hyperedges left with fewer than minpins pins. Empty when
// the file is absent or its header unreadable.
inline std::optional<BenchHypergraph> ReadBench(const std::string &path, int minpins = 0) {
  FILE *f = std::fopen(path.c_str(), "r");
  if (f == nullptr) return std::nullopt;
  std::string line;
  auto getline = [&]() {
    line.clear();
    int c;
    while ((c = std::fgetc(f)) != EOF && c != '\n') line.push_back(static_cast<char>(c));
    return !(c == EOF && line.empty());
  };
  while (getline() && (line.empty() || line[0] == '%')) {
  }
  int nhedges = 0, nvtxs = 0, fmt = 0;
  if (std::sscanf(line.c_str(), "%d %d %d", &nhedges, &nvtxs, &fmt) < 2 || nvtxs < 0) {
    std::fclose(f);
    return std::nullopt;
  }
  BenchHypergraph b;
  b.nvtxs = nvtxs;
  b.cellwgt.assign(nvtxs, 1);
  std::vector<int> mark(nvtxs, -1);
  for (int e = 0; e < nhedges && getline();) {
    if (line.empty() || line[0] == '%') continue;
    const char *p = line.c_str();
    char *end;
    std::vector<int> pins;
    int w = 1;
    bool first = true;
    for (long x = std::strtol(p, &end, 10); end != p; x = std::strtol(p, &end, 10)) {
      p = end;
      if (first && fmt % 10 == 1) {
        w = static_cast<int>(x);
      } else if (x >= 1 && x <= nvtxs && mark[x - 1] != e) {
        mark[x - 1] = e;
        pins.push_back(static_cast<int>(x) - 1);
      }
      first = false;
    }
    if (static_cast<int>(pins.size()) >= minpins) {
      b.nets.push_back(pins);
      b.netwgt.push_back(w);
    }
    e++;
  }
  if (fmt / 10 % 10 == 1)
    for (int v = 0; v < nvtxs && getline();)
      if (!line.empty() && line[0] != '%')
        b.cellwgt[v++] = static_cast<int>(std::strtol(line.c_str(), nullptr, 10));
  std::fclose(f);
  return b;
}

// The benchmark file as a hypergraph with incidence arrays (see ReadBench); null when absent.
inline HGraph *MakeBench(const std::string &path, int minpins = 0) {
  const std::optional<BenchHypergraph> b = ReadBench(path, minpins);
  return b ? Make(b->nvtxs, b->nets, b->netwgt, b->cellwgt) : nullptr;
}

}  // namespace testhg
