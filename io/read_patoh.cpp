// The reader of the cell/net text format: a header "base cells nets pins [scheme
// [constraints]]", one line per net (its cost first when nets have costs), then the cell weights
// over any number of lines.
#include <climits>
#include <cstdlib>

#include "core/core.h"
#include "io/io.h"
#include "io/read_support.h"

namespace hypra {

namespace {

struct PatohHeader {
  long long base, ncells, nnets, npins, scheme, nconst;
};

int Quoted(const TextReader *r, const char *format, const char *token, long size) {
  char quoted[64];
  QuoteToken__(token, size, quoted, sizeof(quoted));
  return Fail__(r, IO_ERR_FORMAT, r->lineno, format, quoted);
}

// A whole integer token, or the failure naming what it should have been.
int Integer(const TextReader *r, const char *token, long size, const char *what, long long *value) {
  const int kind = ParseInteger__(token, size, value);
  if (kind == TOKEN_INTEGER) return IO_OK;
  char quoted[64];
  QuoteToken__(token, size, quoted, sizeof(quoted));
  return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %s is %s", what, quoted,
                kind == TOKEN_TOO_LARGE ? "too large" : "not a whole number");
}

int ReadHeader(TextReader *r, PatohHeader *h) {
  int got;
  do {
    got = NextDataLine__(r);
  } while (got > 0 && RestIsBlank__(r));
  if (got < 0) return -got;
  if (got == 0)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the file ends before the header \"base cells nets pins [scheme "
                  "[constraints]]\"");
  static const char *const kWhat[6] = {"the index base",     "the number of cells",
                                       "the number of nets", "the number of pins",
                                       "the weight scheme",  "the number of constraints"};
  long long values[6] = {0, 0, 0, 0, 0, 1};
  int n = 0;
  const char *token;
  long size;
  while (NextToken__(r, &token, &size)) {
    if (n == 6) return Quoted(r, "unexpected %s after the header's six numbers", token, size);
    if (int s = Integer(r, token, size, kWhat[n], &values[n]); s != IO_OK) return s;
    n++;
  }
  if (n < 4)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the header must give the index base and the numbers of cells, nets and pins");
  *h = {values[0], values[1], values[2], values[3], values[4], values[5]};
  if (h->base != 0 && h->base != 1)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the index base %lld is neither 0 nor 1", h->base);
  if (h->ncells < 0 || h->nnets < 0 || h->npins < 0)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the number of %s, %lld, is negative",
                  h->ncells < 0  ? "cells"
                  : h->nnets < 0 ? "nets"
                                 : "pins",
                  h->ncells < 0  ? h->ncells
                  : h->nnets < 0 ? h->nnets
                                 : h->npins);
  // The offsets of the nets must fit an int.
  if (h->ncells > INT_MAX || h->nnets >= INT_MAX || h->npins > INT_MAX)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%lld %s are too many to store",
                  h->ncells > INT_MAX   ? h->ncells
                  : h->nnets >= INT_MAX ? h->nnets
                                        : h->npins,
                  h->ncells > INT_MAX   ? "cells"
                  : h->nnets >= INT_MAX ? "nets"
                                        : "pins");
  if (h->scheme < 0 || h->scheme > 3)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the weight scheme %lld is not one of 0 (none), 1 (cell weights), 2 (net costs) "
                  "and 3 (both)",
                  h->scheme);
  if (h->nconst != 1)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "only one weight per cell is read; the header gives %lld constraints", h->nconst);
  return IO_OK;
}

int BuildFailure(const TextReader *r, int status) {
  if (status == BUILD_NO_MEMORY) return OutOfMemory__(r);
  return Fail__(r, IO_ERR_FORMAT, r->lineno, "too many pins or nets to store");
}

