// The command-line driver's routines: the hypergraph and fix-file readers, the partition
// writer, the run header, the quality report and the debugging aids.
#pragma once

#include "core/core.h"

namespace hypra {

// Reading and writing files.
int GetNetListSize(const char *filename);
HGraph *ReadHGraph(const char *filename);
void ReadPartition(int nvtxs, int *part, const char *filename);
// The same readers with strict set: a weight or fix-file entry that is not a whole integer
// ("5.5", "1e3", "abc", or nothing) ends the process with a message naming file and line,
// instead of being read as far as it goes.
HGraph *ReadHGraphChecked(const char *filename, int strict);
void ReadPartitionChecked(int nvtxs, int *part, const char *filename, int strict);
void WriteHGraphPart(int nvtxs, const int *part, const char *filename);

// The header printed before partitioning; mode 1 is recursive bisection, anything else k-way.
// A note, when given, is printed as one more line below the options.
void PrintInfo(const HGraph *graph, int nparts, int ubfactor, const int *options,
               const char *filename, int mode, const char *note = nullptr);
// The same header for a run held to an imbalance bound: the bound replaces the UBfactor.
void PrintInfoWithBound(const HGraph *graph, int nparts, double imbalance, long long bound,
                        const int *options, const char *filename, int mode,
                        const char *note = nullptr);

// Quality of a partition. Null weight arrays mean unit weights.
void PrintPartStatistics(int nvtxs, int nhedges, int nparts, const int *netptr, const int *netind,
                         const int *netwgt, const int *cellwgt, const int *part);
void ComputePartWeights(int nvtxs, const int *cellwgt, const int *part, int *pwgts);
void ComputePartCuts(int nhedges, int nparts, const int *netptr, const int *netind,
                     const int *netwgt, const int *part, int *pcuts);

// Debugging aids.
void WriteHGraph(const HGraph *graph);
void WriteConnectedHGraph(const HGraph *graph);
void DumpHGraph(const HGraph *graph);
void Print_Pins(const HGraph *graph, const int *where, int nparts);
int CheckHGraph(const HGraph *graph);

}  // namespace hypra
