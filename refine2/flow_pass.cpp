// Flow-based refinement of a bisection: a minimum cut of a flow network around the two sides'
// common boundary finds exchanges of whole groups of vertices that moving one vertex at a time
// cannot reach. Used on the levels of a bisection's V-cycles in the quality preset.
#include "flow/flow.h"
#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

// Region growth and rounds: the settings that work for the k-way polish work here too.
constexpr double kRegionScale = 16;
constexpr int kRounds = 4;

}  // namespace

int FlowRefineBisection__(const PartCtrl *ctrl, HGraph *graph) {
  if (graph->nvtxs < 2) return 0;
  // The flow may leave each side as heavy as the FM's lower bound on the other side allows.
  const int pwgts[2] = {graph->pwgts[0], graph->pwgts[1]};
  const refine2::Bounds b = refine2::BalanceBounds(ctrl, pwgts);
  const long long total = static_cast<long long>(pwgts[0]) + pwgts[1];
  const long long caps[2] = {total - b.min1, total - b.min0};

  // The fixed vertices come first and stay on their sides.
  int *fixedpart = ismalloc__(graph->nvtxs, -1, "FlowRefineBisection: fixedpart");
  for (int v = 0; v < graph->nfixed && v < graph->nvtxs; v++) fixedpart[v] = graph->where[v];
  FlowSettings settings{FLOW_OBJ_CUT, caps[0], kRegionScale, kRounds};
  settings.partcap = caps;
  const long long gain = FlowRefine__(ctrl, graph, 2, graph->where, fixedpart, settings);
  RVfree__(&fixedpart);
  if (gain > 0) ComputeInitGains__(graph);
  return static_cast<int>(gain);
}

}  // namespace hypra
