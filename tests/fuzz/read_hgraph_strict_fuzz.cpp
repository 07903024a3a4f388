// Fuzz target: the io library's hgr reader against the hypra program's reader. A file the io
// reader accepts is well formed, and the program's reader accepts it too and builds the same
// hypergraph.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/core.h"
#include "driver/driver.h"
#include "fuzz/fuzz_support.h"
#include "fuzz/io_check.h"
#include "io/io.h"

using namespace hypra;

namespace {

bool Same(const int *a, const int *b, long long n) {
  if (n <= 0) return true;
  if (a == nullptr || b == nullptr) return a == b;
  return std::memcmp(a, b, sizeof(int) * n) == 0;
}

// Whether a line is longer than the program's reader takes at once (it splits such lines).
bool HasLongLine(const uint8_t *data, size_t size) {
  size_t run = 0;
  for (size_t i = 0; i < size; i++) {
    run = data[i] == '\n' ? 0 : run + 1;
    if (run >= 131071) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string path = fuzz::WriteScratch("input.hgr", data, size);
  HypergraphArrays h;
  if (!fuzz::ReadChecked(path, FORMAT_HGR, &h, false)) return 0;
  // The program's reader sizes a table by the largest vertex number, so files naming vertices
  // in the millions are left out of the comparison.
  int largest = 0;
  for (int j = 0; j < h.netptr[h.nhedges]; j++) largest = std::max(largest, h.netind[j]);
  if (!HasLongLine(data, size) && largest < (1 << 20)) {
    static HGraph *g;
    g = nullptr;
    const int status = fuzz::Guarded([&] { g = ReadHGraph(path.c_str()); });
    if (g == nullptr) fuzz::Fail("the program's reader refuses an accepted file (exit %d)", status);
    if (g->nvtxs != h.nvtxs || g->nhedges != h.nhedges) fuzz::Fail("counts differ");
    if (!Same(g->netptr, h.netptr, h.nhedges + 1L)) fuzz::Fail("netptr differs");
    if (!Same(g->netind, h.netind, h.netptr[h.nhedges])) fuzz::Fail("netind differs");
    // Without hyperedges the program keeps no (empty) weight array; the io record follows fmt.
    if ((h.nhedges > 0 && (g->netwgt == nullptr) != (h.netwgt == nullptr)) ||
        !Same(g->netwgt, h.netwgt, h.nhedges))
      fuzz::Fail("netwgt differs");
    if ((g->cellwgt == nullptr) != (h.cellwgt == nullptr) || !Same(g->cellwgt, h.cellwgt, h.nvtxs))
      fuzz::Fail("cellwgt differs");
    FreeHGraph__(g);
  }
  FreeHypergraphArrays(&h);
  return 0;
}
