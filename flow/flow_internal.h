// What the files of the flow refinement share, and what its tests reach into: the flow network,
// the maximum flow and its minimum cuts, and the work on one pair of parts.
#pragma once

#include <vector>

#include "core/core.h"
#include "flow/flow.h"

namespace hypra {

// Larger than any finite cut: hyperedge weights are ints and their sum fits an int.
constexpr long long kFlowInfinity = 1LL << 50;

// A directed network in compressed form: the arcs leaving node u are first[u] .. first[u+1]-1,
// arc i goes to head[i] with residual capacity cap[i], and rev[i] is the arc going back. Arcs are
// collected with AddFlowArc__ and laid out by FinishFlowNetwork__.
struct FlowNetwork {
  int nnodes = 0;
  int source = 0;
  int sink = 1;
  std::vector<int> first, head, rev;
  std::vector<long long> cap;
  // The arcs added since StartFlowNetwork__, each with the capacity of its way back.
  std::vector<int> from, to;
  std::vector<long long> fwd, bwd;
  std::vector<int> slot;  // per added arc: its place among the laid-out arcs
};

void StartFlowNetwork__(FlowNetwork *net, int nnodes, int source, int sink);
// Adds the node count by one; returns the new node.
int AddFlowNode__(FlowNetwork *net);
// Returns the arc's number, which FinishFlowNetwork__ maps to its place (net->slot).
int AddFlowArc__(FlowNetwork *net, int u, int v, long long cap, long long backcap);
void FinishFlowNetwork__(FlowNetwork *net);

// A maximum flow from source to sink (blocking flows on level graphs, every search a loop of
// its own, so that no network is too deep for the stack). Leaves the residual capacities in net
// and returns the flow it added to what they already carried, so that a network whose
// capacities grew can be brought back to a maximum flow by calling it again.
long long MaxFlow__(FlowNetwork *net);

// The minimum cuts a maximum flow leaves, as a chain. piece[u] is 0 for the nodes the source
// reaches in the residual network, npieces + 1 for those that reach the sink, and 1 .. npieces
// for the rest, one number per strongly connected set, numbered so that the nodes with a piece
// of at most i (0 <= i <= npieces) are closed under residual arcs: each such set is the source
// side of a minimum cut, the smallest for i = 0 and the largest for i = npieces.
struct MinCutChain {
  std::vector<int> piece;
  int npieces = 0;
  // Scratch of the computation.
  std::vector<int> queue, index, low, stack, callnode, callarc;
  std::vector<char> onstack;
};
void ComputeMinCutChain__(const FlowNetwork &net, MinCutChain *chain);

// Everything the refinement of one partition keeps between pairs.
struct FlowContext {
  const HGraph *graph = nullptr;
  int nparts = 0;
  int *part = nullptr;
  const int *fixedpart = nullptr;
  int objective = FLOW_OBJ_CUT;
  std::vector<long long> cap;  // per part: no part may end above it
  const int *incptr = nullptr;
  const int *incind = nullptr;
  std::vector<int> ownincptr, ownincind;  // the incidence, when the hypergraph has none
  std::vector<long long> pwgts;
  // The hyperedges that may join two parts: those cut when the list was last collected, and
  // every hyperedge of a vertex moved since (listed[e] tells whether e is in it).
  std::vector<int> cutnets;
  std::vector<char> listed;

  // The pair at hand: its region (part a's vertices first, then part b's), their weights, and
  // per vertex its node in the network (-1 outside the region).
  std::vector<int> region;
  int nregion[2] = {0, 0};
  long long regionwgt[2] = {0, 0};
  std::vector<int> nodeof;
  std::vector<int> hstamp;  // per hyperedge: the last sweep that visited it
  int stamp = 0;

  FlowNetwork net;
  MinCutChain chain;
  std::vector<long long> nodewgt;
  // Per region vertex i, the arcs source -> node and node -> sink, without capacity until the
  // vertex is made to stay on that side (see RefinePairOnce__).
  std::vector<int> toterminal[2];
  std::vector<char> pinned;  // per region vertex: already made to stay on one side
};

// partcap: null, or a bound per part that replaces maxpartwgt.
void InitFlowContext__(FlowContext *ctx, const HGraph *graph, int nparts, int *part,
                       const int *fixedpart, int objective, long long maxpartwgt,
                       const long long *partcap = nullptr);
// Collects ctx->cutnets afresh from the partition.
void CollectCutNets__(FlowContext *ctx);
// Moves v to part `to`, keeping the part weights and the list of cut hyperedges.
void MoveVertex__(FlowContext *ctx, int v, int to);
long long CellWeight__(const FlowContext *ctx, int v);
bool IsFixed__(const FlowContext *ctx, int v);
// The objective of ctx->part over the whole hypergraph.
long long FlowObjective__(const FlowContext *ctx);

// Grows the region of the pair (a, b) breadth first from their common boundary: at most lima
// of part a's weight and limb of part b's. Fixed vertices stay out. ClearPairRegion__ forgets it.
void GrowPairRegion__(FlowContext *ctx, int a, int b, long long lima, long long limb);
void ClearPairRegion__(FlowContext *ctx);
// Builds ctx->net for the region: source 0 stands for part a outside the region, sink 1 for part
// b outside it, node 2 + i for region[i], and the hyperedges whose fate the region decides.
// Returns their weight now cut (under the objective), which a cut of the network replaces.
long long BuildPairNetwork__(FlowContext *ctx, int a, int b);

struct PairOutcome {
  bool applied = false;  // the partition changed
  bool fitted = false;   // some minimum cut fitted the bound
  long long gain = 0;    // the objective's improvement
};
// Improves the pair (a, b) by a minimum cut of its network (with some region vertices pinned to
// one side when no cut fits the bound otherwise), its region grown with the given share of the
// room on the other side (see FlowSettings::regionscale).
PairOutcome RefinePairOnce__(FlowContext *ctx, int a, int b, double scale);
// As RefinePairOnce__, retried with scale 1 when no cut of the larger region fitted.
PairOutcome RefinePair__(FlowContext *ctx, int a, int b, double scale);

}  // namespace hypra
