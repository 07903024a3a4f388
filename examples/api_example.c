/* Partitions a small hypergraph held in memory into 2 parts with the library's C interface. */
#include <hypra.h>
#include <stdio.h>

int main(void) {
  /* Two squares of 4 vertices each, joined by a single 2-pin hyperedge (3, 4). */
  const int nvtxs = 8, nhedges = 7;
  const int eptr[] = {0, 2, 4, 6, 8, 11, 14, 16};
  const int eind[] = {0, 1, 1, 2, 2, 3, 3, 0, 4, 5, 6, 5, 6, 7, 3, 4};
  const int hewgts[] = {1, 1, 1, 1, 2, 2, 1};
  int options[9] = {1, 10, 1, 1, 1, 0, 0, 7, 0}; /* the defaults, with seed 7 */
  int part[8];
  int edgecut = -1;

  HYPRA_PartRecursive(nvtxs, nhedges, NULL, eptr, eind, hewgts, 2, 10, options, part, &edgecut);

  printf("cut %d:", edgecut);
  for (int v = 0; v < nvtxs; v++) printf(" %d", part[v]);
  printf("\n");
  return edgecut == 1 ? 0 : 1;
}
