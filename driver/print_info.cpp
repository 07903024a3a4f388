// The header printed before partitioning: the hypergraph's size and the options in effect.
#include <cstdio>

#include "coarsen/coarsen.h"
#include "driver/driver.h"
#include "kway/kway.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

constexpr const char *kBanner = "hypra 1.0.0: multilevel hypergraph partitioner";

// names[value - first], or "??" for a value outside the list.
template <int N>
const char *NameOf(int value, int first, const char *const (&names)[N]) {
  const long long index = static_cast<long long>(value) - first;
  return index >= 0 && index < N ? names[index] : "??";
}

void PrintOptions(const int *options, int mode) {
  static const char *const kReconst[] = {"Reconst-False", "Reconst-True"};
  static const char *const kFixed[] = {"No Fixed Vertices", "With Fixed Vertices"};

  const char *names[5];
  int n = 0;
  names[n++] = CoarseningSchemeName__(options[2]);
  if (mode == 1) {
    names[n++] = TwoWayRefinerName__(options[3]);
    names[n++] = NameOf(options[5], 0, kReconst);
  } else {
    names[n++] = KwayObjectiveName__(options[3]);
  }
  names[n++] = VCycleModeName__(options[4]);
  if (mode == 1) names[n++] = NameOf(options[6], 0, kFixed);

  std::printf(" Options: ");
  for (int i = 0; i < n; i++) std::printf(i == 0 ? "%s" : ", %s", names[i]);
  std::printf("\n");
}

// The header with the balance in force already written out as text.
void PrintHeader(const HGraph *graph, int nparts, const char *balance, const int *options,
                 const char *filename, int mode, const char *note) {
  std::printf("*******************************************************************************\n");
  std::printf("%s\n\n", kBanner);
  std::printf("HyperGraph Information -----------------------------------------------------\n");
  std::printf(" Name: %s, #Vtxs: %5d, #Hedges: %5d, #Parts: %d, %s\n", filename, graph->nvtxs,
              graph->nhedges, nparts, balance);
  if (options != nullptr) PrintOptions(options, mode);
  if (note != nullptr) std::printf(" %s\n", note);
  if (mode == 1)
    std::printf("\nRecursive Partitioning... --------------------------------------------------\n");
  else
    std::printf("\nK-way Partitioning... ------------------------------------------------------\n");
}

}  // namespace

void PrintInfo(const HGraph *graph, int nparts, int ubfactor, const int *options,
               const char *filename, int mode, const char *note) {
  // Recursive bisection shows the tolerance as a fraction, k-way as a multiplier.
  const double ub = mode == 1 ? ubfactor / 100.0 : 1 + ubfactor / 100.0;
  char balance[64];
  std::snprintf(balance, sizeof(balance), "UBfactor: %1.2f", ub);
  PrintHeader(graph, nparts, balance, options, filename, mode, note);
}

void PrintInfoWithBound(const HGraph *graph, int nparts, double imbalance, long long bound,
                        const int *options, const char *filename, int mode, const char *note) {
  char balance[96];
  std::snprintf(balance, sizeof(balance), "Imbalance: %g (every part at most %lld)", imbalance,
                bound);
  PrintHeader(graph, nparts, balance, options, filename, mode, note);
}

}  // namespace hypra
