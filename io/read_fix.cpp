// The fix-file reader: for each vertex in turn, the part it is fixed to or -1 for a free one.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "io/io.h"
#include "io/read_support.h"

namespace hypra {

int ReadFixFile(const char *path, int nvtxs, int nparts, int *part, IoError *err) {
  if (err != nullptr) {
    err->line = 0;
    err->message[0] = '\0';
  }
  if (path == nullptr || nvtxs < 0 || nparts < 1 || (part == nullptr && nvtxs > 0)) {
    if (err != nullptr)
      std::snprintf(err->message, sizeof(err->message),
                    "%s: cannot read a fix file for %d vertices and %d parts%s",
                    path != nullptr ? path : "(no file)", nvtxs, nparts,
                    part == nullptr && nvtxs > 0 ? " without an array for the parts" : "");
    return IO_ERR_ARGS;
  }
  TextReader r;
  if (int s = OpenText__(&r, path, err); s != IO_OK) return s;
  // The parts are collected aside, so that a file refused halfway leaves part as it was.
  int *read = static_cast<int *>(std::malloc(sizeof(int) * (nvtxs > 0 ? nvtxs : 1)));
  if (read == nullptr) {
    const int s = OutOfMemory__(&r);
    CloseText__(&r);
    return s;
  }
  int status = IO_OK;
  int v = 0;
  const char *token;
  long size;
  while (status == IO_OK) {
    if (!NextToken__(&r, &token, &size)) {
      const int got = NextLine__(&r);
      if (got < 0) status = -got;
      if (got <= 0) break;
      continue;
    }
    char quoted[64];
    QuoteToken__(token, size, quoted, sizeof(quoted));
    if (v == nvtxs) {
      status =
          Fail__(&r, IO_ERR_FORMAT, r.lineno,
                 "unexpected %s: the file holds more entries than the %d vertices", quoted, nvtxs);
      break;
    }
    long long value;
    const int kind = ParseInteger__(token, size, &value);
    if (kind == TOKEN_NOT_INTEGER) {
      status = Fail__(&r, IO_ERR_FORMAT, r.lineno, "the part %s of vertex %d is not a whole number",
                      quoted, v + 1);
    } else if (kind == TOKEN_TOO_LARGE || value < -1 || value >= nparts) {
      status = Fail__(&r, IO_ERR_FORMAT, r.lineno,
                      "vertex %d is fixed to part %s; a part must be -1 (free) or 0..%d", v + 1,
                      quoted, nparts - 1);
    } else {
      read[v++] = static_cast<int>(value);
    }
  }
  if (status == IO_OK && v < nvtxs)
    status = Fail__(&r, IO_ERR_FORMAT, r.lineno,
                    "the file ends after %d entries; the hypergraph has %d vertices", v, nvtxs);
  if (status == IO_OK && nvtxs > 0) std::memcpy(part, read, sizeof(int) * nvtxs);
  std::free(read);
  CloseText__(&r);
  return status;
}

}  // namespace hypra
