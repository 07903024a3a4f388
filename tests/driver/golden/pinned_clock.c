/* Linked into a test copy of `hypra` so that its clock-seeded runs repeat: every call of time()
 * returns HYPRA_PINNED_CLOCK (default 1). A definition in the executable takes precedence over
 * the C library's, so the program's own code is unchanged. */
#include <stdlib.h>
#include <time.h>

time_t time(time_t *out) {
  const char *text = getenv("HYPRA_PINNED_CLOCK");
  const time_t value = text != NULL ? (time_t)strtoll(text, NULL, 10) : (time_t)1;
  if (out != NULL) *out = value;
  return value;
}
