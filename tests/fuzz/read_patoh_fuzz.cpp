// Fuzz target: the cell/net text reader on any file. An accepted file gives a well-formed
// hypergraph whose weights match the header's scheme.
#include <cstdint>

#include "fuzz/fuzz_support.h"
#include "fuzz/io_check.h"
#include "io/io.h"

using namespace hypra;

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string path = fuzz::WriteScratch("input.patoh", data, size);
  HypergraphArrays h;
  if (fuzz::ReadChecked(path, FORMAT_PATOH, &h, false)) FreeHypergraphArrays(&h);
  return 0;
}