int ReadNets(TextReader *r, const PatohHeader &h, HypergraphBuilder *b) {
  const bool costs = (h.scheme & 2) != 0;
  const long long first = h.base, last = h.base + h.ncells - 1;
  long long written = 0, weighted_pins = 0;
  for (long long e = 1; e <= h.nnets; e++) {
    const int got = NextDataLine__(r);
    if (got < 0) return -got;
    if (got == 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "the file ends before net %lld of %lld", e,
                    h.nnets);
    const char *token;
    long size;
    long long cost = 1;
    if (costs) {
      if (!NextToken__(r, &token, &size))
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the cost of net %lld is missing", e);
      if (int s = Integer(r, token, size, "the net cost", &cost); s != IO_OK) return s;
      if (cost < 1 || cost > INT_MAX)
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the cost of net %lld, %lld, is %s", e, cost,
                      cost < 1 ? "not positive" : "too large");
    }
    BeginHyperedge__(b);
    while (NextToken__(r, &token, &size)) {
      long long pin;
      const int kind = ParseInteger__(token, size, &pin);
      if (kind == TOKEN_NOT_INTEGER) return Quoted(r, "pin %s is not a whole number", token, size);
      // The token is a sign and digits here, so it prints as it is.
      if (kind == TOKEN_TOO_LARGE || pin < first || pin > last)
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "pin %.*s of net %lld is outside %lld..%lld",
                      static_cast<int>(size > 40 ? 40 : size), token, e, first, last);
      if (++written > h.npins)
        return Fail__(r, IO_ERR_FORMAT, r->lineno,
                      "the nets hold more pins than the %lld the header announces", h.npins);
      if (int s = AddPin__(b, static_cast<int>(pin - h.base)); s != BUILD_OK)
        return BuildFailure(r, s);
    }
    if (int s = MergeRepeatedPins__(b); s != BUILD_OK) return BuildFailure(r, s);
    weighted_pins += cost * OpenPins__(b);
    if (weighted_pins > kMaxWeightedPins)
      return Fail__(r, IO_ERR_FORMAT, r->lineno,
                    "the net costs times the net sizes add up to more than %d here, so cuts would "
                    "not fit",
                    kMaxWeightedPins);
    // A net without pins is dropped: it can never be cut, and the engine takes no empty
    // hyperedge.
    if (int s = EndHyperedge__(b, costs, static_cast<int>(cost), true); s != BUILD_OK)
      return BuildFailure(r, s);
  }
  if (written != h.npins)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the nets hold %lld pins, not the %lld the header announces", written, h.npins);
  return IO_OK;
}

// The cell weights, as many per line as the file puts there.
int ReadCellWeights(TextReader *r, const PatohHeader &h, int **cellwgt) {
  long long capacity = 0, total = 0;
  // The weights begin on the line after the last net.
  r->pos = r->length;
  for (long long v = 1; v <= h.ncells; v++) {
    const char *token;
    long size;
    while (!NextToken__(r, &token, &size)) {
      const int got = NextDataLine__(r);
      if (got < 0) return -got;
      if (got == 0)
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the file ends before cell weight %lld of %lld",
                      v, h.ncells);
    }
    long long weight;
    if (int s = Integer(r, token, size, "the cell weight", &weight); s != IO_OK) return s;
    if (weight < 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "cell weight %lld, %lld, is negative", v, weight);
    total += weight;
    if (weight > INT_MAX || total > kMaxTotalCellWgt)
      return Fail__(r, IO_ERR_FORMAT, r->lineno,
                    "the cell weights add up to more than the %d allowed here", kMaxTotalCellWgt);
    if (!Reserve__(cellwgt, &capacity, v)) return OutOfMemory__(r);
    (*cellwgt)[v - 1] = static_cast<int>(weight);
  }
  return IO_OK;
}

// Only blanks may follow on the current line, and only comments and blank lines after it.
int RequireNothingMore(TextReader *r, const char *after) {
  for (;;) {
    const char *token;
    long size;
    if (NextToken__(r, &token, &size)) {
      char quoted[64];
      QuoteToken__(token, size, quoted, sizeof(quoted));
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "unexpected %s after %s", quoted, after);
    }
    const int got = NextDataLine__(r);
    if (got < 0) return -got;
    if (got == 0) return IO_OK;
  }
}

}  // namespace

int ReadPatoh__(TextReader *r, HypergraphArrays *out) {
  PatohHeader h{};
  if (int s = ReadHeader(r, &h); s != IO_OK) return s;
  const bool costs = (h.scheme & 2) != 0, weights = (h.scheme & 1) != 0;
  HypergraphBuilder b;
  if (StartBuilder__(&b, costs) != BUILD_OK) return OutOfMemory__(r);
  int *cellwgt = nullptr;
  int status = ReadNets(r, h, &b);
  if (status == IO_OK && weights) status = ReadCellWeights(r, h, &cellwgt);
  const long last = r->lineno;
  if (status == IO_OK) {
    // The nets' lines are whole: what follows the last one starts on the next line.
    if (!weights) r->pos = r->length;
    status = RequireNothingMore(r, weights ? "the last cell weight" : "the last net");
  }
  if (status != IO_OK) {
    FreeBuilder__(&b);
    std::free(cellwgt);
    return status;
  }
  // A cell count of zero still gives a (empty) weight array when cells are weighted.
  if (weights && cellwgt == nullptr) {
    long long capacity = 0;
    if (!Reserve__(&cellwgt, &capacity, 1)) {
      FreeBuilder__(&b);
      return OutOfMemory__(r);
    }
  }
  FinishBuilder__(&b, static_cast<int>(h.ncells), cellwgt, (weights ? 10 : 0) + (costs ? 1 : 0),
                  out);
  status = CheckWeightLimits__(r, last, out);
  if (status != IO_OK) FreeHypergraphArrays(out);
  return status;
}

}  // namespace hypra
