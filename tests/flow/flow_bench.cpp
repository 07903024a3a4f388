// Runs the flow refinement on a partition read from a file and prints the objective, the
// heaviest part and the time before and after.
//   flow_bench GraphFile PartFile Nparts MaxPartWgt [objective [regionscale [maxrounds]]]
// objective 1 is the cut, 2 connectivity - 1; the partition file holds one part per line.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "common/test_hypergraphs.h"
#include "flow/flow.h"

using namespace hypra;

int main(int argc, char **argv) {
  if (argc < 5) {
    std::fprintf(stderr,
                 "usage: %s GraphFile PartFile Nparts MaxPartWgt [objective [regionscale "
                 "[maxrounds]]]\n",
                 argv[0]);
    return 2;
  }
  const auto bench = testhg::ReadBench(argv[1]);
  if (!bench) {
    std::fprintf(stderr, "%s: cannot read\n", argv[1]);
    return 1;
  }
  const int nparts = std::atoi(argv[3]);
  const long long bound = std::atoll(argv[4]);
  const int objective = argc > 5 ? std::atoi(argv[5]) : FLOW_OBJ_CUT;
  const double scale = argc > 6 ? std::atof(argv[6]) : 16.0;
  const int rounds = argc > 7 ? std::atoi(argv[7]) : 10;

  HGraph *g = testhg::NetsOnly(bench->nvtxs, bench->nets, bench->netwgt);
  g->cellwgt = imalloc__(bench->nvtxs, "bench: cellwgt");
  for (int v = 0; v < bench->nvtxs; v++) g->cellwgt[v] = bench->cellwgt[v];
  std::vector<int> part(bench->nvtxs);
  FILE *f = std::fopen(argv[2], "r");
  if (f == nullptr) return 1;
  for (int v = 0; v < bench->nvtxs; v++)
    if (std::fscanf(f, "%d", &part[v]) != 1 || part[v] < 0 || part[v] >= nparts) {
      std::fprintf(stderr, "%s: bad partition\n", argv[2]);
      return 1;
    }
  std::fclose(f);

  auto report = [&](const char *when) {
    std::vector<long long> pw(nparts);
    PartitionMetrics m;
    ComputePartitionMetrics__(g->nvtxs, g->nhedges, g->cellwgt, g->netptr, g->netind, g->netwgt,
                              nparts, part.data(), pw.data(), &m);
    std::printf("%-6s cut %lld  km1 %lld  heaviest %lld (bound %lld)\n", when, m.cut, m.km1,
                m.maxpart, bound);
  };
  report("before");
  const auto start = std::chrono::steady_clock::now();
  // FLOW_TRACE in the environment prints one line per round.
  RunState run;
  InitRunState__(&run, 1);
  PartCtrl ctrl{};
  ctrl.run = &run;
  ctrl.run->now.dbglvl = std::getenv("FLOW_TRACE") != nullptr ? DBG_REFINE : 0;
  const long long gain = FlowRefine__(&ctrl, g, nparts, part.data(), nullptr,
                                      FlowSettings{objective, bound, scale, rounds});
  const double secs =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  report("after");
  std::printf("gain %lld in %.3f s\n", gain, secs);
  FreeHGraph__(g);
  FreeRunState__(&run);
  return 0;
}
