// Fuzz target: the fix-file readers, the program's (plain and strict) and the io library's. The
// first byte chooses the vertex count (and the io reader's part count); the rest is the file.
// Every entry the program's readers leave must be -1 or a part number; a file the io reader
// accepts holds parts within the part count, and the program's strict reader reads the same.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "fuzz/fuzz_support.h"
#include "io/io.h"

using namespace hypra;

namespace {

// Whether a blank-separated token is longer than the program's strict reader keeps.
bool HasLongToken(const uint8_t *data, size_t size) {
  size_t run = 0;
  for (size_t i = 0; i < size; i++) {
    const bool blank = std::strchr(" \t\n\r\v\f", data[i]) != nullptr && data[i] != '\0';
    run = blank ? 0 : run + 1;
    if (run > 20) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const int nvtxs = 1 + data[0] % 64;
  const int nparts = 2 + data[0] / 64;
  const std::string path = fuzz::WriteScratch("input.fix", data + 1, size - 1);
  static std::vector<int> strict_part;
  int strict_status = -1;
  for (int strict = 0; strict <= 1; strict++) {
    static std::vector<int> part;
    part.assign(nvtxs, 0);
    const int status =
        fuzz::Guarded([&] { ReadPartitionChecked(nvtxs, part.data(), path.c_str(), strict); });
    if (strict) {
      strict_status = status;
      strict_part = part;
    }
    if (status != -1) continue;
    for (int v = 0; v < nvtxs; v++)
      if (part[v] < -1) fuzz::Fail("vertex %d fixed to %d", v, part[v]);
  }

  std::vector<int> part(nvtxs, -7);
  IoError err;
  const int status = ReadFixFile(path.c_str(), nvtxs, nparts, part.data(), &err);
  if (status != IO_OK) {
    if (status != IO_ERR_FORMAT && status != IO_ERR_READ) fuzz::Fail("status %d", status);
    if (std::strncmp(err.message, path.c_str(), path.size()) != 0)
      fuzz::Fail("message without the file: %s", err.message);
    for (int v = 0; v < nvtxs; v++)
      if (part[v] != -7) fuzz::Fail("a refused file changed vertex %d", v);
    return 0;
  }
  for (int v = 0; v < nvtxs; v++)
    if (part[v] < -1 || part[v] >= nparts) fuzz::Fail("vertex %d fixed to %d", v, part[v]);
  if (!HasLongToken(data + 1, size - 1)) {
    if (strict_status != -1) fuzz::Fail("the program's strict reader refuses an accepted file");
    if (strict_part != part) fuzz::Fail("the program's strict reader reads other parts");
  }
  return 0;
}
