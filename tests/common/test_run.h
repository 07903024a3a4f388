// The run record the tests hand to engine routines: one per test thread, seeded like a run.
#pragma once

#include <cstdint>

#include "core/core.h"

using namespace hypra;

namespace testrun {

inline RunState *Run() {
  struct Holder {
    RunState run;
    Holder() { InitRunState__(&run, 1); }
    ~Holder() { FreeRunState__(&run); }
  };
  static thread_local Holder holder;
  return &holder.run;
}

// The test run with the values a run goes by cleared (a test sets the ones it needs) and its
// timers at zero; its generator carries on.
inline RunState *Fresh() {
  RunState *run = Run();
  run->now = RunValues{};
  InitTimers__(&run->time);
  return run;
}

// Reseeds the test run's generator as a run would with this seed.
inline void Seed(int64_t seed) {
  InitRandom__(&Run()->rng, seed);
}

inline RandomState *Rng() {
  return &Run()->rng;
}

}  // namespace testrun
