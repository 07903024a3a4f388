// The bookkeeping shared by the best-of-runs loops of bisection and direct k-way partitioning:
// which runs earn V-cycles, and the slots that keep the best few runs for the final V-cycles.
#include "core/core.h"
#include "partition/partition.h"

bool WantsVCycles__(const PartCtrl *ctrl, int obj, int best, bool improved) {
  switch (ctrl->Vcycle) {
    case 3:
      return best * 1.2 > obj || static_cast<long long>(obj) - best < 20;
    case 2:
      return obj <= best || improved;
    default:
      return false;
  }
}

void InitKeepSlots__(KeepSlots *keep, int count, int nvtxs, int impossible) {
  keep->count = count;
  for (int i = 0; i < count; i++) {
    keep->parts[i] = imalloc__(nvtxs, "Hypergraph_Bisection: parts[i]");
    keep->objs[i] = impossible;
  }
}

void OfferToSlots__(KeepSlots *keep, const int *where, int nvtxs, int obj) {
  int worst = 0;
  for (int i = 1; i < keep->count; i++)
    if (keep->objs[i] > keep->objs[worst]) worst = i;
  if (keep->count > 0 && keep->objs[worst] > obj) {
    icopy__(nvtxs, where, keep->parts[worst]);
    keep->objs[worst] = obj;
  }
}
