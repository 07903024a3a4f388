// The hypergraph readers' entry point and the hgr reader. The hgr reader takes what the hypra
// program's own reader takes and gives the same hypergraph, but refuses what that reader lets
// through quietly (a stray token ends a hyperedge there, a fraction is cut to its integer part).
#include <strings.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/core.h"
#include "io/io.h"
#include "io/read_support.h"

namespace hypra {

namespace {

// One whole integer token within [low, high]; what the token holds is named by what (and, when
// index > 0, its number) in a message.
struct Expect {
  const char *what;
  long long index;
};

const char *Describe(const Expect &e, char *buf, int size) {
  if (e.index > 0)
    std::snprintf(buf, size, "%s %lld", e.what, e.index);
  else
    std::snprintf(buf, size, "%s", e.what);
  return buf;
}

// Reads the integer token, refusing a token that is not a whole integer.
int IntegerToken(const TextReader *r, const char *token, long size, const Expect &e,
                 long long *value) {
  const int kind = ParseInteger__(token, size, value);
  if (kind == TOKEN_INTEGER) return IO_OK;
  char quoted[64], what[96];
  QuoteToken__(token, size, quoted, sizeof(quoted));
  if (kind == TOKEN_TOO_LARGE)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %s is too large", Describe(e, what, 96), quoted);
  return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %s is not a whole number", Describe(e, what, 96),
                quoted);
}

int Unexpected(const TextReader *r, const char *token, long size, const char *after) {
  char quoted[64];
  QuoteToken__(token, size, quoted, sizeof(quoted));
  return Fail__(r, IO_ERR_FORMAT, r->lineno, "unexpected %s after %s", quoted, after);
}

int BuildFailure(const TextReader *r, int status) {
  if (status == BUILD_NO_MEMORY) return OutOfMemory__(r);
  return Fail__(r, IO_ERR_FORMAT, r->lineno, "too many pins or hyperedges to store");
}

struct HgrHeader {
  long long nhedges, nvtxs, fmt;
};

int ReadHgrHeader(TextReader *r, HgrHeader *h) {
  const int got = NextDataLine__(r);
  if (got < 0) return -got;
  long long values[3] = {0, 0, 0};
  int n = 0;
  const char *token;
  long size;
  static const char *const kNames[3] = {"the number of hyperedges", "the number of vertices",
                                        "fmt"};
  while (got > 0 && NextToken__(r, &token, &size)) {
    if (n == 3)
      return Unexpected(r, token, size, "the header's numbers of hyperedges, vertices and fmt");
    if (int s = IntegerToken(r, token, size, {kNames[n], 0}, &values[n]); s != IO_OK) return s;
    n++;
  }
  if (n < 2)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the header must give the numbers of hyperedges and vertices");
  h->nhedges = values[0];
  h->nvtxs = values[1];
  h->fmt = values[2];
  if (h->nhedges < 0)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the number of hyperedges, %lld, is negative",
                  h->nhedges);
  // The offsets of the hyperedges must fit an int.
  if (h->nhedges >= INT_MAX)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%lld hyperedges are too many to store", h->nhedges);
  if (h->nvtxs < 2)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "a hypergraph to partition needs at least 2 vertices; the header gives %lld",
                  h->nvtxs);
  if (h->nvtxs > INT_MAX)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%lld vertices are too many to store", h->nvtxs);
  if (h->fmt != 0 && h->fmt != 1 && h->fmt != 10 && h->fmt != 11)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "fmt %lld is not one of 0, 1, 10 and 11", h->fmt);
  return IO_OK;
}

