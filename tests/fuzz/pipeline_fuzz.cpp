// Fuzz target: the whole partitioner on small hypergraphs with random settings. The input bytes
// are read as a stream of choices: the settings (method, Nparts from 2 to beyond the vertex
// count, UBfactor, CType 1-5, RType 1-3, V-cycle mode 0-3, reconstruction, runs, seed, fixed
// vertices), then the hypergraph (vertex and hyperedge weights, hyperedges of 1 to 12 pins). A run
// that finishes must give a valid partition: parts in range, fixed vertices in place, and the
// returned objective equal to the one recomputed from the partition where it is exact (no
// single-pin hyperedges, and for recursive bisection a cut not summed over split hyperedges).
// One byte more (absent in older inputs) may ask for the parallel mode as well: the same
// settings with up to 10 runs on 1 and on 2 or 3 threads must give the same partition and
// objective, or fail the same way (this reaches the final V-cycle that starts before the last
// runs end). A byte after that (absent in older inputs) may ask for the quality preset, with or
// without a bound on every part: its partition must be valid, its cut the one recomputed, every
// part within the bound when the call says it met it, and a second call must repeat it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "core/core.h"
#include "fuzz/fuzz_support.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

// Reads the input as a sequence of small numbers; past the end every number is 0.
struct Choices {
  const uint8_t *data;
  size_t size, at = 0;
  int Byte() { return at < size ? data[at++] : 0; }
  int Pick(int lo, int hi) { return lo + Byte() % (hi - lo + 1); }
};

struct Instance {
  int nvtxs = 0, nhedges = 0;
  std::vector<int> eptr{0}, eind, vwgts, hewgts;
  bool single_pin = false;
};

long long Objective(const Instance &h, const std::vector<int> &part, bool soed) {
  long long total = 0;
  for (int e = 0; e < h.nhedges; e++) {
    std::vector<int> parts;
    for (int j = h.eptr[e]; j < h.eptr[e + 1]; j++) {
      bool seen = false;
      for (int p : parts) seen = seen || p == part[h.eind[j]];
      if (!seen) parts.push_back(part[h.eind[j]]);
    }
    if (parts.size() > 1) total += (soed ? static_cast<long long>(parts.size()) : 1) * h.hewgts[e];
  }
  return total;
}

// The parameters record with the settings of the options vector and `runs`.
HYPRA_Params ParamsOf(bool kway, int nparts, int ubfactor, const int *options,
                      const std::vector<int> &wanted, int runs) {
  HYPRA_Params p;
  HYPRA_DefaultParams(&p);
  p.method = kway ? HYPRA_DIRECT : HYPRA_RECURSIVE;
  p.nparts = nparts;
  p.ubfactor = ubfactor;
  p.runs = runs;
  p.ctype = options[2];
  p.rtype = options[3];
  p.vcycle = options[4];
  p.reconst = options[5];
  p.seed = options[7];
  p.fixed = options[6] == 1 ? wanted.data() : nullptr;
  return p;
}

// The parallel mode with the instance's settings (runs from the choice byte, 1 to 10) on one
// thread and on two or three: both calls must end alike, and when they succeed, with the same
// partition and objective.
void CompareThreadCounts(const Instance &h, bool kway, int nparts, int ubfactor, const int *options,
                         const std::vector<int> &wanted, int choice) {
  HYPRA_Params p = ParamsOf(kway, nparts, ubfactor, options, wanted, 1 + choice / 4 % 10);
  std::vector<int> one(h.nvtxs, -1), many(h.nvtxs, -1);
  int obj1 = -1, objn = -1;
  p.threads = 1;
  const int s1 = HYPRA_Partition(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(), h.eind.data(),
                                 h.hewgts.data(), &p, one.data(), &obj1);
  p.threads = 2 + choice / 40 % 2;
  const int sn = HYPRA_Partition(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(), h.eind.data(),
                                 h.hewgts.data(), &p, many.data(), &objn);
  if (s1 != sn) fuzz::Fail("status %d on one thread, %d on %d", s1, sn, p.threads);
  if (s1 != HYPRA_OK) return;
  if (obj1 != objn) fuzz::Fail("objective %d on one thread, %d on %d", obj1, objn, p.threads);
  for (int v = 0; v < h.nvtxs; v++)
    if (one[v] != many[v])
      fuzz::Fail("vertex %d in part %d on one thread, %d on %d", v, one[v], many[v], p.threads);
}

