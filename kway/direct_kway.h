// Decisions of the direct k-way driver, shared with its tests.
#pragma once

#include "core/core.h"

namespace hypra {

// Whether a trial that reached objective `obj` gets V-cycles, judged by `Vcycle` against the best
// objective before the trial; `improving` tells whether the trial lowered the best of the
// pruned-hypergraph trials.
bool DirectKwayWantsVCycles(const PartCtrl *ctrl, int obj, int best, bool improving);

// Number of partitions kept for the final V-cycles when `Vcycle` is 1.
int DirectKwayKeptSlots(const PartCtrl *ctrl);

}  // namespace hypra
