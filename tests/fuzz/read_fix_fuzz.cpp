// Fuzz target: the fix-file reader, plain and strict. The first byte chooses the vertex count;
// the rest is the file. Every entry it leaves must be -1 or a part number.
#include <cstdint>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "fuzz/fuzz_support.h"

using namespace hypra;

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const int nvtxs = 1 + data[0] % 64;
  const std::string path = fuzz::WriteScratch("input.fix", data + 1, size - 1);
  for (int strict = 0; strict <= 1; strict++) {
    static std::vector<int> part;
    part.assign(nvtxs, 0);
    const int status =
        fuzz::Guarded([&] { ReadPartitionChecked(nvtxs, part.data(), path.c_str(), strict); });
    if (status != -1) continue;
    for (int v = 0; v < nvtxs; v++)
      if (part[v] < -1) fuzz::Fail("vertex %d fixed to %d", v, part[v]);
  }
  return 0;
}
