// The weights the engine can partition with int arithmetic. Every later figure is a sum of
// weights: coarse vertex weights and part weights (at most the total vertex weight, which the
// coarsening limit doubles), cuts, the recursion's sum of bisection cuts and the sum of external
// degrees (each at most the sum of every hyperedge's weight, in magnitude, times its size, since a
// hyperedge counts at most once per pin). Checking those totals once, in 64 bits, keeps every
// figure within an int.
#include <climits>
#include <cstdio>

#include "core/core.h"

namespace hypra {

int WeightLimitProblem__(int nvtxs, int nhedges, const int *cellwgt, const int *netptr,
                         const int *netwgt, char *why, int size) {
  long long total = 0;
  if (cellwgt != nullptr) {
    for (int v = 0; v < nvtxs; v++) {
      if (cellwgt[v] < 0) {
        std::snprintf(why, size, "vertex %d has the negative weight %d", v + 1, cellwgt[v]);
        return 1;
      }
      total += cellwgt[v];
    }
  } else {
    total = nvtxs;
  }
  if (total > kMaxTotalCellWgt) {
    std::snprintf(why, size, "the vertex weights add up to %lld, more than the %d allowed", total,
                  kMaxTotalCellWgt);
    return 1;
  }

  long long weighted_pins = 0;
  for (int e = 0; e < nhedges; e++) {
    // A negative hyperedge weight is the caller's to give (it counts against the cut); its
    // magnitude bounds the sums all the same.
    const long long w = netwgt == nullptr ? 1
                        : netwgt[e] < 0   ? -static_cast<long long>(netwgt[e])
                                          : netwgt[e];
    const long long pins = netptr[e + 1] - netptr[e];
    weighted_pins += w * (pins > 1 ? pins : 1);
    if (weighted_pins > kMaxWeightedPins) {
      std::snprintf(why, size,
                    "the hyperedge weights times the hyperedge sizes add up to more than %d, so "
                    "cuts and sums of external degrees would not fit",
                    kMaxWeightedPins);
      return 1;
    }
  }
  return 0;
}

}  // namespace hypra
