// Reader of the fix file: one pre-assigned part (or -1 for a free vertex) per vertex.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "driver/driver.h"

namespace hypra {

namespace {

// Refuses a part number that is neither -1 nor a possible part.
int PartValue(long value, int vertex, const char *filename) {
  if (value < -1 || value > INT_MAX)
    errexit__("File %s: vertex %d is fixed to part %ld; a part must be -1 (free) or 0 to %d",
              filename, vertex, value, INT_MAX);
  return static_cast<int>(value);
}

bool Blank(int c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// The next blank-separated token, or false at the end of the file; lineno counts the newlines
// passed, so that it names the token's line.
bool NextToken(FILE *fp, char *token, int size, long *lineno) {
  int c = std::fgetc(fp);
  while (c != EOF && Blank(c)) {
    if (c == '\n') ++*lineno;
    c = std::fgetc(fp);
  }
  if (c == EOF) return false;
  int n = 0;
  while (c != EOF && !Blank(c)) {
    if (n < size - 1) token[n++] = static_cast<char>(c);
    c = std::fgetc(fp);
  }
  if (c != EOF) std::ungetc(c, fp);
  token[n] = '\0';
  return true;
}

}  // namespace

void ReadPartition(int nvtxs, int *part, const char *filename) {
  ReadPartitionChecked(nvtxs, part, filename, 0);
}

void ReadPartitionChecked(int nvtxs, int *part, const char *filename, int strict) {
  FILE *fp = RVfopen__(filename, "r", "ReadPartition: partfile");
  if (strict) {
    // Every entry must be a whole integer; a short file leaves the remaining vertices as they
    // were, as the plain reader does.
    long lineno = 1;
    char token[64];
    for (int i = 0; i < nvtxs && NextToken(fp, token, sizeof(token), &lineno); i++) {
      char *end;
      errno = 0;
      const long value = std::strtol(token, &end, 10);
      if (end == token || *end != '\0')
        errexit__("File %s, line %ld: the part of vertex %d, '%s', is not a whole number", filename,
                  lineno, i + 1, token);
      if (errno == ERANGE)
        errexit__("File %s, line %ld: the part of vertex %d, '%s', is out of range", filename,
                  lineno, i + 1, token);
      part[i] = PartValue(value, i, filename);
    }
    std::fclose(fp);
    return;
  }
  for (int i = 0; i < nvtxs; i++) {
    // A failed read consumes nothing, so every later read fails as well and those entries keep
    // the value they had. Reading as long only lets an oversized number be refused instead of
    // being truncated.
    long value;
    if (std::fscanf(fp, "%ld\n", &value) != 1) continue;
    part[i] = PartValue(value, i, filename);
  }
  std::fclose(fp);
}

}  // namespace hypra
