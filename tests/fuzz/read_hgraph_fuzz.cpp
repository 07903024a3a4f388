// Fuzz target: the hypergraph reader, plain and strict, on any file. A file it accepts must give
// a well-formed hypergraph: offsets that never decrease, pins in range, no pin twice in a
// hyperedge, weights within the limits.
#include <cstdint>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "fuzz/fuzz_support.h"

using namespace hypra;

namespace {

void Check(const HGraph *g) {
  if (g->nvtxs < 2 || g->nhedges < 0) fuzz::Fail("bad counts %d %d", g->nvtxs, g->nhedges);
  if (g->netptr[0] != 0) fuzz::Fail("netptr[0] = %d", g->netptr[0]);
  std::vector<int> seen;
  for (int e = 0; e < g->nhedges; e++) {
    if (g->netptr[e + 1] < g->netptr[e]) fuzz::Fail("netptr decreases at %d", e);
    // Only the last hyperedge may be empty.
    if (g->netptr[e + 1] == g->netptr[e] && e + 1 < g->nhedges) fuzz::Fail("empty hyperedge %d", e);
    for (int j = g->netptr[e]; j < g->netptr[e + 1]; j++) {
      const int v = g->netind[j];
      if (v < 0 || v >= g->nvtxs) fuzz::Fail("pin %d out of range", v);
      for (int i = g->netptr[e]; i < j; i++)
        if (g->netind[i] == v) fuzz::Fail("pin %d twice in hyperedge %d", v, e);
    }
  }
  char why[256];
  if (WeightLimitProblem__(g->cellwgt != nullptr ? g->nvtxs : 0, g->nhedges, g->cellwgt, g->netptr,
                           g->netwgt, why, sizeof(why)) != 0)
    fuzz::Fail("accepted weights beyond the limits: %s", why);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string path = fuzz::WriteScratch("input.hgr", data, size);
  for (int strict = 0; strict <= 1; strict++) {
    static HGraph *g;
    g = nullptr;
    fuzz::Guarded([&] { g = ReadHGraphChecked(path.c_str(), strict); });
    if (g != nullptr) {
      Check(g);
      FreeHGraph__(g);
    }
  }
  return 0;
}
