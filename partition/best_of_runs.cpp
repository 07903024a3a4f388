// The bookkeeping shared by the best-of-runs loops of bisection and direct k-way partitioning:
// which runs earn V-cycles, and the slots that keep the best few runs for the final V-cycles.
#include "core/core.h"
#include "partition/partition.h"

namespace hypra {

namespace {

// The V-cycle modes, by Vcycle: whether a run that reached `obj` earns V-cycles, judged against
// the best objective before it (mode 1 refines only the best few runs, after the last).
struct VCycleMode {
  int vcycle;
  const char *name;
  bool (*wants)(int obj, int best, bool improved);
};

constexpr VCycleMode kModes[] = {
    {0, "No V-cycles", [](int, int, bool) { return false; }},
    {1, "V-cycles @ End", [](int, int, bool) { return false; }},
    {2, "V-cycle for Min",
     [](int obj, int best, bool improved) { return obj <= best || improved; }},
    {3, "Always V-cycle",
     [](int obj, int best, bool) {
       return best * 1.2 > obj || static_cast<long long>(obj) - best < 20;
     }},
};

const VCycleMode *FindMode(int vcycle) {
  for (const VCycleMode &mode : kModes)
    if (mode.vcycle == vcycle) return &mode;
  return nullptr;
}

}  // namespace

bool WantsVCycles__(const PartCtrl *ctrl, int obj, int best, bool improved) {
  const VCycleMode *mode = FindMode(ctrl->Vcycle);
  return mode != nullptr && mode->wants(obj, best, improved);
}

bool IsVCycleMode__(int vcycle) {
  return FindMode(vcycle) != nullptr;
}

const char *VCycleModeName__(int vcycle) {
  const VCycleMode *mode = FindMode(vcycle);
  return mode != nullptr ? mode->name : "??";
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

}  // namespace hypra
