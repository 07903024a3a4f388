// The command-line partitioner: reads a hypergraph (and optionally a fix file), partitions it by
// recursive bisection, writes the partition file and reports its quality and the time spent.
#include <cstdio>
#include <cstdlib>

#include "core/core.h"
#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

void PrintUsage(const char *program) {
  std::printf("Usage: %s <GraphFile> <Nparts> <UBfactor>\n", program);
  std::printf("       or\n");
  std::printf("       %s <GraphFile> <FixFile> <Nparts> <UBfactor>\n", program);
  std::printf("Where:\n");
  std::printf(" GraphFile: name of the hypergraph file\n");
  std::printf(" FixFile  : name of the file containing pre-assignment of vertices to partitions\n");
  std::printf(" Nparts   : number of partitions desired\n");
  std::printf(
      " UBfactor : balance between the partitions (e.g., use 5 for a 45-55 bisection balance)\n");
}

}  // namespace

int main(int argc, char *argv[]) {
  InstallOutOfMemoryHandler__();
  if (argc != 4 && argc != 5) {
    PrintUsage(argv[0]);
    return 0;
  }
  const char *graphfile = argv[1];
  const char *fixfile = argc == 5 ? argv[2] : nullptr;
  const int nparts = std::atoi(argv[argc - 2]);
  const int ubfactor = std::atoi(argv[argc - 1]);

  // Ten runs of hybrid first-choice coarsening and FM refinement, V-cycles on the best run,
  // seeded from the clock, with one summary line per bisection.
  const int options[9] = {1, 10, 1, 1, 1, 0, fixfile != nullptr ? 1 : 0, -1, 8};

  RunInput in;
  ReadRunInput(graphfile, fixfile, nparts, 0, &in);
  HGraph *graph = in.graph;

  PrintInfo(graph, nparts, ubfactor, options, graphfile, 1);

  int edgecut = 0;
  const double part_time = -seconds__();
  HYPRA_PartRecursive(graph->nvtxs, graph->nhedges, graph->cellwgt, graph->netptr, graph->netind,
                      graph->netwgt, nparts, ubfactor, options, in.part, &edgecut);
  const double end_part = seconds__();

  FinishRun(&in, nparts, graphfile, nullptr, end_part + part_time, 0);
  return 0;
}
