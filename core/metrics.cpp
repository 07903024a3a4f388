// Quality figures of any partition, computed in 64 bits so that no weight sum can overflow: the
// figures a script compares partitioners by.
#include <algorithm>
#include <vector>

#include "core/core.h"

namespace hypra {

namespace {

long long WeightOf(const int *weights, int i) {
  return weights == nullptr ? 1 : weights[i];
}

}  // namespace

int ComputePartitionMetrics__(int nvtxs, int nhedges, const int *cellwgt, const int *netptr,
                              const int *netind, const int *netwgt, int nparts, const int *part,
                              long long *pwgts, PartitionMetrics *m) {
  if (nparts < 1 || nvtxs < 0 || nhedges < 0) return 1;
  std::vector<long long> weights(static_cast<size_t>(nparts), 0);
  long long total = 0;
  for (int v = 0; v < nvtxs; v++) {
    if (part[v] < 0 || part[v] >= nparts) return 1;
    weights[part[v]] += WeightOf(cellwgt, v);
    total += WeightOf(cellwgt, v);
  }

  // The parts one hyperedge touches are counted with a stamp per part, so a hyperedge costs its
  // size and not the number of parts.
  std::vector<int> stamp(static_cast<size_t>(nparts), -1);
  m->cut = m->soed = m->km1 = 0;
  for (int e = 0; e < nhedges; e++) {
    int touched = 0;
    for (int j = netptr[e]; j < netptr[e + 1]; j++) {
      const int p = part[netind[j]];
      if (stamp[p] != e) {
        stamp[p] = e;
        touched++;
      }
    }
    if (touched < 2) continue;
    const long long w = WeightOf(netwgt, e);
    m->cut += w;
    m->soed += w * touched;
    m->km1 += w * (touched - 1);
  }

  m->total = total;
  m->maxpart = nparts > 0 ? *std::max_element(weights.begin(), weights.end()) : 0;
  // The balance users state: the heaviest part against a perfectly even share, rounded up.
  const long long even = (total + nparts - 1) / nparts;
  m->imbalance = even > 0 ? static_cast<double>(m->maxpart) / static_cast<double>(even) - 1.0 : 0;
  if (pwgts != nullptr) std::copy(weights.begin(), weights.end(), pwgts);
  return 0;
}

}  // namespace hypra
