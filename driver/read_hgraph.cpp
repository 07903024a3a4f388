// Reader of the hypergraph file: a first pass that bounds the number of pins, then the real
// read into an HGraph.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/driver.h"

namespace hypra {

namespace {

// Lines are read in chunks of this size; a longer line continues as the next "line".
constexpr int kLineSize = 131072;

struct Header {
  int nhedges;
  int nvtxs;
  int fmt;
};

char *NewLineBuffer() {
  return static_cast<char *>(RVmalloc__(kLineSize, "ReadHGraph: line"));
}

// The next line that is not a comment, or null at the end of the file. lineno counts the lines
// read, so that a message can name the line at fault.
char *NextLine(FILE *fp, char *line, long *lineno) {
  do {
    if (std::fgets(line, kLineSize, fp) == nullptr) return nullptr;
    ++*lineno;
  } while (line[0] == '%');
  return line;
}

// Whether the text at p, after blanks, is a whole decimal integer: digits (after an optional
// sign) followed by a blank or the end of the line. "5.5", "1e3" and "abc" are not.
bool WholeInteger(const char *p) {
  while (*p == ' ' || *p == '\t') p++;
  if (*p == '+' || *p == '-') p++;
  if (*p < '0' || *p > '9') return false;
  while (*p >= '0' && *p <= '9') p++;
  return *p == '\0' || *p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\v' ||
         *p == '\f';
}

// The first token of the text at p, for a message.
void FirstToken(const char *p, char *token, int size) {
  while (*p == ' ' || *p == '\t') p++;
  int n = 0;
  while (n < size - 1 && p[n] != '\0' && p[n] != ' ' && p[n] != '\t' && p[n] != '\n' &&
         p[n] != '\r')
    n++;
  std::memcpy(token, p, n);
  token[n] = '\0';
}

// In strict reading, a weight must be written as a whole integer.
void RequireWholeInteger(const char *p, const char *what, const char *filename, long lineno) {
  if (WholeInteger(p)) return;
  char token[64];
  FirstToken(p, token, sizeof(token));
  if (token[0] == '\0') errexit__("File %s, line %ld: the %s is missing", filename, lineno, what);
  errexit__("File %s, line %ld: the %s '%s' is not a whole number", filename, lineno, what, token);
}

// Scans up to three decimal numbers the way "%d %d %d" does, but refuses a value that does not
// fit an int instead of silently truncating it.
int ScanHeaderNumbers(const char *line, const char *filename, int *values) {
  int n = 0;
  const char *p = line;
  while (n < 3) {
    char *end;
    const long value = std::strtol(p, &end, 10);
    if (end == p) break;
    if (value < INT_MIN || value > INT_MAX)
      errexit__("Malformed header in file %s: the number %ld is out of range", filename, value);
    values[n++] = static_cast<int>(value);
    p = end;
  }
  return n;
}

Header ReadHeader(FILE *fp, char *line, const char *filename, long *lineno) {
  int values[3] = {0, 0, 0};
  if (NextLine(fp, line, lineno) == nullptr || ScanHeaderNumbers(line, filename, values) < 2)
    errexit__("Malformed header in file %s: expected the numbers of hyperedges and vertices",
              filename);
  Header h{values[0], values[1], values[2]};
  if (h.nvtxs < 2) errexit__("Cannot partition graph with %d cells\n", h.nvtxs);
  if (h.fmt > 99) errexit__("Cannot read this type of file format!");
  if (h.nhedges < 0)
    errexit__("Malformed header in file %s: negative number of hyperedges (%d)", filename,
              h.nhedges);
  return h;
}

bool HasNetWeights(int fmt) {
  return fmt % 10 > 0;
}
bool HasCellWeights(int fmt) {
  return (fmt / 10) % 10 > 0;
}

// The line holding hyperedge i, with the checks common to both passes.
char *HyperedgeLine(FILE *fp, char *line, int i, long *lineno) {
  if (NextLine(fp, line, lineno) == nullptr)
    errexit__("Data about hyperedge %d missing from the input file!\n", i);
  // One read returns at most kLineSize - 1 characters, so this never fires: an overlong line is
  // taken as several lines, which is the reader's established behaviour.
  if (std::strlen(line) == static_cast<size_t>(kLineSize))
    errexit__("\nBuffer for fgets not big enough!\n");
  return line;
}

// What the first pass learns from the hyperedge lines.
struct PinCount {
  long long pins;    // the bound on the number of pins
  long maxvtx;       // the largest token counted, so at least every vertex number read
  long maxline;      // the most tokens counted on one line
  long weightlines;  // the vertex weight lines present, at most the number of vertices
};

// Counts the tokens from the start of the line up to the first value below 1.
void CountTokens(const char *line, PinCount *count) {
  const char *p = line;
  long tokens = 0;
  for (;;) {
    char *end;
    const long value = std::strtol(p, &end, 10);
    if (value < 1) break;
    count->pins++;
    tokens++;
    if (value > count->maxvtx) count->maxvtx = value;
    p = end;
  }
  if (tokens > count->maxline) count->maxline = tokens;
}

// The vertices stored so far in the current hyperedge, for a file whose vertex numbers are too
// sparse for an array over all of them: open addressing in a table at least twice the longest
// line, whose entries count as empty unless stamped with the current hyperedge, so that nothing
// is cleared between hyperedges.
struct SparsePinSet {
  int *vertex;
  int *stamp;
  long long mask;
};

SparsePinSet NewSparsePinSet(long maxline) {
  long long size = 2;
  while (size < 2LL * maxline) size *= 2;
  return SparsePinSet{imalloc__(size, "ReadHGraph: pin set"),
                      ismalloc__(size, -1, "ReadHGraph: pin set stamps"), size - 1};
}

// Adds v to the set of hyperedge `hedge`; false when it was there already.
bool AddToSparsePinSet(SparsePinSet *set, int v, int hedge) {
  long long slot = (static_cast<unsigned>(v) * 2654435761u) & set->mask;
  while (set->stamp[slot] == hedge) {
    if (set->vertex[slot] == v) return false;
    slot = (slot + 1) & set->mask;
  }
  set->stamp[slot] = hedge;
  set->vertex[slot] = v;
  return true;
}

// The first pass over the file: the header checks, then the hyperedge lines counted.
PinCount CountPins(const char *filename) {
  FILE *fp = RVfopen__(filename, "r", "Can't open input file");
  char *line = NewLineBuffer();
  long lineno = 0;
  const Header h = ReadHeader(fp, line, filename, &lineno);

  PinCount count{0, 0, 0, 0};
  for (int i = 0; i < h.nhedges; i++) {
    HyperedgeLine(fp, line, i, &lineno);
    CountTokens(line, &count);
    // The weight token is counted with the vertices and taken off again.
    if (HasNetWeights(h.fmt)) count.pins--;
  }
  // The weight lines are counted so that the weight array is sized by what the file holds: a
  // short file announcing two billion weighted vertices must not reserve gigabytes first.
  if (HasCellWeights(h.fmt))
    while (count.weightlines < h.nvtxs && NextLine(fp, line, &lineno) != nullptr)
      count.weightlines++;
  std::fclose(fp);
  RVfree__(&line);

  if (count.pins > INT_MAX)
    errexit__("File %s holds more than %d pins, too many to store", filename, INT_MAX);
  return count;
}

int WeightValue(long value, const char *what, int index, const char *filename) {
  if (value < INT_MIN || value > INT_MAX)
    errexit__("Weight %ld of %s %d in file %s is out of range", value, what, index, filename);
  return static_cast<int>(value);
}

}  // namespace

int GetNetListSize(const char *filename) {
  return static_cast<int>(CountPins(filename).pins);
}

HGraph *ReadHGraph(const char *filename) {
  return ReadHGraphChecked(filename, 0);
}

HGraph *ReadHGraphChecked(const char *filename, int strict) {
  const PinCount count = CountPins(filename);
  const int bound = static_cast<int>(count.pins);

  FILE *fp = RVfopen__(filename, "r", "Can't open input file");
  char *line = NewLineBuffer();
  long lineno = 0;
  const Header h = ReadHeader(fp, line, filename, &lineno);
  const int nhedges = h.nhedges, nvtxs = h.nvtxs;
  if (nhedges == INT_MAX)
    errexit__("File %s has too many hyperedges (%d) to store", filename, nhedges);

  // The bound can be negative when hyperedge weights below 1 end the first pass's count early;
  // the pin check below then stops the read at the first pin.
  int *netptr = imalloc__(nhedges + 1, "main: netptr");
  int *netind = imalloc__(bound > 0 ? bound : 0, "main: netind");
  int *netwgt = HasNetWeights(h.fmt) ? imalloc__(nhedges, "main: netwgt") : nullptr;
  // marker[v] is the last hyperedge in which v was stored, so a repeated vertex is found in
  // constant time however long the hyperedge. It covers the vertex numbers the first pass saw,
  // which a header announcing far more vertices than the file uses does not inflate. A file whose
  // few pins name vertices in the billions would still make it huge; such a file finds its
  // repeats in a set of the current hyperedge's vertices instead.
  const int nmarked = static_cast<int>(count.maxvtx < nvtxs ? count.maxvtx : nvtxs);
  const bool sparse = nmarked > 4 * count.pins + 4096;
  int *marker = ismalloc__(sparse ? 0 : nmarked, -1, "ReadHGraph: marker");
  SparsePinSet pinset = sparse ? NewSparsePinSet(count.maxline) : SparsePinSet{nullptr, nullptr, 0};

  netptr[0] = 0;
  int npins = 0;
  for (int i = 0; i < nhedges; i++) {
    const char *p = HyperedgeLine(fp, line, i, &lineno);
    char *end;
    if (netwgt != nullptr) {
      if (strict) RequireWholeInteger(p, "hyperedge weight", filename, lineno);
      netwgt[i] = WeightValue(std::strtol(p, &end, 10), "hyperedge", i, filename);
      p = end;
    }
    for (;;) {
      const long v = std::strtol(p, &end, 10);
      if (v < 1) break;
      p = end;
      if (v > nvtxs) errexit__("Mismatch between the provided and actual value of num_cells\n");
      if (v > nmarked) errexit__("File %s changed while it was being read", filename);
      if (sparse ? !AddToSparsePinSet(&pinset, static_cast<int>(v - 1), i) : marker[v - 1] == i)
        continue;
      if (npins >= bound) errexit__("Out of netind memory!");
      if (!sparse) marker[v - 1] = i;
      netind[npins++] = static_cast<int>(v - 1);
    }
    netptr[i + 1] = npins;
    // Only the hyperedge before the current one is tested, so the last one may stay empty.
    if (i >= 1 && netptr[i] == netptr[i - 1]) errexit__("Empty Hyperedge # %d\n", i);
  }

  int *cellwgt = nullptr;
  if (HasCellWeights(h.fmt)) {
    // When lines are missing the read ends at the first of them, so no more are stored.
    const int stored = static_cast<int>(count.weightlines);
    cellwgt = imalloc__(stored, "main: cellwgt");
    for (int i = 0; i < nvtxs; i++) {
      if (NextLine(fp, line, &lineno) == nullptr)
        errexit__("Weights from vertex %d onwards missing from the input file!\n", i);
      if (i >= stored) errexit__("File %s changed while it was being read", filename);
      if (strict) RequireWholeInteger(line, "vertex weight", filename, lineno);
      cellwgt[i] = WeightValue(std::strtol(line, nullptr, 10), "vertex", i, filename);
    }
  }
  std::fclose(fp);
  RVfree__(&line, &marker, &pinset.vertex, &pinset.stamp);
  // Weights whose sums the partitioner could not hold in an int are refused here, with the
  // file's name, rather than overflowing later. Only weights the file gives are checked (no
  // vertex is counted without them); the entry points check the unit weights of the vertex count.
  char why[256];
  if (WeightLimitProblem__(cellwgt != nullptr ? nvtxs : 0, nhedges, cellwgt, netptr, netwgt, why,
                           sizeof(why)) != 0)
    errexit__("File %s: %s", filename, why);

  HGraph *graph = CreateHGraph__();
  graph->nvtxs = nvtxs;
  graph->nhedges = nhedges;
  graph->netptr = icopy__(nhedges + 1, netptr, imalloc__(nhedges + 1, "ReadHGraph: graph->netptr"));
  graph->netind = icopy__(npins, netind, imalloc__(npins, "ReadHGraph: graph->netind"));
  graph->netwgt = netwgt;
  graph->cellwgt = cellwgt;
  RVfree__(&netptr, &netind);
  return graph;
}

}  // namespace hypra
