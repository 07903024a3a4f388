// Writer of the partition file: the part of every vertex, one per line.
#include <cstdio>

#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "io/io.h"

namespace hypra {

void WriteHGraphPartStatus(int nvtxs, const int *part, const char *filename, int failure_status) {
  if (nvtxs < 1) errexit__("WriteHGraphPart: no vertices to write for %s", filename);
  // The name carries the number of parts actually used: one more than the largest part.
  const long long nparts = 1LL + part[iamax__(nvtxs, part)];
  char partfile[256];
  const int len = std::snprintf(partfile, sizeof(partfile), "%s.part.%lld", filename, nparts);
  if (len < 0 || len >= static_cast<int>(sizeof(partfile)))
    errexit__("WriteHGraphPart: the partition file name for %s is too long", filename);

  OutputFile out;
  OpenOutputFile(partfile, "WriteHGraphPart: partfile", failure_status, &out);
  for (int i = 0; i < nvtxs; i++) std::fprintf(out.fp, "%d\n", part[i]);
  CloseOutputFile(&out);
}

void WriteHGraphPart(int nvtxs, const int *part, const char *filename) {
  WriteHGraphPartStatus(nvtxs, part, filename, 0);
}

}  // namespace hypra
