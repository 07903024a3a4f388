// Initial bisection of the coarsest hypergraph: several random bisections grown to the target
// weight, each balanced and refined by FM; the one with the smallest cut is kept.
#include <cstdio>

#include "refine2/refine2.h"

namespace hypra {

void InitPartition__(const PartCtrl *ctrl, HGraph *graph) {
  // The tries would flood the output with refinement lines; only the per-try summary is wanted.
  const int dbglvl = ctrl->run->now.dbglvl;
  ctrl->run->now.dbglvl &= ~(DBG_REFINE | DBG_MOVES);
  starttimer__(ctrl, ctrl->run->time.InitPartTmr);
  Random_FMPartition__(ctrl, graph);
  stoptimer__(ctrl, ctrl->run->time.InitPartTmr);
  ctrl->run->now.dbglvl = dbglvl;
}

void Random_FMPartition__(const PartCtrl *ctrl, HGraph *graph) {
  AllocateRefinementMemory__(graph);
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  if (nvtxs == 0) return;
  if (nfixed > nvtxs)
    errexit__("Random_FMPartition: %d fixed vertices among only %d vertices", nfixed, nvtxs);

  int *where = graph->where;
  const int *cellwgt = graph->cellwgt;
  int *perm = imalloc__(nvtxs, "Random_FMPartition: perm");
  int *bestwhere = imalloc__(nvtxs, "Random_FMPartition: graph->where");

  const int tpwgt0 =
      static_cast<int>(static_cast<float>(iasum__(nvtxs, cellwgt)) * ctrl->run->now.TargetFrac);
  const int nfixed0 = static_cast<int>(
      static_cast<double>(static_cast<float>(nfixed) * ctrl->run->now.TargetFrac) + 0.4);
  const int ntries = ctrl->KwayRefine ? 20 : 10;

  int bestcut = 0;
  for (int trial = 0; trial < ntries; trial++) {
    int wgt[2] = {0, 0};
    if (nfixed > 0) {
      RandomPermuteFine__(&ctrl->run->rng, perm, nfixed, 1);
      for (int i = 0; i < nfixed; i++) {
        const int side = i < nfixed0 ? 0 : 1;
        where[perm[i]] = side;
        wgt[side] += cellwgt[perm[i]];
      }
    }
    // Side 0 is filled in random order up to the target; everything after goes to side 1.
    RandomPermuteFine__(&ctrl->run->rng, perm, nvtxs, 1);
    for (int i = 0; i < nvtxs; i++) {
      const int v = perm[i];
      if (v < nfixed) continue;
      const int side = wgt[0] >= tpwgt0 ? 1 : 0;
      where[v] = side;
      wgt[side] += cellwgt[v];
    }

    Balance__(ctrl, graph);
    if (ctrl->run->now.HeavyCells)
      Refine_FM2__(ctrl, graph, 10);
    else
      Refine_FM__(ctrl, graph, 10);

    if (ctrl->run->now.dbglvl & DBG_INITPART)
      Printf__(ctrl, "%5d %5d %5d\n", graph->pwgts[0], graph->pwgts[1], graph->mincut);
    if (trial == 0 || graph->mincut < bestcut) {
      bestcut = graph->mincut;
      icopy__(nvtxs, where, bestwhere);
    }
  }
  if (ctrl->run->now.dbglvl & DBG_INITPART) Printf__(ctrl, "Bestcut Icut: %5d\n", bestcut);

  icopy__(nvtxs, bestwhere, where);
  graph->mincut = bestcut;
  RVfree__(&perm, &bestwhere);
}

}  // namespace hypra
