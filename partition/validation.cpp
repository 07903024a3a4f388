// Checks of the arrays a caller hands the library: anything that would make the engine read or
// write out of bounds, or form a sum its ints cannot hold, ends the call with a message instead.
#include "partition/partition.h"

namespace hypra {

// The arrays are the caller's; anything that would make the engine read or write out of bounds
// ends the run with a message instead.
void ValidateHypergraph__(int nvtxs, int nhedges, const int *eptr, const int *eind) {
  if (nvtxs < 0) errexit__("HYPRA: the number of vertices is negative (%d).", nvtxs);
  if (nhedges < 0) errexit__("HYPRA: the number of hyperedges is negative (%d).", nhedges);
  if (eptr == nullptr) errexit__("HYPRA: the hyperedge offsets (eptr) are missing.");
  if (eptr[0] != 0) errexit__("HYPRA: eptr[0] must be 0, not %d.", eptr[0]);
  for (int e = 0; e < nhedges; e++)
    if (eptr[e + 1] < eptr[e])
      errexit__("HYPRA: eptr decreases at hyperedge %d (%d > %d).", e, eptr[e], eptr[e + 1]);
  if (eptr[nhedges] > 0 && eind == nullptr) errexit__("HYPRA: the pins (eind) are missing.");
  for (int j = 0; j < eptr[nhedges]; j++)
    if (eind[j] < 0 || eind[j] >= nvtxs)
      errexit__("HYPRA: pin %d names vertex %d, outside 0..%d.", j, eind[j], nvtxs - 1);
}

// Weights whose sums would not fit the engine's ints end the run, as malformed arrays do.
void ValidateWeights__(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                       const int *hewgts) {
  char why[256];
  if (WeightLimitProblem__(nvtxs, nhedges, vwgts, eptr, hewgts, why, sizeof(why)) != 0)
    errexit__("HYPRA: %s.", why);
}

void ValidateParts__(int nvtxs, const int *part, int lo, int hi, const char *what) {
  if (nvtxs > 0 && part == nullptr) errexit__("HYPRA: the part array is missing.");
  for (int v = 0; v < nvtxs; v++)
    if (part[v] < lo || part[v] > hi)
      errexit__("HYPRA: %s of vertex %d is %d, outside %d..%d.", what, v, part[v], lo, hi);
}

}  // namespace hypra
