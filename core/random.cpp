// Random seeding and the two permutation routines. The exact sequence of rand() calls fixes
// every random choice made after a seed, so the draws here must not be reordered.
#include <ctime>

#include "core/core.h"

namespace {

bool clock_pinned = false;
long long pinned_clock = 0;

// truncate(r * range * 2^-31): rand() taken as uniform over 0 .. 2^31-1.
inline int ScaledIndex(int r, int range) {
  return static_cast<int>(static_cast<double>(r) * static_cast<double>(range) *
                          4.656612873077393e-10);
}

inline void FillIdentity(int *p, int n) {
  for (int i = 0; i < n; i++) p[i] = i;
}

}  // namespace

long long ClockSeed__() {
  return clock_pinned ? pinned_clock : static_cast<long long>(std::time(nullptr));
}

void SetClockOverride__(long long value) {
  clock_pinned = true;
  pinned_clock = value;
}

void ClearClockOverride__() {
  clock_pinned = false;
}

void InitRandom__(int64_t seed) {
  if (seed < 0)
    std::srand(static_cast<unsigned int>(ClockSeed__()));
  else
    std::srand(static_cast<unsigned int>(seed));
}

void RandomPermuteFine__(int *p, int n, int flag) {
  if (flag == 1) FillIdentity(p, n);
  for (int i = 0; i < n; i++) {
    int r1 = std::rand();
    int r2 = std::rand();
    int u = ScaledIndex(r1, n);
    int v = ScaledIndex(r2, n);
    int tmp = p[u];
    p[u] = p[v];
    p[v] = tmp;
  }
}

void RandomPermute__(int *p, int n, int flag) {
  if (flag == 1) FillIdentity(p, n);
  int rounds = n / 16;
  for (int i = 0; i < rounds; i++) {
    int r1 = std::rand();
    int r2 = std::rand();
    int u = ScaledIndex(r1, n - 8);
    int v = ScaledIndex(r2, n - 8);
    for (int j = 0; j < 4; j++) {
      int tmp = p[u + j];
      p[u + j] = p[v + j];
      p[v + j] = tmp;
    }
  }
}
