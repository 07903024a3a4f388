// Reader of the fix file: one pre-assigned part (or -1 for a free vertex) per vertex.
#include <climits>
#include <cstdio>

#include "driver/driver.h"

void ReadPartition(int nvtxs, int *part, const char *filename) {
  FILE *fp = RVfopen__(filename, "r", "ReadPartition: partfile");
  for (int i = 0; i < nvtxs; i++) {
    // A failed read consumes nothing, so every later read fails as well and those entries keep
    // the value they had. Reading as long only lets an oversized number be refused instead of
    // being truncated.
    long value;
    if (std::fscanf(fp, "%ld\n", &value) != 1) continue;
    if (value < -1 || value > INT_MAX)
      errexit__("File %s: vertex %d is fixed to part %ld; a part must be -1 (free) or 0 to %d",
                filename, i, value, INT_MAX);
    part[i] = static_cast<int>(value);
  }
  std::fclose(fp);
}