// The hyperedge lines.
int ReadHgrHyperedges(TextReader *r, const HgrHeader &h, HypergraphBuilder *b) {
  const bool weighted = h.fmt % 10 == 1;
  long long weighted_pins = 0;
  for (long long e = 1; e <= h.nhedges; e++) {
    const int got = NextDataLine__(r);
    if (got < 0) return -got;
    if (got == 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "the file ends before hyperedge %lld of %lld", e,
                    h.nhedges);
    const char *token;
    long size;
    long long weight = 1;
    if (weighted) {
      if (!NextToken__(r, &token, &size))
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the weight of hyperedge %lld is missing", e);
      if (int s = IntegerToken(r, token, size, {"the weight of hyperedge", e}, &weight); s != IO_OK)
        return s;
      if (weight < 1)
        return Fail__(r, IO_ERR_FORMAT, r->lineno,
                      "the weight of hyperedge %lld, %lld, is not positive", e, weight);
      if (weight > INT_MAX)
        return Fail__(r, IO_ERR_FORMAT, r->lineno,
                      "the weight of hyperedge %lld, %lld, is too large", e, weight);
    }
    BeginHyperedge__(b);
    while (NextToken__(r, &token, &size)) {
      long long pin;
      const int kind = ParseInteger__(token, size, &pin);
      if (kind == TOKEN_NOT_INTEGER) {
        char quoted[64];
        QuoteToken__(token, size, quoted, sizeof(quoted));
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "pin %s of hyperedge %lld is not a whole number",
                      quoted, e);
      }
      // The token is a sign and digits here, so it prints as it is.
      if (kind == TOKEN_TOO_LARGE || pin < 1 || pin > h.nvtxs)
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "pin %.*s is outside 1..%lld",
                      static_cast<int>(size > 40 ? 40 : size), token, h.nvtxs);
      if (int s = AddPin__(b, static_cast<int>(pin - 1)); s != BUILD_OK) return BuildFailure(r, s);
    }
    if (int s = MergeRepeatedPins__(b); s != BUILD_OK) return BuildFailure(r, s);
    const long long pins = OpenPins__(b);
    if (pins == 0) return Fail__(r, IO_ERR_FORMAT, r->lineno, "hyperedge %lld has no pins", e);
    weighted_pins += weight * pins;
    if (weighted_pins > kMaxWeightedPins)
      return Fail__(r, IO_ERR_FORMAT, r->lineno,
                    "the hyperedge weights times the hyperedge sizes add up to more than %d here, "
                    "so cuts would not fit",
                    kMaxWeightedPins);
    if (int s = EndHyperedge__(b, weighted, static_cast<int>(weight), false); s != BUILD_OK)
      return BuildFailure(r, s);
  }
  return IO_OK;
}

// The vertex weight lines, one weight per line.
int ReadHgrCellWeights(TextReader *r, int nvtxs, int **cellwgt) {
  long long capacity = 0;
  long long total = 0;
  for (int v = 0; v < nvtxs; v++) {
    const int got = NextDataLine__(r);
    if (got < 0) return -got;
    if (got == 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno,
                    "the file ends before the weight of vertex %d of %d", v + 1, nvtxs);
    const char *token;
    long size;
    if (!NextToken__(r, &token, &size))
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "the weight of vertex %d is missing", v + 1);
    long long weight;
    if (int s = IntegerToken(r, token, size, {"the weight of vertex", v + 1LL}, &weight);
        s != IO_OK)
      return s;
    if (weight < 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "the weight of vertex %d, %lld, is negative",
                    v + 1, weight);
    total += weight;
    if (weight > INT_MAX || total > kMaxTotalCellWgt)
      return Fail__(r, IO_ERR_FORMAT, r->lineno,
                    "the vertex weights add up to more than the %d allowed here", kMaxTotalCellWgt);
    if (NextToken__(r, &token, &size)) return Unexpected(r, token, size, "the vertex weight");
    // The array grows with the lines read, so a header announcing vertices the file does not
    // hold allocates nothing for them.
    if (!Reserve__(cellwgt, &capacity, v + 1LL)) return OutOfMemory__(r);
    (*cellwgt)[v] = static_cast<int>(weight);
  }
  return IO_OK;
}

// After the last expected line only comments and blank lines may follow.
int RequireNothingMore(TextReader *r, const char *after) {
  for (;;) {
    const int got = NextDataLine__(r);
    if (got < 0) return -got;
    if (got == 0) return IO_OK;
    const char *token;
    long size;
    if (NextToken__(r, &token, &size)) return Unexpected(r, token, size, after);
  }
}

}  // namespace

