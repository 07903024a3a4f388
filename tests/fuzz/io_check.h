// Checks shared by the fuzz targets of the io readers: a hypergraph read is well formed, and a
// refused file leaves an empty record and a message naming the file.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/core.h"
#include "fuzz/fuzz_support.h"
#include "io/io.h"

namespace fuzz {

// Offsets that start at 0 and never decrease, pins in range and each once in its hyperedge, no
// empty hyperedge, weights as fmt says and within the limits. sorted: every hyperedge lists its
// vertices in increasing order.
inline void CheckArrays(const hypra::HypergraphArrays &h, bool sorted) {
  if (h.nvtxs < 0 || h.nhedges < 0) Fail("bad counts %d %d", h.nvtxs, h.nhedges);
  if (h.netptr == nullptr || h.netind == nullptr) Fail("missing arrays");
  if (h.netptr[0] != 0) Fail("netptr[0] = %d", h.netptr[0]);
  std::vector<int> pins;
  for (int e = 0; e < h.nhedges; e++) {
    if (h.netptr[e + 1] <= h.netptr[e]) Fail("hyperedge %d is empty or netptr decreases", e);
    pins.assign(h.netind + h.netptr[e], h.netind + h.netptr[e + 1]);
    for (int v : pins)
      if (v < 0 || v >= h.nvtxs) Fail("pin %d of hyperedge %d out of range", v, e);
    if (sorted && !std::is_sorted(pins.begin(), pins.end())) Fail("hyperedge %d is not sorted", e);
    std::sort(pins.begin(), pins.end());
    if (std::adjacent_find(pins.begin(), pins.end()) != pins.end())
      Fail("a pin twice in hyperedge %d", e);
  }
  if (h.fmt != 0 && h.fmt != 1 && h.fmt != 10 && h.fmt != 11) Fail("fmt %d", h.fmt);
  if ((h.netwgt != nullptr) != (h.fmt % 10 == 1)) Fail("netwgt does not match fmt %d", h.fmt);
  if ((h.cellwgt != nullptr) != (h.fmt >= 10)) Fail("cellwgt does not match fmt %d", h.fmt);
  for (int e = 0; h.netwgt != nullptr && e < h.nhedges; e++)
    if (h.netwgt[e] < 1) Fail("hyperedge %d weighs %d", e, h.netwgt[e]);
  char why[256];
  if (hypra::WeightLimitProblem__(h.cellwgt != nullptr ? h.nvtxs : 0, h.nhedges, h.cellwgt,
                                  h.netptr, h.netwgt, why, sizeof(why)) != 0)
    Fail("accepted weights beyond the limits: %s", why);
}

// A refused read: a failure status, a message that names the file, nothing left allocated.
inline void CheckRefusal(int status, const hypra::HypergraphArrays &h, const hypra::IoError &err,
                         const std::string &path) {
  if (status != hypra::IO_ERR_FORMAT && status != hypra::IO_ERR_MEMORY &&
      status != hypra::IO_ERR_READ)
    Fail("unexpected status %d", status);
  if (h.netptr != nullptr || h.netind != nullptr || h.netwgt != nullptr || h.cellwgt != nullptr)
    Fail("a refused read left arrays behind");
  if (std::strncmp(err.message, path.c_str(), path.size()) != 0 || err.line < 0)
    Fail("message without the file: %s", err.message);
  if (std::strlen(err.message) <= path.size() + 2) Fail("message says nothing: %s", err.message);
}

// Reads the file and checks the outcome; returns whether it was accepted (h then holds it).
inline bool ReadChecked(const std::string &path, int format, hypra::HypergraphArrays *h,
                        bool sorted) {
  hypra::IoError err;
  const int status = hypra::ReadHypergraphFile(path.c_str(), format, h, &err);
  if (status != hypra::IO_OK) {
    CheckRefusal(status, *h, err, path);
    return false;
  }
  CheckArrays(*h, sorted);
  return true;
}

}  // namespace fuzz
