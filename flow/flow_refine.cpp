// The schedule of the flow refinement: rounds over every pair of parts a hyperedge joins, in a
// fixed order, each pair improved by its own flow network; a pair whose parts did not change
// since it last failed is not tried again.
#include <algorithm>
#include <vector>

#include "flow/flow_internal.h"

namespace hypra {

namespace {

// The pairs (a < b) of parts some hyperedge joins in a way a flow between them can improve: for
// the cut objective hyperedges touching exactly two parts, for connectivity any cut hyperedge.
// ctx->cutnets must be freshly collected.
std::vector<long long> AdjacentPairs(const FlowContext *ctx) {
  const HGraph *graph = ctx->graph;
  const int k = ctx->nparts;
  std::vector<long long> pairs;
  std::vector<int> seen(k, -1), touched;
  for (int e : ctx->cutnets) {
    touched.clear();
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++) {
      const int p = ctx->part[graph->netind[j]];
      if (seen[p] != e) {
        seen[p] = e;
        touched.push_back(p);
      }
    }
    if (touched.size() < 2 || (ctx->objective == FLOW_OBJ_CUT && touched.size() > 2)) continue;
    for (size_t x = 0; x < touched.size(); x++)
      for (size_t y = x + 1; y < touched.size(); y++) {
        const int a = std::min(touched[x], touched[y]), b = std::max(touched[x], touched[y]);
        pairs.push_back(static_cast<long long>(a) * k + b);
      }
    // Sorting now and then keeps the list near the number of distinct pairs.
    if (pairs.size() > std::min<size_t>(4 * static_cast<size_t>(k) * k, 1 << 20) + 1024) {
      std::sort(pairs.begin(), pairs.end());
      pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    }
  }
  std::sort(pairs.begin(), pairs.end());
  pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
  return pairs;
}

}  // namespace

long long FlowRefine__(const PartCtrl *ctrl, const HGraph *graph, int nparts, int *part,
                       const int *fixedpart, const FlowSettings &s) {
  if (graph->nvtxs == 0 || nparts < 2) return 0;
  FlowContext ctx;
  InitFlowContext__(&ctx, graph, nparts, part, fixedpart, s.objective, s.maxpartwgt, s.partcap);
  const long long before = FlowObjective__(&ctx);
  const double scale = s.regionscale > 1 ? s.regionscale : 1.0;
  // changed[p]: part p changed in this round (or, in the first, is new to the refinement).
  std::vector<char> active(nparts, 1), changed(nparts, 0);
  for (int round = 0; round < s.maxrounds; round++) {
    if (round > 0) CollectCutNets__(&ctx);
    const std::vector<long long> pairs = AdjacentPairs(&ctx);
    std::fill(changed.begin(), changed.end(), 0);
    long long gain = 0;
    int tried = 0, moved = 0;
    for (long long code : pairs) {
      const int a = static_cast<int>(code / nparts), b = static_cast<int>(code % nparts);
      if (!active[a] && !active[b] && !changed[a] && !changed[b]) continue;
      tried++;
      const PairOutcome outcome = RefinePair__(&ctx, a, b, scale);
      if (!outcome.applied) continue;
      moved++;
      gain += outcome.gain;
      changed[a] = changed[b] = 1;
    }
    if (ctrl != nullptr && (ctrl->run->now.dbglvl & DBG_REFINE))
      Printf__(ctrl, "Flow round %d: %zu pairs, %d tried, %d changed, gain %lld\n", round,
               pairs.size(), tried, moved, gain);
    active = changed;
    if (gain <= 0) break;
  }
  const long long after = FlowObjective__(&ctx);
  return before - after;
}

}  // namespace hypra
