// One benchmark run: reads a hypergraph, partitions it with the library using the command-line
// driver's options and a fixed seed, and prints one CSV line:
//   cut,soed,largest_share,cpu_seconds,peak_rss_kb
// Usage: bench_partition GraphFile Nparts UBfactor Seed [kway] [threads=N] [runs=R]
// With `kway` the direct k-way path (cut objective) is used instead of recursive bisection; the
// clock is pinned to the seed so that its clock-seeded inner bisections repeat too. With
// threads=N the parallel mode runs on N threads, and the line gains a last field: the
// wall-clock seconds. runs=R sets the runs per bisection (10). imbalance=EPS asks for every part
// to weigh at most (1 + EPS) x ceil(W / Nparts) (serial unless threads=N is given too), and the
// line gains three last fields: the status, the heaviest part and that bound.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

int SumOfExternalDegrees(const HGraph *g, const std::vector<int> &part, int nparts) {
  std::vector<int> mark(nparts, -1);
  int soed = 0;
  for (int e = 0; e < g->nhedges; e++) {
    int span = 0;
    for (int j = g->netptr[e]; j < g->netptr[e + 1]; j++)
      if (mark[part[g->netind[j]]] != e) {
        mark[part[g->netind[j]]] = e;
        span++;
      }
    if (span > 1) soed += span * (g->netwgt ? g->netwgt[e] : 1);
  }
  return soed;
}

int Cut(const HGraph *g, const std::vector<int> &part) {
  int cut = 0;
  for (int e = 0; e < g->nhedges; e++)
    for (int j = g->netptr[e] + 1; j < g->netptr[e + 1]; j++)
      if (part[g->netind[j]] != part[g->netind[g->netptr[e]]]) {
        cut += g->netwgt ? g->netwgt[e] : 1;
        break;
      }
  return cut;
}

}  // namespace

int main(int argc, char **argv) {
  bool kway = false, usage = argc < 5;
  int threads = 0, runs = 10;
  double imbalance = 0;
  for (int i = 5; i < argc; i++) {
    if (std::strcmp(argv[i], "kway") == 0)
      kway = true;
    else if (std::sscanf(argv[i], "threads=%d", &threads) == 1 && threads >= 1)
      continue;
    else if (std::sscanf(argv[i], "runs=%d", &runs) == 1 && runs >= 1)
      continue;
    else if (std::sscanf(argv[i], "imbalance=%lf", &imbalance) == 1 && imbalance > 0)
      continue;
    else
      usage = true;
  }
  if (usage) {
    std::fprintf(stderr,
                 "usage: %s GraphFile Nparts UBfactor Seed [kway] [threads=N] [runs=R] "
                 "[imbalance=EPS]\n",
                 argv[0]);
    return 2;
  }
  const int nparts = std::atoi(argv[2]), ubfactor = std::atoi(argv[3]);
  const int seed = std::atoi(argv[4]);

  HGraph *g = ReadHGraph(argv[1]);
  std::vector<int> part(g->nvtxs, 0);
  int options[9] = {1, runs, 1, 1, 1, 0, 0, seed, 0};
  int edgecut = 0;

  const double start = seconds__();
  const auto wallstart = std::chrono::steady_clock::now();
  int status = 0;
  if (kway) SetClockOverride__(seed);
  if (threads >= 1 || imbalance > 0) {
    HYPRA_Params params;
    HYPRA_DefaultParams(&params);
    params.method = kway ? HYPRA_DIRECT : HYPRA_RECURSIVE;
    params.nparts = nparts;
    params.ubfactor = ubfactor;
    params.runs = runs;
    params.seed = seed;
    params.threads = threads;
    params.imbalance = imbalance;
    status = HYPRA_Partition(g->nvtxs, g->nhedges, g->cellwgt, g->netptr, g->netind, g->netwgt,
                             &params, part.data(), &edgecut);
  } else if (kway) {
    HYPRA_PartKway(g->nvtxs, g->nhedges, g->cellwgt, g->netptr, g->netind, g->netwgt, nparts,
                   ubfactor, options, part.data(), &edgecut);
  } else {
    HYPRA_PartRecursive(g->nvtxs, g->nhedges, g->cellwgt, g->netptr, g->netind, g->netwgt, nparts,
                        ubfactor, options, part.data(), &edgecut);
  }
  const double cpu = seconds__() - start;
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - wallstart).count();

  std::vector<long long> pw(nparts, 0);
  long long total = 0;
  for (int v = 0; v < g->nvtxs; v++) {
    const int w = g->cellwgt ? g->cellwgt[v] : 1;
    pw[part[v]] += w;
    total += w;
  }
  long long heaviest = 0;
  for (long long w : pw) heaviest = w > heaviest ? w : heaviest;

  rusage resources;
  getrusage(RUSAGE_SELF, &resources);
  if (Cut(g, part) != edgecut) std::fprintf(stderr, "reported cut %d differs\n", edgecut);
  std::printf("%d,%d,%.4f,%.3f,%ld", edgecut, SumOfExternalDegrees(g, part, nparts),
              total ? static_cast<double>(heaviest) / total : 0.0, cpu, resources.ru_maxrss);
  if (threads >= 1) std::printf(",%.3f", wall);
  if (imbalance > 0) {
    const long long share = (total + nparts - 1) / nparts;
    std::printf(",%d,%lld,%lld", status, heaviest,
                share + static_cast<long long>(imbalance * static_cast<double>(share) + 1e-9));
  }
  std::printf("\n");
  return 0;
}
