// Random seeding, the run record and the two permutation routines. The exact sequence of draws
// fixes every random choice made after a seed, so the draws here must not be reordered.
#include <atomic>
#include <ctime>

#include "core/core.h"

namespace hypra {

namespace {

// The clock pin is process-wide (a program sets it once, before partitioning); atomics keep a
// read on one thread and a change on another from being a data race.
std::atomic<bool> clock_pinned{false};
std::atomic<long long> pinned_clock{0};

// truncate(r * range * 2^-31): a draw taken as uniform over 0 .. 2^31-1.
inline int ScaledIndex(int r, int range) {
  return static_cast<int>(static_cast<double>(r) * static_cast<double>(range) *
                          4.656612873077393e-10);
}

inline void FillIdentity(int *p, int n) {
  for (int i = 0; i < n; i++) p[i] = i;
}

}  // namespace

long long ClockSeed__() {
  return clock_pinned ? pinned_clock.load() : static_cast<long long>(std::time(nullptr));
}

void SetClockOverride__(long long value) {
  pinned_clock = value;
  clock_pinned = true;
}

void ClearClockOverride__() {
  clock_pinned = false;
}

void SeedRandom__(RandomState *rng, unsigned int seed) {
  if (seed == 0) seed = 1;
  rng->table[0] = static_cast<int32_t>(seed);
  // Park-Miller steps (16807 x mod 2^31 - 1, by Schrage's method) fill the table from the seed,
  // which enters as a signed 32-bit word: seeds from 2^31 up start from a negative one.
  int32_t word = static_cast<int32_t>(seed);
  for (int i = 1; i < 31; i++) {
    const long long hi = word / 127773, lo = word % 127773;
    word = static_cast<int32_t>(16807 * lo - 2836 * hi);
    if (word < 0) word += 2147483647;
    rng->table[i] = static_cast<int32_t>(word);
  }
  rng->front = 3;
  rng->rear = 0;
  // The first 310 draws are discarded, as the C library does, to mix the table.
  for (int i = 0; i < 310; i++) NextRandom__(rng);
}

void InitRandom__(RandomState *rng, int64_t seed) {
  if (seed < 0)
    SeedRandom__(rng, static_cast<unsigned int>(ClockSeed__()));
  else
    SeedRandom__(rng, static_cast<unsigned int>(seed));
}

void SeedStream__(RandomState *rng, int64_t seed, int64_t place, int64_t index) {
  // splitmix64 steps over the three numbers: every bit of each reaches every bit of the seed.
  auto mix = [](uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
  };
  uint64_t h = mix(static_cast<uint64_t>(seed));
  h = mix(h ^ static_cast<uint64_t>(place));
  h = mix(h ^ static_cast<uint64_t>(index));
  SeedRandom__(rng, static_cast<unsigned int>(h ^ (h >> 32)));
}

void InitRunState__(RunState *run, int64_t seed) {
  InitRandom__(&run->rng, seed);
  for (CandidateList &list : run->lists) list = CandidateList{nullptr, nullptr, 0, 0};
  run->out = nullptr;
  run->now = RunValues{};
  InitTimers__(&run->time);
  run->stop = nullptr;
}

void InitTaskRunState__(RunState *run, const RunState *parent) {
  InitRunState__(run, 0);
  run->now = parent->now;
}

void InitRunValues__(RunValues *now, const PartCtrl *ctrl) {
  *now = RunValues{};
  now->CoarsenTo = ctrl->CoarsenTo;
  now->CType = ctrl->CType;
  now->RType = ctrl->RType;
  now->UBfactor = ctrl->UBfactor;
  now->dbglvl = ctrl->dbglvl;
}

void FreeRunState__(RunState *run) {
  for (CandidateList &list : run->lists) {
    RVfree__(&list.cand, &list.cwgt);
    list.ncand = list.capacity = 0;
  }
}

void GrowCandidateList__(CandidateList *list) {
  if (list->ncand < list->capacity) return;
  // The customary 10000 entries first, doubling after; results never depend on the capacity.
  const long long capacity = list->capacity == 0 ? 10000 : 2LL * list->capacity;
  int *cand = imalloc__(capacity, "GrowCandidateList: cand");
  float *cwgt = fmalloc__(capacity, "GrowCandidateList: cwgt");
  icopy__(list->ncand, list->cand, cand);
  for (int i = 0; i < list->ncand; i++) cwgt[i] = list->cwgt[i];
  RVfree__(&list->cand, &list->cwgt);
  list->cand = cand;
  list->cwgt = cwgt;
  list->capacity = static_cast<int>(capacity);
}

void RandomPermuteFine__(RandomState *rng, int *p, int n, int flag) {
  if (flag == 1) FillIdentity(p, n);
  for (int i = 0; i < n; i++) {
    int r1 = NextRandom__(rng);
    int r2 = NextRandom__(rng);
    int u = ScaledIndex(r1, n);
    int v = ScaledIndex(r2, n);
    int tmp = p[u];
    p[u] = p[v];
    p[v] = tmp;
  }
}

void RandomPermute__(RandomState *rng, int *p, int n, int flag) {
  if (flag == 1) FillIdentity(p, n);
  int rounds = n / 16;
  for (int i = 0; i < rounds; i++) {
    int r1 = NextRandom__(rng);
    int r2 = NextRandom__(rng);
    int u = ScaledIndex(r1, n - 8);
    int v = ScaledIndex(r2, n - 8);
    for (int j = 0; j < 4; j++) {
      int tmp = p[u + j];
      p[u + j] = p[v + j];
      p[v + j] = tmp;
    }
  }
}

}  // namespace hypra
