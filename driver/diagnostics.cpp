// Debugging aids: writers of a hypergraph in the input format, a dump, a per-part count of cut
// hyperedges and a consistency check of the incidence lists.
#include <cstdio>

#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "io/io.h"

namespace hypra {

namespace {

void RequireIncidence(const HGraph *graph, const char *caller) {
  if (graph->incptr == nullptr)
    errexit__("%s: the hypergraph has no vertex-to-hyperedge incidence lists", caller);
}

// Counts the (v, e) pairs of the first list that the second one lacks: first lists, for every
// vertex v, hyperedges e; seen[e] == v marks those of the second list.
int CountMissing(int nvtxs, int nhedges, const int *ptr1, const int *ind1, const int *ptr2,
                 const int *ind2, int *seen) {
  int missing = 0;
  iset__(nhedges, -1, seen);
  for (int v = 0; v < nvtxs; v++) {
    for (int j = ptr2[v]; j < ptr2[v + 1]; j++)
      if (ind2[j] >= 0 && ind2[j] < nhedges) seen[ind2[j]] = v;
    for (int j = ptr1[v]; j < ptr1[v + 1]; j++)
      if (ind1[j] < 0 || ind1[j] >= nhedges || seen[ind1[j]] != v) missing++;
  }
  return missing;
}

}  // namespace

int CountIncidenceMismatches(const HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netind = graph->netind;

  // The incidence lists implied by the pins, built by counting; out-of-range pins are mismatches.
  int mismatches = 0;
  int *pinptr = ismalloc__(nvtxs + 1, 0, "CheckHGraph: pinptr");
  for (int j = 0; j < netptr[nhedges]; j++) {
    if (netind[j] >= 0 && netind[j] < nvtxs)
      pinptr[netind[j] + 1]++;
    else
      mismatches++;
  }
  for (int v = 0; v < nvtxs; v++) pinptr[v + 1] += pinptr[v];
  int *pinind = imalloc__(pinptr[nvtxs], "CheckHGraph: pinind");
  int *fill = icopy__(nvtxs, pinptr, imalloc__(nvtxs, "CheckHGraph: fill"));
  for (int e = 0; e < nhedges; e++)
    for (int j = netptr[e]; j < netptr[e + 1]; j++)
      if (netind[j] >= 0 && netind[j] < nvtxs) pinind[fill[netind[j]]++] = e;

  int *seen = imalloc__(nhedges, "CheckHGraph: seen");
  // Listed as incident but not a pin, then a pin but not listed as incident.
  mismatches += CountMissing(nvtxs, nhedges, graph->incptr, graph->incind, pinptr, pinind, seen);
  mismatches += CountMissing(nvtxs, nhedges, pinptr, pinind, graph->incptr, graph->incind, seen);
  RVfree__(&pinptr, &pinind, &fill, &seen);
  return mismatches;
}

void WriteHGraph(const HGraph *graph) {
  if (graph->netwgt == nullptr || graph->cellwgt == nullptr)
    errexit__("WriteHGraph: the hypergraph needs both hyperedge and vertex weights");
  char filename[256];
  std::snprintf(filename, sizeof(filename), "hgr.%d", graph->nvtxs);

  OutputFile out;
  OpenOutputFile(filename, "Can't open output file", 0, &out);
  std::fprintf(out.fp, "%d %d 11", graph->nhedges, graph->nvtxs);
  for (int e = 0; e < graph->nhedges; e++) {
    std::fprintf(out.fp, "\n%d", graph->netwgt[e]);
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++)
      std::fprintf(out.fp, " %d", graph->netind[j] + 1);
  }
  for (int v = 0; v < graph->nvtxs; v++) std::fprintf(out.fp, "\n%d", graph->cellwgt[v]);
  CloseOutputFile(&out);
}

void WriteConnectedHGraph(const HGraph *graph) {
  RequireIncidence(graph, "WriteConnectedHGraph");
  const int nvtxs = graph->nvtxs;
  // Vertices that lie in some hyperedge, numbered consecutively in vertex order.
  int *cellmap = imalloc__(nvtxs, "WriteConnectedHGraph: cellmap");
  int nconnected = 0;
  for (int v = 0; v < nvtxs; v++)
    cellmap[v] = graph->incptr[v + 1] > graph->incptr[v] ? nconnected++ : -1;

  OutputFile out;
  OpenOutputFile("new.hgr", "Can't open output file", 0, &out);
  std::fprintf(out.fp, "%d %d", graph->nhedges, nconnected);
  for (int e = 0; e < graph->nhedges; e++) {
    std::fputc('\n', out.fp);
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++)
      std::fprintf(out.fp, " %d", cellmap[graph->netind[j]] + 1);
  }
  CloseOutputFile(&out);
  RVfree__(&cellmap);
}

void DumpHGraph(const HGraph *graph) {
  std::printf("--------------------------\n");
  std::printf("%d %d\n", graph->nhedges, graph->nvtxs);
  for (int e = 0; e < graph->nhedges; e++) {
    std::printf("\n[%d]", graph->netwgt == nullptr ? 1 : graph->netwgt[e]);
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++)
      std::printf(" %d", graph->netind[j] + 1);
  }
  std::printf("\n--------------------------\n");
}

void Print_Pins(const HGraph *graph, const int *where, int nparts) {
  // Without parts there is no counter to add to.
  const int ncounters = nparts > 0 ? nparts : 0;
  int *pins = ismalloc__(ncounters, 0, "Print_Pins:pins");
  int *present = ismalloc__(ncounters, 0, "Print_Pins:present");
  int *touched = imalloc__(ncounters, "Print_Pins:touched");

  for (int e = 0; e < graph->nhedges && ncounters > 0; e++) {
    int ntouched = 0;
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++) {
      const int p = where[graph->netind[j]];
      if (p < 0 || p >= nparts)
        errexit__("Print_Pins: vertex %d is in part %d, outside 0..%d", graph->netind[j], p,
                  nparts - 1);
      if (!present[p]) {
        present[p] = 1;
        touched[ntouched++] = p;
      }
    }
    for (int i = 0; i < ntouched; i++) {
      if (ntouched > 1) pins[touched[i]]++;
      present[touched[i]] = 0;
    }
  }

  std::printf("Number of Pins for each partition are: \n");
  for (int p = 0; p < ncounters; p++) std::printf("%d ", pins[p]);
  std::printf("\nTotal number of pins = %d\n", iasum__(ncounters, pins));
  RVfree__(&pins, &present, &touched);
}

int CheckHGraph(const HGraph *graph) {
  RequireIncidence(graph, "CheckHGraph");
  // Inconsistencies are looked for but deliberately not reported: the check always passes.
  (void)CountIncidenceMismatches(graph);
  return 1;
}

}  // namespace hypra
