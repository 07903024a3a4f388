// Partitions a ring of four blocks through the installed library from C++, once with the options
// vector and once with a parameters record on two threads, and checks both cuts (the hypergraph
// is the one of ../consumer_c/main.c).
#include <hypra.h>

#include <iostream>
#include <vector>

int main() {
  const int nvtxs = 16;
  std::vector<int> eptr{0}, eind, hewgts;
  auto add = [&](std::vector<int> pins, int weight) {
    eind.insert(eind.end(), pins.begin(), pins.end());
    eptr.push_back(static_cast<int>(eind.size()));
    hewgts.push_back(weight);
  };
  for (int b = 0; b < 4; b++) {
    const int first = 4 * b;
    add({first, first + 1, first + 2, first + 3}, 2);
    for (int i = 0; i < 4; i++) add({first + i, first + (i + 1) % 4}, 1);
    add({first + 3, (first + 4) % nvtxs}, 1);
  }
  const int nhedges = static_cast<int>(hewgts.size());

  std::vector<int> part(nvtxs);
  const int options[9] = {1, 10, 1, 1, 1, 0, 0, 7, 0};  // the defaults, with seed 7
  int cut2 = -1;
  HYPRA_PartRecursive(nvtxs, nhedges, nullptr, eptr.data(), eind.data(), hewgts.data(), 2, 5,
                      options, part.data(), &cut2);

  HYPRA_Params params;
  HYPRA_DefaultParams(&params);
  params.nparts = 4;
  params.seed = 7;
  params.threads = 2;
  int cut4 = -1;
  if (HYPRA_Partition(nvtxs, nhedges, nullptr, eptr.data(), eind.data(), hewgts.data(), &params,
                      part.data(), &cut4) != HYPRA_OK)
    return 1;

  std::cout << "cut " << cut2 << ", 4-way cut " << cut4 << "\n";
  return cut2 == 2 && cut4 == 4 ? 0 : 1;
}
