/* Bisects a path of 6 vertices through the installed library. */
#include <hypra.h>
#include <stdio.h>

int main(void) {
  const int eptr[] = {0, 2, 4, 6, 8, 10};
  const int eind[] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 5};
  int options[9] = {1, 4, 1, 1, 0, 0, 0, 1, 0};
  int part[6], cut = -1;
  HYPRA_PartRecursive(6, 5, NULL, eptr, eind, NULL, 2, 10, options, part, &cut);
  printf("cut %d\n", cut);
  return cut == 1 ? 0 : 1;
}
