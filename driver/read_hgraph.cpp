// Reader of the hypergraph file: a first pass that bounds the number of pins, then the real
// read into an HGraph.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/driver.h"

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

// The next line that is not a comment, or null at the end of the file.
char *NextLine(FILE *fp, char *line) {
  do {
    if (std::fgets(line, kLineSize, fp) == nullptr) return nullptr;
  } while (line[0] == '%');
  return line;
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

Header ReadHeader(FILE *fp, char *line, const char *filename) {
  int values[3] = {0, 0, 0};
  if (NextLine(fp, line) == nullptr || ScanHeaderNumbers(line, filename, values) < 2)
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
char *HyperedgeLine(FILE *fp, char *line, int i) {
  if (NextLine(fp, line) == nullptr)
    errexit__("Data about hyperedge %d missing from the input file!\n", i);
  // One read returns at most kLineSize - 1 characters, so this never fires: an overlong line is
  // taken as several lines, which is the reader's established behaviour.
  if (std::strlen(line) == static_cast<size_t>(kLineSize))
    errexit__("\nBuffer for fgets not big enough!\n");
  return line;
}

// What the first pass learns from the hyperedge lines.
struct PinCount {
  long long pins;  // the bound on the number of pins
  long maxvtx;     // the largest token counted, so at least every vertex number read
};

// Counts the tokens from the start of the line up to the first value below 1.
void CountTokens(const char *line, PinCount *count) {
  const char *p = line;
  for (;;) {
    char *end;
    const long value = std::strtol(p, &end, 10);
    if (value < 1) return;
    count->pins++;
    if (value > count->maxvtx) count->maxvtx = value;
    p = end;
  }
}

// The first pass over the file: the header checks, then the hyperedge lines counted.
PinCount CountPins(const char *filename) {
  FILE *fp = RVfopen__(filename, "r", "Can't open input file");
  char *line = NewLineBuffer();
  const Header h = ReadHeader(fp, line, filename);

  PinCount count{0, 0};
  for (int i = 0; i < h.nhedges; i++) {
    HyperedgeLine(fp, line, i);
    CountTokens(line, &count);
    // The weight token is counted with the vertices and taken off again.
    if (HasNetWeights(h.fmt)) count.pins--;
  }
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

// Sums of weights must stay within int for every later total to be meaningful.
void CheckWeightTotal(int n, const int *wgt, const char *what, const char *filename) {
  if (wgt == nullptr) return;
  long long total = 0;
  for (int i = 0; i < n; i++) total += wgt[i] < 0 ? -static_cast<long long>(wgt[i]) : wgt[i];
  if (total > INT_MAX)
    errexit__("The %s weights of file %s add up to more than %d", what, filename, INT_MAX);
}

}  // namespace

int GetNetListSize(const char *filename) {
  return static_cast<int>(CountPins(filename).pins);
}

HGraph *ReadHGraph(const char *filename) {
  const PinCount count = CountPins(filename);
  const int bound = static_cast<int>(count.pins);

  FILE *fp = RVfopen__(filename, "r", "Can't open input file");
  char *line = NewLineBuffer();
  const Header h = ReadHeader(fp, line, filename);
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
  // which a header announcing far more vertices than the file uses does not inflate.
  const int nmarked = static_cast<int>(count.maxvtx < nvtxs ? count.maxvtx : nvtxs);
  int *marker = ismalloc__(nmarked, -1, "ReadHGraph: marker");

  netptr[0] = 0;
  int npins = 0;
  for (int i = 0; i < nhedges; i++) {
    const char *p = HyperedgeLine(fp, line, i);
    char *end;
    if (netwgt != nullptr) {
      netwgt[i] = WeightValue(std::strtol(p, &end, 10), "hyperedge", i, filename);
      p = end;
    }
    for (;;) {
      const long v = std::strtol(p, &end, 10);
      if (v < 1) break;
      p = end;
      if (v > nvtxs) errexit__("Mismatch between the provided and actual value of num_cells\n");
      if (v > nmarked) errexit__("File %s changed while it was being read", filename);
      if (marker[v - 1] == i) continue;
      if (npins >= bound) errexit__("Out of netind memory!");
      marker[v - 1] = i;
      netind[npins++] = static_cast<int>(v - 1);
    }
    netptr[i + 1] = npins;
    // Only the hyperedge before the current one is tested, so the last one may stay empty.
    if (i >= 1 && netptr[i] == netptr[i - 1]) errexit__("Empty Hyperedge # %d\n", i);
  }

  int *cellwgt = nullptr;
  if (HasCellWeights(h.fmt)) {
    cellwgt = imalloc__(nvtxs, "main: cellwgt");
    for (int i = 0; i < nvtxs; i++) {
      if (NextLine(fp, line) == nullptr)
        errexit__("Weights from vertex %d onwards missing from the input file!\n", i);
      cellwgt[i] = WeightValue(std::strtol(line, nullptr, 10), "vertex", i, filename);
    }
  }
  std::fclose(fp);
  RVfree__(&line, &marker);
  CheckWeightTotal(nhedges, netwgt, "hyperedge", filename);
  CheckWeightTotal(nvtxs, cellwgt, "vertex", filename);

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
