// The flow network of a pair of parts: a region around their common boundary, the rest of each
// part contracted into the source or the sink, and each hyperedge whose fate the region decides
// turned into a pair of nodes joined by an arc of its weight.
#include <algorithm>

#include "flow/flow_internal.h"

namespace hypra {

void InitFlowContext__(FlowContext *ctx, const HGraph *graph, int nparts, int *part,
                       const int *fixedpart, int objective, long long maxpartwgt,
                       const long long *partcap) {
  ctx->graph = graph;
  ctx->nparts = nparts;
  ctx->part = part;
  ctx->fixedpart = fixedpart;
  ctx->objective = objective;
  if (partcap != nullptr)
    ctx->cap.assign(partcap, partcap + nparts);
  else
    ctx->cap.assign(nparts, maxpartwgt);
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  if (graph->incptr != nullptr && graph->incind != nullptr) {
    ctx->incptr = graph->incptr;
    ctx->incind = graph->incind;
  } else {
    // Vertex -> hyperedges, in increasing hyperedge order.
    ctx->ownincptr.assign(static_cast<size_t>(nvtxs) + 1, 0);
    for (int j = 0; j < graph->netptr[nhedges]; j++) ctx->ownincptr[graph->netind[j] + 1]++;
    for (int v = 0; v < nvtxs; v++) ctx->ownincptr[v + 1] += ctx->ownincptr[v];
    ctx->ownincind.resize(static_cast<size_t>(graph->netptr[nhedges]));
    std::vector<int> fill(ctx->ownincptr.begin(), ctx->ownincptr.end() - 1);
    for (int e = 0; e < nhedges; e++)
      for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++)
        ctx->ownincind[fill[graph->netind[j]]++] = e;
    ctx->incptr = ctx->ownincptr.data();
    ctx->incind = ctx->ownincind.data();
  }
  ctx->pwgts.assign(nparts, 0);
  for (int v = 0; v < nvtxs; v++) ctx->pwgts[part[v]] += CellWeight__(ctx, v);
  CollectCutNets__(ctx);
  ctx->nodeof.assign(nvtxs, -1);
  ctx->hstamp.assign(nhedges, 0);
  ctx->stamp = 0;
  ctx->region.clear();
}

void CollectCutNets__(FlowContext *ctx) {
  const HGraph *graph = ctx->graph;
  ctx->cutnets.clear();
  ctx->listed.assign(graph->nhedges, 0);
  for (int e = 0; e < graph->nhedges; e++) {
    for (int j = graph->netptr[e] + 1; j < graph->netptr[e + 1]; j++)
      if (ctx->part[graph->netind[j]] != ctx->part[graph->netind[graph->netptr[e]]]) {
        ctx->cutnets.push_back(e);
        ctx->listed[e] = 1;
        break;
      }
  }
}

void MoveVertex__(FlowContext *ctx, int v, int to) {
  ctx->pwgts[ctx->part[v]] -= CellWeight__(ctx, v);
  ctx->pwgts[to] += CellWeight__(ctx, v);
  ctx->part[v] = to;
  for (int k = ctx->incptr[v]; k < ctx->incptr[v + 1]; k++) {
    const int e = ctx->incind[k];
    if (!ctx->listed[e]) {
      ctx->listed[e] = 1;
      ctx->cutnets.push_back(e);
    }
  }
}

long long CellWeight__(const FlowContext *ctx, int v) {
  return ctx->graph->cellwgt == nullptr ? 1 : ctx->graph->cellwgt[v];
}

bool IsFixed__(const FlowContext *ctx, int v) {
  return ctx->fixedpart != nullptr && ctx->fixedpart[v] >= 0;
}

namespace {

long long NetWeight(const HGraph *graph, int e) {
  return graph->netwgt == nullptr ? 1 : graph->netwgt[e];
}

}  // namespace

long long FlowObjective__(const FlowContext *ctx) {
  const HGraph *graph = ctx->graph;
  std::vector<int> seen(ctx->nparts, -1);
  long long total = 0;
  for (int e = 0; e < graph->nhedges; e++) {
    int touched = 0;
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++) {
      const int p = ctx->part[graph->netind[j]];
      if (seen[p] != e) {
        seen[p] = e;
        touched++;
      }
    }
    if (touched < 2) continue;
    total += NetWeight(graph, e) * (ctx->objective == FLOW_OBJ_CUT ? 1 : touched - 1);
  }
  return total;
}

