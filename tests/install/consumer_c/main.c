/*
 * Partitions a ring of four blocks through the installed library, once with the options vector
 * and once with a parameters record on two threads, and checks both cuts against the optimum
 * and the library's own measurement.
 *
 * Each block of 4 vertices is held together by a 4-pin hyperedge of weight 2 and a cycle of
 * 2-pin hyperedges; one 2-pin hyperedge joins each block to the next. The best bisection cuts the
 * ring in two places (cut 2), the best 4-way partition in four (cut 4).
 */
#include <hypra.h>
#include <stdio.h>
#include <string.h>

#define NVTXS 16
#define NHEDGES 24

static int eptr[NHEDGES + 1];
static int eind[56]; /* 4 blocks of 4 + 4 x 2 + 2 pins */
static int hewgts[NHEDGES];

static void build(void) {
  int e = 0, p = 0;
  for (int b = 0; b < 4; b++) {
    int first = 4 * b;
    eptr[e] = p;
    hewgts[e++] = 2;
    for (int i = 0; i < 4; i++) eind[p++] = first + i;
    for (int i = 0; i < 4; i++) {
      eptr[e] = p;
      hewgts[e++] = 1;
      eind[p++] = first + i;
      eind[p++] = first + (i + 1) % 4;
    }
    eptr[e] = p;
    hewgts[e++] = 1;
    eind[p++] = first + 3;
    eind[p++] = (first + 4) % NVTXS;
  }
  eptr[e] = p;
}

int main(void) {
  int part[NVTXS];
  int options[9] = {1, 10, 1, 1, 1, 0, 0, 7, 0}; /* the defaults, with seed 7 */
  int cut2 = -1, cut4 = -1;
  HYPRA_Params params;

  build();
  HYPRA_PartRecursive(NVTXS, NHEDGES, NULL, eptr, eind, hewgts, 2, 5, options, part, &cut2);

  HYPRA_DefaultParams(&params);
  params.nparts = 4;
  params.seed = 7;
  params.threads = 2;
  if (HYPRA_Partition(NVTXS, NHEDGES, NULL, eptr, eind, hewgts, &params, part, &cut4) != HYPRA_OK)
    return 1;

  /* The library measures the cut it reported, and is the version this header describes. */
  HYPRA_Metrics metrics;
  if (HYPRA_ComputeMetrics(NVTXS, NHEDGES, NULL, eptr, eind, hewgts, 4, part, NULL, &metrics) !=
          HYPRA_OK ||
      metrics.cut != cut4 || strcmp(HYPRA_Version(), HYPRA_VERSION_STRING) != 0)
    return 1;

  printf("cut %d, 4-way cut %d\n", cut2, cut4);
  return cut2 == 2 && cut4 == 4 ? 0 : 1;
}
