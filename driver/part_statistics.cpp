// Quality report of a partition: cut, sum of external degrees, scaled cost, absorption and the
// weight and external degree of every part.
#include <cstdio>

#include "driver/driver.h"

namespace hypra {

namespace {

// Pin counts of one hyperedge per part. Only the parts the hyperedge touches are listed and
// cleared, so a hyperedge costs its size, not the number of parts.
struct PartDegrees {
  int *pdegrees;  // nparts counters, zero between hyperedges
  int *touched;   // the parts with a non-zero counter
  int ntouched;
};

PartDegrees NewPartDegrees(int nparts) {
  return {ismalloc__(nparts, 0, "ComputePartCuts: pdegrees"),
          imalloc__(nparts, "ComputePartCuts: parts"), 0};
}

void FreePartDegrees(PartDegrees *d) {
  RVfree__(&d->pdegrees, &d->touched);
}

void CountPins(PartDegrees *d, int nparts, const int *pins, int size, const int *part,
               const char *caller) {
  for (int j = 0; j < size; j++) {
    const int p = part[pins[j]];
    if (p < 0 || p >= nparts)
      errexit__("%s: vertex %d is in part %d, outside 0..%d", caller, pins[j], p, nparts - 1);
    if (d->pdegrees[p]++ == 0) d->touched[d->ntouched++] = p;
  }
}

void ClearPins(PartDegrees *d) {
  for (int i = 0; i < d->ntouched; i++) d->pdegrees[d->touched[i]] = 0;
  d->ntouched = 0;
}

// Calls visit(size, weight, d) for every cut hyperedge, with the touched parts in increasing
// order; uncut(size) for every other one (a hyperedge without pins counts as uncut).
template <typename Cut, typename Uncut>
void VisitHyperedges(int nhedges, int nparts, const int *netptr, const int *netind,
                     const int *netwgt, const int *part, const char *caller, Cut visit,
                     Uncut uncut) {
  PartDegrees d = NewPartDegrees(nparts);
  for (int e = 0; e < nhedges; e++) {
    const int *pins = netind + netptr[e];
    const int size = netptr[e + 1] - netptr[e];
    CountPins(&d, nparts, pins, size, part, caller);
    if (size == 0 || d.pdegrees[part[pins[0]]] == size) {
      uncut();
    } else {
      iintsort__(d.ntouched, d.touched);
      visit(size, netwgt == nullptr ? 1 : netwgt[e], d);
    }
    ClearPins(&d);
  }
  FreePartDegrees(&d);
}

}  // namespace

void ComputePartWeights(int nvtxs, const int *cellwgt, const int *part, int *pwgts) {
  for (int v = 0; v < nvtxs; v++) pwgts[part[v]] += cellwgt == nullptr ? 1 : cellwgt[v];
}

void ComputePartCuts(int nhedges, int nparts, const int *netptr, const int *netind,
                     const int *netwgt, const int *part, int *pcuts) {
  iset__(nparts, 0, pcuts);
  VisitHyperedges(
      nhedges, nparts, netptr, netind, netwgt, part, "ComputePartCuts",
      [&](int, int w, const PartDegrees &d) {
        for (int i = 0; i < d.ntouched; i++) pcuts[d.touched[i]] += w;
      },
      [] {});
}

void PrintPartStatistics(int nvtxs, int nhedges, int nparts, const int *netptr, const int *netind,
                         const int *netwgt, const int *cellwgt, const int *part) {
  int *pwgts = ismalloc__(nparts, 0, "ComputePartCuts: pwgts");
  for (int v = 0; v < nvtxs; v++) {
    if (part[v] < 0 || part[v] >= nparts)
      errexit__("PrintPartStatistics: vertex %d is in part %d, outside 0..%d", v, part[v],
                nparts - 1);
    pwgts[part[v]] += cellwgt == nullptr ? 1 : cellwgt[v];
  }

  int *pcuts = ismalloc__(nparts, 0, "ComputePartCuts: pcuts");
  int cut = 0;
  // Accumulated in single precision: every addition is made in double and stored as a float.
  float absorption = 0.0f;
  VisitHyperedges(
      nhedges, nparts, netptr, netind, netwgt, part, "PrintPartStatistics",
      [&](int size, int w, const PartDegrees &d) {
        cut += w;
        for (int i = 0; i < d.ntouched; i++) {
          const int p = d.touched[i];
          pcuts[p] += w;
          absorption = static_cast<float>(absorption + 1.0 * (d.pdegrees[p] - 1) / (size - 1));
        }
      },
      [&] { absorption = static_cast<float>(absorption + 1.0); });

  long long soed = 0;
  float scaled = 0.0f;
  for (int p = 0; p < nparts; p++) {
    soed += pcuts[p];
    // An empty part divides by zero: inf, or NaN when it has no cut hyperedge either.
    scaled = static_cast<float>(scaled + 1.0 * pcuts[p] / pwgts[p]);
  }
  const float cost = static_cast<float>(scaled / (1.0 * nvtxs * (nparts - 1.0)));

  std::printf("\n --------------------------------------------------------------------------");
  std::printf("\n  Summary for the %d-way partition:", nparts);
  std::printf("\n                Hyperedge Cut:%10d\t\t(minimize)", cut);
  std::printf("\n      Sum of External Degrees:%10lld\t\t(minimize)", soed);
  std::printf("\n                  Scaled Cost:%10.2e\t\t(minimize)", cost);
  std::printf("\n                   Absorption:%10.2f\t\t(maximize)", absorption);
  std::printf("\n\n      Partition Sizes & External Degrees:\n\t");
  for (int p = 0; p < nparts; p++) {
    std::printf("%6d[%4d] ", pwgts[p], pcuts[p]);
    if ((p + 1) % 5 == 0) std::printf("\n\t");
  }
  RVfree__(&pwgts, &pcuts);
}

}  // namespace hypra
