// Fuzz target: the Matrix Market reader, column-net and row-net, on any file. Both models must
// accept or refuse the file alike; an accepted file gives well-formed hypergraphs with sorted
// hyperedges, and the two describe the same entries (each the other's transpose).
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "fuzz/fuzz_support.h"
#include "fuzz/io_check.h"
#include "io/io.h"

using namespace hypra;

namespace {

// The entries as (row, column) pairs in which rows and columns are numbered among the non-empty
// ones only: the numbering both models share (each drops its empty hyperedges).
std::set<std::pair<int, int>> Entries(const HypergraphArrays &h, bool rownet) {
  std::set<int> used;
  for (int j = 0; j < h.netptr[h.nhedges]; j++) used.insert(h.netind[j]);
  std::map<int, int> rank;
  for (int v : used) rank.emplace(v, static_cast<int>(rank.size()));
  std::set<std::pair<int, int>> entries;
  for (int e = 0; e < h.nhedges; e++)
    for (int j = h.netptr[e]; j < h.netptr[e + 1]; j++) {
      const int v = rank[h.netind[j]];
      entries.insert(rownet ? std::make_pair(e, v) : std::make_pair(v, e));
    }
  return entries;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string path = fuzz::WriteScratch("input.mtx", data, size);
  HypergraphArrays col, row;
  const bool col_ok = fuzz::ReadChecked(path, FORMAT_MTX_COLNET, &col, true);
  const bool row_ok = fuzz::ReadChecked(path, FORMAT_MTX_ROWNET, &row, true);
  if (col_ok != row_ok) fuzz::Fail("one model accepts the file, the other not");
  if (col_ok) {
    if (Entries(col, false) != Entries(row, true)) fuzz::Fail("row-net is not the transpose");
    FreeHypergraphArrays(&col);
    FreeHypergraphArrays(&row);
  }
  return 0;
}
