// Helpers shared inside the driver and by its tests.
#pragma once

#include <cstdio>

#include "core/core.h"

namespace hypra {

// Number of (vertex, hyperedge) pairs on which the incidence lists and the pin lists disagree,
// counted from both sides; 0 for a consistent hypergraph.
int CountIncidenceMismatches(const HGraph *graph);

// What a command-line run reads before partitioning: the hypergraph, the part vector (the
// pre-assignment when a fix file is given, zeros otherwise) and the I/O time spent so far.
struct RunInput {
  HGraph *graph;
  int *part;
  double io_time;
};

// Reads the hypergraph and the optional fix file (strictly when strict is set, see
// ReadHGraphChecked); a fix file naming nparts or more sets ends the process with an input error.
void ReadRunInput(const char *graphfile, const char *fixfile, int nparts, int strict, RunInput *in);
// Writes the partition (to outfile, or next to graphfile when null), prints its quality and the
// timing block with the given partitioning time (and, for the parallel mode, the wall-clock time
// on that many threads), and releases the input. A partition file that cannot be written ends the
// process with failure_status.
void FinishRun(RunInput *in, int nparts, const char *graphfile, const char *outfile,
               double part_time, int failure_status, double wall_time = -1.0, int threads = 0);
// Writes the partition to outfile, or when null next to graphfile by WriteHGraphPart's rule;
// returns the seconds it took. A failed write ends the process with failure_status.
double WriteRunPartition(int nvtxs, const int *part, const char *graphfile, const char *outfile,
                         int failure_status);
// The closing block of the report: partitioning and I/O times (and the wall-clock time of the
// parallel mode on that many threads when wall_time is not negative).
void PrintTimingBlock(double part_time, double io_time, double wall_time, int threads);
// Writes the partition file named by WriteHGraphPart's rule; a failed write ends the process with
// failure_status.
void WriteHGraphPartStatus(int nvtxs, const int *part, const char *filename, int failure_status);

}  // namespace hypra