void GrowPairRegion__(FlowContext *ctx, int a, int b, long long lima, long long limb) {
  const HGraph *graph = ctx->graph;
  const int *netptr = graph->netptr, *netind = graph->netind;
  const int *part = ctx->part;
  ClearPairRegion__(ctx);

  // The boundary: the movable pins of the hyperedges joining a and b that a cut of the network
  // could uncut (for the cut objective, those with no pin in a third part).
  std::vector<int> seeds[2];
  for (int e : ctx->cutnets) {
    bool ina = false, inb = false, other = false;
    for (int j = netptr[e]; j < netptr[e + 1]; j++) {
      const int p = part[netind[j]];
      ina |= p == a;
      inb |= p == b;
      other |= p != a && p != b;
    }
    if (!ina || !inb || (other && ctx->objective == FLOW_OBJ_CUT)) continue;
    for (int j = netptr[e]; j < netptr[e + 1]; j++) {
      const int v = netind[j];
      if ((part[v] == a || part[v] == b) && !IsFixed__(ctx, v)) seeds[part[v] == b].push_back(v);
    }
  }

  for (int side = 0; side < 2; side++) {
    const int p = side == 0 ? a : b;
    const long long limit = side == 0 ? lima : limb;
    std::vector<int> &list = seeds[side];
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    const size_t start = ctx->region.size();
    long long used = 0;
    auto take = [&](int v) {
      if (ctx->nodeof[v] >= 0 || used + CellWeight__(ctx, v) > limit) return;
      ctx->nodeof[v] = 2 + static_cast<int>(ctx->region.size());
      ctx->region.push_back(v);
      used += CellWeight__(ctx, v);
    };
    for (int v : list) take(v);
    // Breadth first through the hyperedges, each expanded once.
    const int sweep = ++ctx->stamp;
    for (size_t i = start; i < ctx->region.size() && used < limit; i++) {
      const int v = ctx->region[i];
      for (int k = ctx->incptr[v]; k < ctx->incptr[v + 1] && used < limit; k++) {
        const int e = ctx->incind[k];
        if (ctx->hstamp[e] == sweep) continue;
        ctx->hstamp[e] = sweep;
        for (int j = netptr[e]; j < netptr[e + 1]; j++) {
          const int u = netind[j];
          if (part[u] == p && !IsFixed__(ctx, u)) take(u);
        }
      }
    }
    ctx->nregion[side] = static_cast<int>(ctx->region.size() - start);
    ctx->regionwgt[side] = used;
  }
}

void ClearPairRegion__(FlowContext *ctx) {
  for (int v : ctx->region) ctx->nodeof[v] = -1;
  ctx->region.clear();
  ctx->nregion[0] = ctx->nregion[1] = 0;
  ctx->regionwgt[0] = ctx->regionwgt[1] = 0;
}

long long BuildPairNetwork__(FlowContext *ctx, int a, int b) {
  const HGraph *graph = ctx->graph;
  const int *netptr = graph->netptr, *netind = graph->netind;
  const int *part = ctx->part;
  FlowNetwork *net = &ctx->net;
  const int nregion = static_cast<int>(ctx->region.size());
  StartFlowNetwork__(net, 2 + nregion, 0, 1);
  long long oldcut = 0;
  const int sweep = ++ctx->stamp;
  std::vector<int> pins;
  for (int i = 0; i < nregion; i++) {
    const int v = ctx->region[i];
    for (int k = ctx->incptr[v]; k < ctx->incptr[v + 1]; k++) {
      const int e = ctx->incind[k];
      if (ctx->hstamp[e] == sweep) continue;
      ctx->hstamp[e] = sweep;
      // Only the pins in a and b matter: a pin in a third part keeps the hyperedge cut (the cut
      // objective then has nothing to gain from it) and adds the same to its connectivity
      // whatever a and b do.
      bool tosource = false, tosink = false, other = false, ina = false, inb = false;
      pins.clear();
      for (int j = netptr[e]; j < netptr[e + 1]; j++) {
        const int u = netind[j];
        const int p = part[u];
        if (p == a)
          ina = true;
        else if (p == b)
          inb = true;
        else
          other = true;
        if (ctx->nodeof[u] >= 0)
          pins.push_back(ctx->nodeof[u]);
        else if (p == a)
          tosource = true;
        else if (p == b)
          tosink = true;
      }
      if (other && ctx->objective == FLOW_OBJ_CUT) continue;
      if (tosource && tosink) continue;  // cut whatever the region does
      const int nends = static_cast<int>(pins.size()) + tosource + tosink;
      if (nends < 2) continue;
      const long long w = NetWeight(graph, e);
      if (ina && inb) oldcut += w;
      if (tosource) pins.push_back(net->source);
      if (tosink) pins.push_back(net->sink);
      if (nends == 2) {
        // Two ends: one arc each way carries the same cut at a fraction of the size.
        AddFlowArc__(net, pins[0], pins[1], w, w);
        continue;
      }
      const int in = AddFlowNode__(net);
      const int out = AddFlowNode__(net);
      AddFlowArc__(net, in, out, w, 0);
      for (int x : pins) {
        if (x != net->sink) AddFlowArc__(net, x, in, kFlowInfinity, 0);
        if (x != net->source) AddFlowArc__(net, out, x, kFlowInfinity, 0);
      }
    }
  }
  for (int side = 0; side < 2; side++) ctx->toterminal[side].resize(nregion);
  ctx->pinned.assign(nregion, 0);
  for (int i = 0; i < nregion; i++) {
    ctx->toterminal[0][i] = AddFlowArc__(net, net->source, 2 + i, 0, 0);
    ctx->toterminal[1][i] = AddFlowArc__(net, 2 + i, net->sink, 0, 0);
  }
  FinishFlowNetwork__(net);
  for (int side = 0; side < 2; side++)
    for (int i = 0; i < nregion; i++)
      ctx->toterminal[side][i] = net->slot[ctx->toterminal[side][i]];
  ctx->nodewgt.assign(net->nnodes, 0);
  for (int i = 0; i < nregion; i++) ctx->nodewgt[2 + i] = CellWeight__(ctx, ctx->region[i]);
  return oldcut;
}

}  // namespace hypra
