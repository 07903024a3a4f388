// Maximum flow by blocking flows on level graphs, and the chain of minimum cuts it leaves.
//
// The networks of a region can be long and thin (a chain of hyperedges), so every search keeps
// its own stack in an array instead of recursing.
#include <algorithm>

#include "flow/flow_internal.h"

namespace hypra {

void StartFlowNetwork__(FlowNetwork *net, int nnodes, int source, int sink) {
  net->nnodes = nnodes;
  net->source = source;
  net->sink = sink;
  net->from.clear();
  net->to.clear();
  net->fwd.clear();
  net->bwd.clear();
}

int AddFlowNode__(FlowNetwork *net) {
  return net->nnodes++;
}

int AddFlowArc__(FlowNetwork *net, int u, int v, long long cap, long long backcap) {
  net->from.push_back(u);
  net->to.push_back(v);
  net->fwd.push_back(cap);
  net->bwd.push_back(backcap);
  return static_cast<int>(net->from.size()) - 1;
}

void FinishFlowNetwork__(FlowNetwork *net) {
  const int n = net->nnodes;
  const size_t narcs = net->from.size();
  net->first.assign(static_cast<size_t>(n) + 1, 0);
  for (size_t i = 0; i < narcs; i++) {
    net->first[net->from[i] + 1]++;
    net->first[net->to[i] + 1]++;
  }
  for (int u = 0; u < n; u++) net->first[u + 1] += net->first[u];
  net->head.resize(2 * narcs);
  net->rev.resize(2 * narcs);
  net->cap.resize(2 * narcs);
  // Arcs are laid out in the order they were added, which keeps the flow deterministic.
  std::vector<int> fill(net->first.begin(), net->first.end() - 1);
  net->slot.resize(narcs);
  for (size_t i = 0; i < narcs; i++) {
    const int u = net->from[i], v = net->to[i];
    const int x = fill[u]++;
    const int y = fill[v]++;
    net->slot[i] = x;
    net->head[x] = v;
    net->cap[x] = net->fwd[i];
    net->rev[x] = y;
    net->head[y] = u;
    net->cap[y] = net->bwd[i];
    net->rev[y] = x;
  }
}

long long MaxFlow__(FlowNetwork *net) {
  const int n = net->nnodes, s = net->source, t = net->sink;
  const int *first = net->first.data();
  const int *head = net->head.data();
  const int *rev = net->rev.data();
  long long *cap = net->cap.data();
  std::vector<int> level(n), next(n), queue(n), path(n);
  long long total = 0;
  if (s == t) return 0;
  for (;;) {
    std::fill(level.begin(), level.end(), -1);
    level[s] = 0;
    int qhead = 0, qtail = 0;
    queue[qtail++] = s;
    while (qhead < qtail) {
      const int u = queue[qhead++];
      if (u == t) break;  // nodes farther than the sink cannot be on a shortest path
      for (int a = first[u]; a < first[u + 1]; a++) {
        const int v = head[a];
        if (cap[a] > 0 && level[v] < 0) {
          level[v] = level[u] + 1;
          queue[qtail++] = v;
        }
      }
    }
    if (level[t] < 0) break;

    // A blocking flow: walk forward along level-increasing arcs with capacity, retreat from
    // dead ends (which leave the level graph), and augment whenever the sink is reached.
    std::copy(first, first + n, next.begin());
    int depth = 0, u = s;
    for (;;) {
      if (u == t) {
        long long f = kFlowInfinity;
        for (int i = 0; i < depth; i++) f = std::min(f, cap[path[i]]);
        for (int i = 0; i < depth; i++) {
          cap[path[i]] -= f;
          cap[rev[path[i]]] += f;
        }
        total += f;
        int k = 0;
        while (cap[path[k]] > 0) k++;
        depth = k;
        u = head[rev[path[k]]];
        continue;
      }
      int a = next[u];
      const int end = first[u + 1];
      while (a < end && (cap[a] <= 0 || level[head[a]] != level[u] + 1)) a++;
      next[u] = a;
      if (a < end) {
        path[depth++] = a;
        u = head[a];
        continue;
      }
      level[u] = -1;
      if (depth == 0) break;
      const int back = path[--depth];
      u = head[rev[back]];
      next[u]++;
    }
  }
  return total;
}

void ComputeMinCutChain__(const FlowNetwork &net, MinCutChain *chain) {
  const int n = net.nnodes;
  const int *first = net.first.data();
  const int *head = net.head.data();
  const int *rev = net.rev.data();
  const long long *cap = net.cap.data();
  constexpr int kUnset = -1;
  std::vector<int> &piece = chain->piece;
  std::vector<int> &queue = chain->queue;
  piece.assign(n, kUnset);
  queue.resize(n);

  // The source side of the smallest minimum cut.
  int qhead = 0, qtail = 0;
  piece[net.source] = 0;
  queue[qtail++] = net.source;
  while (qhead < qtail) {
    const int u = queue[qhead++];
    for (int a = first[u]; a < first[u + 1]; a++)
      if (cap[a] > 0 && piece[head[a]] == kUnset) {
        piece[head[a]] = 0;
        queue[qtail++] = head[a];
      }
  }
  // The nodes that reach the sink: v is entered from u when the residual arc u -> v (the
  // reverse of v -> u) has capacity.
  constexpr int kSinkSide = -2;
  qhead = qtail = 0;
  if (piece[net.sink] == kUnset) {
    piece[net.sink] = kSinkSide;
    queue[qtail++] = net.sink;
  }
  while (qhead < qtail) {
    const int v = queue[qhead++];
    for (int a = first[v]; a < first[v + 1]; a++) {
      const int u = head[a];
      if (cap[rev[a]] > 0 && piece[u] == kUnset) {
        piece[u] = kSinkSide;
        queue[qtail++] = u;
      }
    }
  }

  // The strongly connected sets of the rest, in the order Tarjan's search completes them: a set
  // is complete only after every set it reaches, so each prefix of the order is closed.
  std::vector<int> &index = chain->index, &low = chain->low, &stack = chain->stack;
  std::vector<int> &callnode = chain->callnode, &callarc = chain->callarc;
  std::vector<char> &onstack = chain->onstack;
  index.assign(n, -1);
  low.assign(n, 0);
  onstack.assign(n, 0);
  stack.clear();
  callnode.clear();
  callarc.clear();
  int counter = 0, npieces = 0;
  for (int r = 0; r < n; r++) {
    if (piece[r] != kUnset || index[r] >= 0) continue;
    index[r] = low[r] = counter++;
    stack.push_back(r);
    onstack[r] = 1;
    callnode.push_back(r);
    callarc.push_back(first[r]);
    while (!callnode.empty()) {
      const int u = callnode.back();
      const int a = callarc.back();
      if (a < first[u + 1]) {
        callarc.back() = a + 1;
        const int v = head[a];
        if (cap[a] <= 0 || piece[v] != kUnset) continue;
        if (index[v] < 0) {
          index[v] = low[v] = counter++;
          stack.push_back(v);
          onstack[v] = 1;
          callnode.push_back(v);
          callarc.push_back(first[v]);
        } else if (onstack[v]) {
          low[u] = std::min(low[u], index[v]);
        }
        continue;
      }
      callnode.pop_back();
      callarc.pop_back();
      if (!callnode.empty()) low[callnode.back()] = std::min(low[callnode.back()], low[u]);
      if (low[u] != index[u]) continue;
      npieces++;
      for (;;) {
        const int w = stack.back();
        stack.pop_back();
        onstack[w] = 0;
        index[w] = n + npieces;  // done; never looked at again as unvisited
        piece[w] = kUnset - 100 - npieces;
        if (w == u) break;
      }
    }
  }
  // The sets were marked with negative numbers while the search still needed piece[] unset for
  // the rest; number them now.
  for (int u = 0; u < n; u++) {
    if (piece[u] == kSinkSide)
      piece[u] = npieces + 1;
    else if (piece[u] < kSinkSide)
      piece[u] = -(piece[u] - kUnset + 100);
  }
  chain->npieces = npieces;
}

}  // namespace hypra
