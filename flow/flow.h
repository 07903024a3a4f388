// Flow-based refinement of a k-way partition: pairs of adjacent parts exchange vertices along a
// minimum cut of a flow network built around their common boundary.
#pragma once

#include "core/core.h"

namespace hypra {

// Objectives FlowSettings::objective names.
enum : int {
  FLOW_OBJ_CUT = 1,  // weight of the hyperedges touching two or more parts
  FLOW_OBJ_KM1 = 2,  // sum over hyperedges of weight x (parts touched - 1)
};

struct FlowSettings {
  int objective;         // FLOW_OBJ_CUT or FLOW_OBJ_KM1
  long long maxpartwgt;  // no part may end above it (a part already above it may not grow)
  // How much of the room the other side has a side may put into the region of a pair: the
  // vertices of part a that may cross weigh at most regionscale x (maxpartwgt - max(w(b),
  // (w(a) + w(b)) / 2)), and no more than part a. Above 1 the minimum cut may not fit the bound;
  // vertices are then pinned to the light side, and failing that the pair is tried again with a
  // factor of 1, where every cut fits. Values below 1 count as 1; 16 works well.
  double regionscale;
  int maxrounds;  // rounds over all adjacent pairs, repeated while one improved the objective
  // A bound per part (nparts entries) in place of maxpartwgt, for parts meant to differ in size
  // (the two sides of a bisection whose halves will hold different numbers of parts). There
  // the even split of a pair is the one proportional to the two bounds. Null: maxpartwgt.
  const long long *partcap = nullptr;
};

// Refines part (nvtxs entries in 0..nparts-1) of graph in place. Reads only nvtxs, nhedges,
// netptr/netind, netwgt (null: unit weights), cellwgt (null: unit weights) and incptr/incind
// (built for the call when null). fixedpart is null or holds -1 or a part per vertex; a vertex
// with a part there never moves. The order of the work depends on nothing but the input, so the
// same input always gives the same output. Returns the improvement of the objective (>= 0).
// ctrl may be null; with DBG_REFINE in its dbglvl one line per round is printed.
long long FlowRefine__(const PartCtrl *ctrl, const HGraph *graph, int nparts, int *part,
                       const int *fixedpart, const FlowSettings &s);

}  // namespace hypra
