// Entry points of the library. The multilevel engine is not connected yet, so the partitioning
// entry point refuses to run instead of pretending: nothing is partitioned and no partition
// file is written.
#include "core/core.h"
#include "partition/hypra.h"

extern "C" void HYPRA_PartRecursive(int, int, const int *, const int *, const int *, const int *,
                                    int, int, const int *, int *, int *) {
  errexit__("hypra: the partitioning engine is not available in this build yet.");
}