// The quality preset through the parameters record, with the instance's settings: parts in range,
// fixed vertices in place, the cut returned equal to the cut recomputed, parts within the bound
// when the call returns HYPRA_OK, and the same partition from a second call.
void CheckQualityPreset(const Instance &h, bool kway, int nparts, int ubfactor, const int *options,
                        const std::vector<int> &wanted, int choice) {
  HYPRA_Params p = ParamsOf(kway, nparts, ubfactor, options, wanted, 1 + choice / 2 % 4);
  p.rtype = 1;  // the cut, which the check below recomputes
  p.reconst = 0;
  p.preset = HYPRA_PRESET_QUALITY;
  // 0 (UBfactor rules), or 1 % to 30 %.
  const int eps = choice / 8 % 31;
  p.imbalance = eps / 100.0;
  std::vector<int> part(h.nvtxs, -1), again(h.nvtxs, -1);
  int cut = -1, cut2 = -1;
  const int status = HYPRA_Partition(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(),
                                     h.eind.data(), h.hewgts.data(), &p, part.data(), &cut);
  const int status2 = HYPRA_Partition(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(),
                                      h.eind.data(), h.hewgts.data(), &p, again.data(), &cut2);
  if (status != status2) fuzz::Fail("quality preset: status %d, then %d", status, status2);
  if (status != HYPRA_OK && status != HYPRA_ERROR_BALANCE) return;
  if (status == HYPRA_ERROR_BALANCE && part[0] == -1) return;  // refused before partitioning
  if (std::getenv("FUZZ_PRINT") != nullptr)
    std::fprintf(stderr, "quality: runs %d eps %d status %d cuts %d %d\n", p.runs, eps, status, cut,
                 cut2);
  if (part != again || cut != cut2) fuzz::Fail("quality preset: a second call differs");
  for (int v = 0; v < h.nvtxs; v++) {
    if (part[v] < 0 || part[v] >= nparts)
      fuzz::Fail("quality preset: vertex %d in part %d of %d", v, part[v], nparts);
    if (wanted[v] != -1 && part[v] != wanted[v])
      fuzz::Fail("quality preset: fixed vertex %d moved from %d to %d", v, wanted[v], part[v]);
  }
  if (status == HYPRA_OK && !h.single_pin) {
    const long long expect = Objective(h, part, false);
    if (expect != cut) fuzz::Fail("quality preset: cut %d, recomputed %lld", cut, expect);
  }
  if (eps == 0 || status != HYPRA_OK) return;
  long long total = 0;
  for (int w : h.vwgts) total += w;
  const long long share = (total + nparts - 1) / nparts;
  // The bound rounds EPS x share down; a rounding error below a whole number counts as it.
  const long long bound = share + static_cast<long long>(eps * share / 100);
  std::vector<long long> weight(nparts, 0);
  for (int v = 0; v < h.nvtxs; v++) weight[part[v]] += h.vwgts[v];
  for (int q = 0; q < nparts; q++)
    if (weight[q] > bound)
      fuzz::Fail("quality preset: part %d weighs %lld, above the bound %lld", q, weight[q], bound);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Choices c{data, size};
  const bool kway = c.Byte() & 1;
  Instance h;
  h.nvtxs = c.Pick(2, 80);
  const int nparts = c.Pick(2, h.nvtxs + 6);
  const int ubfactor = c.Pick(1, 49);
  int options[9] = {1,
                    c.Pick(1, 3),                        // runs
                    c.Pick(1, 5),                        // CType
                    kway ? c.Pick(1, 2) : c.Pick(1, 3),  // RType: k-way has two objectives
                    c.Pick(0, 3),                        // V-cycles
                    c.Pick(0, 1),                        // reconstruction
                    kway ? 0 : c.Pick(0, 1),
                    c.Byte(),
                    0};
  const bool fixed = options[6] == 1;
  const bool weighted = c.Byte() & 1;
  for (int v = 0; v < h.nvtxs; v++) h.vwgts.push_back(weighted ? c.Pick(0, 20) : 1);
  h.nhedges = c.Pick(0, 120);
  for (int e = 0; e < h.nhedges; e++) {
    const int npins = c.Pick(1, 12);
    std::vector<int> pins;
    for (int k = 0; k < npins; k++) {
      const int v = c.Pick(0, h.nvtxs - 1);
      bool seen = false;
      for (int u : pins) seen = seen || u == v;
      if (!seen) pins.push_back(v);
    }
    h.single_pin = h.single_pin || pins.size() == 1;
    for (int v : pins) h.eind.push_back(v);
    h.eptr.push_back(static_cast<int>(h.eind.size()));
    h.hewgts.push_back(weighted ? c.Pick(1, 30) : 1);
  }
  std::vector<int> part(h.nvtxs, -1), wanted(h.nvtxs, -1);
  if (fixed)
    for (int v = 0; v < h.nvtxs; v++) {
      const int x = c.Byte();
      wanted[v] = x % 4 == 0 ? x / 4 % nparts : -1;
      part[v] = wanted[v];
    }
  const int threaded = c.Byte();
  const int quality = c.Byte();

  // FUZZ_PRINT=1 shows the instance (for reproducing a failure by hand).
  if (std::getenv("FUZZ_PRINT") != nullptr) {
    std::fprintf(stderr, "%s nparts %d ub %d options", kway ? "kway" : "rb", nparts, ubfactor);
    for (int o : options) std::fprintf(stderr, " %d", o);
    std::fprintf(stderr, "\n%d %d 11\n", h.nhedges, h.nvtxs);
    for (int e = 0; e < h.nhedges; e++) {
      std::fprintf(stderr, "%d", h.hewgts[e]);
      for (int j = h.eptr[e]; j < h.eptr[e + 1]; j++) std::fprintf(stderr, " %d", h.eind[j] + 1);
      std::fprintf(stderr, "\n");
    }
    for (int v = 0; v < h.nvtxs; v++) std::fprintf(stderr, "%d\n", h.vwgts[v]);
    if (fixed)
      for (int v = 0; v < h.nvtxs; v++) std::fprintf(stderr, "fix %d\n", wanted[v]);
  }
  static int objective;
  objective = -1;
  const int status = fuzz::Guarded([&] {
    if (kway)
      HYPRA_PartKway(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(), h.eind.data(),
                     h.hewgts.data(), nparts, ubfactor, options, part.data(), &objective);
    else
      HYPRA_PartRecursive(h.nvtxs, h.nhedges, h.vwgts.data(), h.eptr.data(), h.eind.data(),
                          h.hewgts.data(), nparts, ubfactor, options, part.data(), &objective);
  });
  if (threaded % 4 == 1) CompareThreadCounts(h, kway, nparts, ubfactor, options, wanted, threaded);
  if (quality % 2 == 1) CheckQualityPreset(h, kway, nparts, ubfactor, options, wanted, quality);
  if (status != -1) return 0;  // refused with a message

  for (int v = 0; v < h.nvtxs; v++) {
    if (part[v] < 0 || part[v] >= nparts)
      fuzz::Fail("vertex %d in part %d of %d", v, part[v], nparts);
    if (wanted[v] != -1 && part[v] != wanted[v])
      fuzz::Fail("fixed vertex %d moved from %d to %d", v, wanted[v], part[v]);
  }
  if (h.single_pin) return 0;
  if (kway) {
    const long long expect = Objective(h, part, options[3] != 1);
    if (expect != objective) fuzz::Fail("k-way objective %d, recomputed %lld", objective, expect);
  } else if (options[5] == 0 || (nparts > 2 && nparts <= 64)) {
    const long long expect = Objective(h, part, false);
    if (expect != objective) fuzz::Fail("cut %d, recomputed %lld", objective, expect);
  }
  return 0;
}