int ReadHgr__(TextReader *r, HypergraphArrays *out) {
  HgrHeader h{};
  if (int s = ReadHgrHeader(r, &h); s != IO_OK) return s;
  const bool weighted = h.fmt % 10 == 1;
  HypergraphBuilder b;
  if (StartBuilder__(&b, weighted) != BUILD_OK) return OutOfMemory__(r);
  int *cellwgt = nullptr;
  int status = ReadHgrHyperedges(r, h, &b);
  const int nvtxs = static_cast<int>(h.nvtxs);
  if (status == IO_OK && h.fmt >= 10) status = ReadHgrCellWeights(r, nvtxs, &cellwgt);
  const long last = r->lineno;
  if (status == IO_OK)
    status = RequireNothingMore(r, h.fmt >= 10 ? "the last vertex weight" : "the last hyperedge");
  if (status != IO_OK) {
    FreeBuilder__(&b);
    std::free(cellwgt);
    return status;
  }
  FinishBuilder__(&b, nvtxs, cellwgt, static_cast<int>(h.fmt), out);
  status = CheckWeightLimits__(r, last, out);
  if (status != IO_OK) FreeHypergraphArrays(out);
  return status;
}

int FormatFromName(const char *name) {
  if (name == nullptr) return -1;
  for (int f = FORMAT_HGR; f <= FORMAT_PATOH; f++)
    if (std::strcmp(name, FormatName(f)) == 0) return f;
  return -1;
}

int FormatFromPath(const char *path) {
  if (path == nullptr) return FORMAT_HGR;
  const char *slash = std::strrchr(path, '/');
  const char *dot = std::strrchr(slash != nullptr ? slash + 1 : path, '.');
  if (dot == nullptr) return FORMAT_HGR;
  if (strcasecmp(dot, ".mtx") == 0) return FORMAT_MTX_COLNET;
  if (strcasecmp(dot, ".patoh") == 0) return FORMAT_PATOH;
  return FORMAT_HGR;
}

const char *FormatName(int format) {
  switch (format) {
    case FORMAT_HGR:
      return "hgr";
    case FORMAT_MTX_COLNET:
      return "mtx-colnet";
    case FORMAT_MTX_ROWNET:
      return "mtx-rownet";
    case FORMAT_PATOH:
      return "patoh";
    default:
      return "unknown";
  }
}

void FreeHypergraphArrays(HypergraphArrays *h) {
  if (h == nullptr) return;
  RVfree__(&h->netptr, &h->netind, &h->netwgt, &h->cellwgt);
  h->nvtxs = h->nhedges = h->fmt = 0;
}

int ReadHypergraphFile(const char *path, int format, HypergraphArrays *out, IoError *err) {
  if (err != nullptr) {
    err->line = 0;
    err->message[0] = '\0';
  }
  if (out == nullptr || path == nullptr) {
    if (err != nullptr)
      std::snprintf(err->message, sizeof(err->message), "no %s given to read the hypergraph",
                    out == nullptr ? "record" : "file");
    return IO_ERR_ARGS;
  }
  std::memset(out, 0, sizeof(*out));
  if (format < FORMAT_HGR || format > FORMAT_PATOH) {
    if (err != nullptr)
      std::snprintf(err->message, sizeof(err->message), "%s: unknown file format %d", path, format);
    return IO_ERR_ARGS;
  }
  TextReader r;
  if (int s = OpenText__(&r, path, err); s != IO_OK) return s;
  int status;
  switch (format) {
    case FORMAT_HGR:
      status = ReadHgr__(&r, out);
      break;
    case FORMAT_PATOH:
      status = ReadPatoh__(&r, out);
      break;
    default:
      status = ReadMatrixMarket__(&r, format == FORMAT_MTX_ROWNET, out);
      break;
  }
  CloseText__(&r);
  if (status != IO_OK) FreeHypergraphArrays(out);
  return status;
}

}  // namespace hypra
