// Helpers shared inside the driver and by its tests.
#pragma once

#include <cstdio>

#include "core/core.h"

// An output file under construction. It is written under a temporary name in the target's
// directory and renamed into place once complete, so a failed run never leaves a partial file.
struct OutputFile {
  FILE *fp;
  const char *msg;
  char path[4096];
  char tmppath[4160];
};

// Opens a temporary file next to path; on failure reports msg through perror and ends the
// process, as a failed open of the file itself would.
void OpenOutputFile(const char *path, const char *msg, OutputFile *out);
// Closes the temporary file and renames it to the target; a failed write ends the process and
// leaves no file behind.
void CloseOutputFile(OutputFile *out);

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

// Reads the hypergraph and the optional fix file; a fix file naming nparts or more sets ends
// the process with an input error.
void ReadRunInput(const char *graphfile, const char *fixfile, int nparts, RunInput *in);
// Writes the partition (to outfile, or next to graphfile when null), prints its quality and the
// timing block with the given partitioning time, and releases the input.
void FinishRun(RunInput *in, int nparts, const char *graphfile, const char *outfile,
               double part_time);
