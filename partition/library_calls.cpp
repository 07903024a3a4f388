// The library's status-returning calls beside partitioning: the last error's message, the
// version, reading a hypergraph file into arrays and the quality figures of any partition.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "io/io.h"
#include "partition/hypra.h"
#include "partition/partition.h"

namespace hypra {

namespace {

thread_local char last_error[640];

static_assert(kFailedArguments == HYPRA_ERROR_ARGS && kFailedMemory == HYPRA_ERROR_MEMORY,
              "the engine's failure statuses are the library's");

int ReaderStatus(int io_status) {
  switch (io_status) {
    case IO_OK:
      return HYPRA_OK;
    case IO_ERR_MEMORY:
      return HYPRA_ERROR_MEMORY;
    case IO_ERR_ARGS:
      return HYPRA_ERROR_ARGS;
    default:
      return HYPRA_ERROR_INPUT;
  }
}

}  // namespace

void SetLastError__(const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(last_error, sizeof(last_error), format, args);
  va_end(args);
}

}  // namespace hypra

using namespace hypra;

extern "C" const char *HYPRA_LastError(void) {
  return last_error;
}

extern "C" const char *HYPRA_Version(void) {
  return HYPRA_VERSION_STRING;
}

extern "C" int HYPRA_ReadHypergraph(const char *path, int format, HYPRA_Hypergraph *out) {
  return RunTrapped__([&] {
    if (out == nullptr) {
      SetLastError__("HYPRA_ReadHypergraph: the hypergraph record is missing");
      return HYPRA_ERROR_ARGS;
    }
    *out = HYPRA_Hypergraph{0, 0, nullptr, nullptr, nullptr, nullptr};
    if (path == nullptr) {
      SetLastError__("HYPRA_ReadHypergraph: the path is missing");
      return HYPRA_ERROR_ARGS;
    }
    if (format == HYPRA_FORMAT_AUTO) format = FormatFromPath(path);
    if (format < HYPRA_FORMAT_HGR || format > HYPRA_FORMAT_PATOH) {
      SetLastError__("HYPRA_ReadHypergraph: unknown format %d", format);
      return HYPRA_ERROR_ARGS;
    }
    HypergraphArrays h;
    IoError err;
    const int status = ReaderStatus(ReadHypergraphFile(path, format, &h, &err));
    if (status != HYPRA_OK) {
      SetLastError__("%s", err.message);
      return status;
    }
    *out = HYPRA_Hypergraph{h.nvtxs, h.nhedges, h.netptr, h.netind, h.cellwgt, h.netwgt};
    return HYPRA_OK;
  });
}

extern "C" void HYPRA_FreeHypergraph(HYPRA_Hypergraph *h) {
  if (h == nullptr) return;
  HypergraphArrays arrays{h->nvtxs, h->nhedges, h->eptr, h->eind, h->hewgts, h->vwgts, 0};
  FreeHypergraphArrays(&arrays);
  *h = HYPRA_Hypergraph{0, 0, nullptr, nullptr, nullptr, nullptr};
}

extern "C" int HYPRA_ComputeMetrics(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                    const int *eind, const int *hewgts, int nparts, const int *part,
                                    long long *part_weights, HYPRA_Metrics *metrics) {
  return RunTrapped__([&] {
    if (metrics == nullptr) errexit__("HYPRA_ComputeMetrics: the metrics record is missing.");
    if (nparts < 1) errexit__("HYPRA_ComputeMetrics: nparts is %d, not at least 1.", nparts);
    ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
    ValidateParts__(nvtxs, part, 0, nparts - 1, "the part");
    PartitionMetrics m;
    if (ComputePartitionMetrics__(nvtxs, nhedges, vwgts, eptr, eind, hewgts, nparts, part,
                                  part_weights, &m) != 0)
      errexit__("HYPRA_ComputeMetrics: the partition is not valid.");
    *metrics = HYPRA_Metrics{m.cut, m.soed, m.km1, m.total, m.maxpart, m.imbalance};
    return HYPRA_OK;
  });
}
