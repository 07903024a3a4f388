// One pair of parts: grow the region, find a maximum flow, and move the region's vertices to
// the side of the most balanced minimum cut that fits the bound, when that helps.
#include <algorithm>
#include <cmath>

#include "flow/flow_internal.h"

namespace hypra {

namespace {

// The region of one side may hold at most scale x the room left in the other part: with a
// factor of 1 every cut fits, larger factors give the flow more freedom at the risk that the
// best cut does not.
long long RegionLimit(const FlowContext *ctx, int from, int to, double scale) {
  const long long room = std::max(0LL, ctx->maxpartwgt - ctx->pwgts[to]);
  const double scaled = std::floor(scale * static_cast<double>(room));
  const double whole = static_cast<double>(ctx->pwgts[from]);
  return static_cast<long long>(std::min(scaled, whole));
}

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
  const long long flow = MaxFlow__(&ctx->net);
  ComputeMinCutChain__(ctx->net, &ctx->chain);
  const std::vector<int> &piece = ctx->chain.piece;
  const int npieces = ctx->chain.npieces;

  // The weight of part a for each cut of the chain: a outside the region, plus the region
  // vertices of the pieces up to the cut's.
  std::vector<long long> piecewgt(static_cast<size_t>(npieces) + 2, 0);
  for (int node = 2; node < ctx->net.nnodes; node++) piecewgt[piece[node]] += ctx->nodewgt[node];
  const long long wa0 = ctx->pwgts[a], wb0 = ctx->pwgts[b];
  const long long total = wa0 + wb0;
  // A part already above the bound may not grow; any other may not go above it.
  const long long capa = std::max(ctx->maxpartwgt, wa0);
  const long long capb = std::max(ctx->maxpartwgt, wb0);
  long long wa = wa0 - ctx->regionwgt[0];
  int best = -1;
  long long bestmax = 0, bestshift = 0;
  for (int i = 0; i <= npieces; i++) {
    wa += piecewgt[i];
    const long long wb = total - wa;
    if (wa > capa || wb > capb) continue;
    const long long heavier = std::max(wa, wb);
    const long long shift = std::llabs(wa - wa0);
    if (best < 0 || heavier < bestmax || (heavier == bestmax && shift < bestshift)) {
      best = i;
      bestmax = heavier;
      bestshift = shift;
    }
  }
  if (best < 0) {
    ClearPairRegion__(ctx);
    return outcome;
  }
  outcome.fitted = true;
  const long long gain = oldcut - flow;
  if (gain < 0 || (gain == 0 && bestmax >= std::max(wa0, wb0))) {
    ClearPairRegion__(ctx);
    return outcome;
  }
  for (size_t i = 0; i < ctx->region.size(); i++) {
    const int v = ctx->region[i];
    const int to = piece[2 + static_cast<int>(i)] <= best ? a : b;
    if (ctx->part[v] == to) continue;
    ctx->pwgts[ctx->part[v]] -= CellWeight__(ctx, v);
    ctx->pwgts[to] += CellWeight__(ctx, v);
    ctx->part[v] = to;
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
