// One pair of parts: grow the region, find a maximum flow, and move the region's vertices to
// the side of the most balanced minimum cut that fits the bound, when that helps. When none fits,
// some region vertices are pinned to the side that would end too light and the flow is augmented
// again: the cut grows, still the smallest among those that keep the pins, until one fits or it
// costs more than the present partition.
#include <algorithm>
#include <cmath>

#include "flow/flow_internal.h"

namespace hypra {

namespace {

// The share of part `to` in the even split of the pair: half, or with bounds that differ, the
// share proportional to them.
long long EvenShare(const FlowContext *ctx, int from, int to) {
  const long long both = ctx->pwgts[from] + ctx->pwgts[to];
  const long long capfrom = ctx->cap[from], capto = ctx->cap[to];
  if (capfrom == capto || capfrom + capto <= 0) return (both + 1) / 2;
  return static_cast<long long>(std::ceil(static_cast<double>(both) * static_cast<double>(capto) /
                                          static_cast<double>(capfrom + capto)));
}

// The region of one side may hold at most scale x the room left in the other part, counted from
// the even split of the pair when that part is lighter (a light part's room is better spent
// on the balance than on a region that strays far from the boundary). With a factor of 1 every
// cut fits; larger factors give the flow more freedom at the risk that the best cut does not.
long long RegionLimit(const FlowContext *ctx, int from, int to, double scale) {
  const long long even = EvenShare(ctx, from, to);
  const long long room = std::max(0LL, ctx->cap[to] - std::max(ctx->pwgts[to], even));
  const double scaled = std::floor(scale * static_cast<double>(room));
  const double whole = static_cast<double>(ctx->pwgts[from]);
  return static_cast<long long>(std::min(scaled, whole));
}

// How full the fuller part of the pair would be with weights wa and wb: the heavier weight when
// the two bounds are equal, else the larger product of a weight and the other part's bound (the
// fuller part relative to its own bound). Weights and bounds fit in ints, so the products fit.
long long Load(const FlowContext *ctx, int a, int b, long long wa, long long wb) {
  if (ctx->cap[a] == ctx->cap[b]) return std::max(wa, wb);
  return std::max(wa * ctx->cap[b], wb * ctx->cap[a]);
}

// The most balanced cut of the chain that fits: the index of its last piece, or -1. Also tells
// which way the most balanced cut that does not fit misses (light: part a would end too light,
// part b too heavy).
struct ChainChoice {
  int best = -1;
  long long load = 0;  // of the chosen cut, as Load computes it
  bool light = false;
  long long missby = 0;  // by how much that cut misses
};

ChainChoice ChooseCut(const FlowContext *ctx, int a, int b, std::vector<long long> *piecewgt) {
  const std::vector<int> &piece = ctx->chain.piece;
  const int npieces = ctx->chain.npieces;
  piecewgt->assign(static_cast<size_t>(npieces) + 2, 0);
  for (int node = 2; node < ctx->net.nnodes; node++) (*piecewgt)[piece[node]] += ctx->nodewgt[node];
  const long long wa0 = ctx->pwgts[a], wb0 = ctx->pwgts[b];
  const long long total = wa0 + wb0;
  // A part already above the bound may not grow; any other may not go above it.
  const long long capa = std::max(ctx->cap[a], wa0);
  const long long capb = std::max(ctx->cap[b], wb0);
  ChainChoice choice;
  long long bestshift = 0, missby = -1;
  choice.missby = 0;
  long long wa = wa0 - ctx->regionwgt[0];
  for (int i = 0; i <= npieces; i++) {
    wa += (*piecewgt)[i];
    const long long wb = total - wa;
    if (wa > capa || wb > capb) {
      const long long over = std::max(wa - capa, wb - capb);
      if (missby < 0 || over < missby) {
        missby = over;
        choice.missby = over;
        choice.light = wb > capb;
      }
      continue;
    }
    const long long load = Load(ctx, a, b, wa, wb);
    const long long shift = std::llabs(wa - wa0);
    if (choice.best < 0 || load < choice.load || (load == choice.load && shift < bestshift)) {
      choice.best = i;
      choice.load = load;
      bestshift = shift;
    }
  }
  return choice;
}

// Makes region vertices stay with the source (tosource) or the sink, about `weight` of them
// (at least one): vertices the present cuts put on the other side, first those of the
// terminal's own part (the farthest from the boundary first: the cut moves back toward it), then
// those of the other part (the nearest first). False when no vertex is left to take.
bool Pierce(FlowContext *ctx, bool tosource, long long weight) {
  const std::vector<int> &piece = ctx->chain.piece;
  const int npieces = ctx->chain.npieces;
  const int na = ctx->nregion[0], n = static_cast<int>(ctx->region.size());
  auto across = [&](int i) { return tosource ? piece[2 + i] > npieces : piece[2 + i] == 0; };
  long long taken = 0;
  int count = 0;
  auto take = [&](int i) {
    if (ctx->pinned[i] || !across(i) || (count > 0 && taken >= weight)) return;
    ctx->pinned[i] = 1;
    ctx->net.cap[ctx->toterminal[tosource ? 0 : 1][i]] = kFlowInfinity;
    taken += ctx->nodewgt[2 + i];
    count++;
  };
  if (tosource) {
    for (int i = na - 1; i >= 0; i--) take(i);
    for (int i = na; i < n; i++) take(i);
  } else {
    for (int i = n - 1; i >= na; i--) take(i);
    for (int i = 0; i < na; i++) take(i);
  }
  return count > 0;
}

// A minimum cut seldom fits at once when the region is large; each batch of vertices made to
// stay on the light side costs a new maximum flow, so the batches are bounded.
constexpr int kMaxPierces = 16;
// Each time, vertices weighing this fraction of what the best cut misses the bound by.
constexpr int kPierceShare = 8;

}  // namespace

PairOutcome RefinePairOnce__(FlowContext *ctx, int a, int b, double scale) {
  PairOutcome outcome;
  const long long lima = RegionLimit(ctx, a, b, scale);
  const long long limb = RegionLimit(ctx, b, a, scale);
  GrowPairRegion__(ctx, a, b, lima, limb);
  if (ctx->region.empty()) {
    outcome.fitted = true;
    return outcome;
  }
  const long long oldcut = BuildPairNetwork__(ctx, a, b);
  long long flow = 0;
  ChainChoice choice;
  std::vector<long long> piecewgt;
  for (int pierced = 0;; pierced++) {
    flow += MaxFlow__(&ctx->net);
    if (flow > oldcut) break;  // nothing left to gain
    ComputeMinCutChain__(ctx->net, &ctx->chain);
    choice = ChooseCut(ctx, a, b, &piecewgt);
    if (choice.best >= 0 || pierced == kMaxPierces ||
        !Pierce(ctx, choice.light, choice.missby / kPierceShare))
      break;
  }
  const long long wa0 = ctx->pwgts[a], wb0 = ctx->pwgts[b];
  const long long gain = oldcut - flow;
  if (flow > oldcut || choice.best < 0) {
    ClearPairRegion__(ctx);
    return outcome;
  }
  outcome.fitted = true;
  if (gain == 0 && choice.load >= Load(ctx, a, b, wa0, wb0)) {
    ClearPairRegion__(ctx);
    return outcome;
  }
  const std::vector<int> &piece = ctx->chain.piece;
  for (size_t i = 0; i < ctx->region.size(); i++) {
    const int v = ctx->region[i];
    const int to = piece[2 + static_cast<int>(i)] <= choice.best ? a : b;
    if (ctx->part[v] == to) continue;
    MoveVertex__(ctx, v, to);
    outcome.applied = true;
  }
  outcome.gain = gain;
  ClearPairRegion__(ctx);
  return outcome;
}

PairOutcome RefinePair__(FlowContext *ctx, int a, int b, double scale) {
  PairOutcome outcome = RefinePairOnce__(ctx, a, b, scale);
  if (!outcome.fitted && scale > 1) outcome = RefinePairOnce__(ctx, a, b, 1.0);
  return outcome;
}

}  // namespace hypra
