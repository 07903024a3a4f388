// The steps both command-line programs take around partitioning: reading the hypergraph and the
// fix file, then writing the partition, reporting its quality and the time spent.
#include <cstdio>
#include <cstdlib>

#include "core/core.h"
#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "io/io.h"

namespace hypra {

namespace {

// Writes the partition to a file of the caller's choosing, completely or not at all.
void WritePartitionTo(int nvtxs, const int *part, const char *path, int failure_status) {
  OutputFile out;
  OpenOutputFile(path, "hypra-advanced: partition file", failure_status, &out);
  for (int i = 0; i < nvtxs; i++) std::fprintf(out.fp, "%d\n", part[i]);
  CloseOutputFile(&out);
}

}  // namespace

void ReadRunInput(const char *graphfile, const char *fixfile, int nparts, int strict,
                  RunInput *in) {
  in->io_time = -seconds__();
  in->graph = ReadHGraphChecked(graphfile, strict);
  in->io_time += seconds__();
  const int nvtxs = in->graph->nvtxs;

  in->part = ismalloc__(nvtxs, 0, "main: part");
  if (fixfile != nullptr) {
    const double start = seconds__();
    ReadPartitionChecked(nvtxs, in->part, fixfile, strict);
    if (nvtxs > 0 && nparts <= in->part[iamax__(nvtxs, in->part)]) {
      std::printf(
          "Input Error:\n\tThe file %s contains more than %d sets of pre-assigned vertices.\n\n",
          fixfile, nparts);
      MarkFatalExit__();
      std::exit(0);
    }
    in->io_time += seconds__() - start;
  }
}

double WriteRunPartition(int nvtxs, const int *part, const char *graphfile, const char *outfile,
                         int failure_status) {
  const double start = seconds__();
  if (outfile != nullptr)
    WritePartitionTo(nvtxs, part, outfile, failure_status);
  else
    WriteHGraphPartStatus(nvtxs, part, graphfile, failure_status);
  return seconds__() - start;
}

void PrintTimingBlock(double part_time, double io_time, double wall_time, int threads) {
  std::printf("\n\nTiming Information ---------------------------------------------------------");
  std::printf("\n  Partitioning Time:\t\t %7.3fsec", part_time);
  // Beside others the threads' CPU times add up; the wall clock tells how long it took.
  if (wall_time >= 0)
    std::printf(" (CPU, %d threads)\n    Wall-clock Time:\t\t %7.3fsec", threads, wall_time);
  std::printf("\n           I/O Time:\t\t %7.3fsec", io_time);
  std::printf(
      "\n*******************************************************************************\n");
}

void FinishRun(RunInput *in, int nparts, const char *graphfile, const char *outfile,
               double part_time, int failure_status, double wall_time, int threads) {
  HGraph *graph = in->graph;
  const int nvtxs = graph->nvtxs;

  const double io_time =
      in->io_time + WriteRunPartition(nvtxs, in->part, graphfile, outfile, failure_status);
  PrintPartStatistics(nvtxs, graph->nhedges, nparts, graph->netptr, graph->netind, graph->netwgt,
                      graph->cellwgt, in->part);
  PrintTimingBlock(part_time, io_time, wall_time, threads);

  FreeHGraph__(graph);
  RVfree__(&in->part);
  in->graph = nullptr;
}

}  // namespace hypra
