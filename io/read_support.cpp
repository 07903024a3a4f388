// Line and token reading for the file readers.
#include "io/read_support.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/core.h"

namespace hypra {

namespace {

bool Blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool Digit(char c) {
  return c >= '0' && c <= '9';
}

constexpr long long kLargest = 1LL << 62;

}  // namespace

int OpenText__(TextReader *r, const char *path, IoError *err) {
  std::memset(r, 0, sizeof(*r));
  r->path = path;
  r->err = err;
  r->fp = std::fopen(path, "r");
  if (r->fp == nullptr) {
    const int e = errno;
    return Fail__(r, IO_ERR_OPEN, 0, "cannot open: %s", std::strerror(e));
  }
  return IO_OK;
}

void CloseText__(TextReader *r) {
  if (r->fp != nullptr) std::fclose(r->fp);
  r->fp = nullptr;
  std::free(r->line);
  r->line = nullptr;
  r->capacity = 0;
}

int NextLine__(TextReader *r) {
  errno = 0;
  const ssize_t n = getline(&r->line, &r->capacity, r->fp);
  if (n < 0) {
    r->length = 0;
    r->pos = 0;
    if (errno == ENOMEM) return -OutOfMemory__(r);
    if (std::ferror(r->fp)) {
      const int e = errno;
      return -Fail__(r, IO_ERR_READ, r->lineno + 1, "read error: %s", std::strerror(e));
    }
    // At the end of the file the next line is where the missing text belongs.
    r->lineno++;
    return 0;
  }
  r->lineno++;
  r->length = static_cast<long>(n);
  r->pos = 0;
  return 1;
}

int NextDataLine__(TextReader *r) {
  for (;;) {
    const int got = NextLine__(r);
    if (got <= 0 || !IsComment__(r)) return got;
  }
}

bool IsComment__(const TextReader *r) {
  return r->length > 0 && r->line[0] == '%';
}

bool NextToken__(TextReader *r, const char **token, long *size) {
  while (r->pos < r->length && Blank(r->line[r->pos])) r->pos++;
  if (r->pos >= r->length) return false;
  const long start = r->pos;
  while (r->pos < r->length && !Blank(r->line[r->pos])) r->pos++;
  *token = r->line + start;
  *size = r->pos - start;
  return true;
}

bool RestIsBlank__(TextReader *r) {
  while (r->pos < r->length && Blank(r->line[r->pos])) r->pos++;
  return r->pos >= r->length;
}

int ParseInteger__(const char *token, long size, long long *value) {
  long i = 0;
  bool negative = false;
  if (i < size && (token[i] == '+' || token[i] == '-')) negative = token[i++] == '-';
  if (i >= size) return TOKEN_NOT_INTEGER;
  long long v = 0;
  bool large = false;
  for (; i < size; i++) {
    if (!Digit(token[i])) return TOKEN_NOT_INTEGER;
    const int digit = token[i] - '0';
    // Tested before the step, which must not overflow itself.
    if (!large && v > (kLargest - digit) / 10) large = true;
    if (!large) v = v * 10 + digit;
  }
  if (large) return TOKEN_TOO_LARGE;
  *value = negative ? -v : v;
  return TOKEN_INTEGER;
}

bool IsDecimalNumber__(const char *token, long size) {
  long i = 0;
  if (i < size && (token[i] == '+' || token[i] == '-')) i++;
  long digits = 0;
  while (i < size && Digit(token[i])) i++, digits++;
  if (i < size && token[i] == '.') {
    i++;
    while (i < size && Digit(token[i])) i++, digits++;
  }
  if (digits == 0) return false;
  if (i < size && (token[i] == 'e' || token[i] == 'E')) {
    i++;
    if (i < size && (token[i] == '+' || token[i] == '-')) i++;
    if (i >= size || !Digit(token[i])) return false;
    while (i < size && Digit(token[i])) i++;
  }
  return i == size;
}

void QuoteToken__(const char *token, long size, char *buf, int bufsize) {
  constexpr long kShown = 40;
  const long shown = size > kShown ? kShown : size;
  int n = 0;
  if (n < bufsize - 1) buf[n++] = '\'';
  for (long i = 0; i < shown && n < bufsize - 1; i++) {
    const unsigned char c = static_cast<unsigned char>(token[i]);
    buf[n++] = c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?';
  }
  for (const char *more = size > shown ? "...'" : "'"; *more != '\0' && n < bufsize - 1; more++)
    buf[n++] = *more;
  buf[n] = '\0';
}

int Fail__(const TextReader *r, int status, long line, const char *format, ...) {
  if (r->err == nullptr) return status;
  IoError *err = r->err;
  err->line = line > INT32_MAX ? INT32_MAX : static_cast<int>(line);
  int n = line > 0 ? std::snprintf(err->message, sizeof(err->message), "%s:%ld: ", r->path, line)
                   : std::snprintf(err->message, sizeof(err->message), "%s: ", r->path);
  if (n < 0) n = 0;
  if (n < static_cast<int>(sizeof(err->message))) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(err->message + n, sizeof(err->message) - n, format, args);
    va_end(args);
  }
  return status;
}

int OutOfMemory__(const TextReader *r) {
  if (r->err != nullptr) {
    r->err->line = r->lineno > INT32_MAX ? INT32_MAX : static_cast<int>(r->lineno);
    std::snprintf(r->err->message, sizeof(r->err->message), "out of memory reading %s", r->path);
  }
  return IO_ERR_MEMORY;
}

bool ReserveBytes__(void **array, long long *capacity, long long need, size_t elsize) {
  if (need <= *capacity) return true;
  const long long limit = static_cast<long long>(SIZE_MAX / 2 / elsize);
  if (need > limit) return false;
  long long grown = *capacity < 16 ? 16 : *capacity * 2;
  if (grown < need) grown = need;
  if (grown > limit) grown = limit;
  void *p = std::realloc(*array, static_cast<size_t>(grown) * elsize);
  if (p == nullptr) return false;
  *array = p;
  *capacity = grown;
  return true;
}

int StartBuilder__(HypergraphBuilder *b, bool weighted) {
  std::memset(b, 0, sizeof(*b));
  // The arrays exist even for a hypergraph without pins or hyperedges.
  if (!Reserve__(&b->netptr, &b->netptr_capacity, 1) ||
      !Reserve__(&b->netind, &b->netind_capacity, 1) ||
      (weighted && !Reserve__(&b->netwgt, &b->netwgt_capacity, 1))) {
    FreeBuilder__(b);
    return BUILD_NO_MEMORY;
  }
  b->netptr[0] = 0;
  return BUILD_OK;
}

void FreeBuilder__(HypergraphBuilder *b) {
  RVfree__(&b->netptr, &b->netind, &b->netwgt, &b->scratch);
  b->netptr_capacity = b->netind_capacity = b->netwgt_capacity = b->scratch_capacity = 0;
}

void BeginHyperedge__(HypergraphBuilder *b) {
  b->merged = false;
}

int AddPin__(HypergraphBuilder *b, int v) {
  if (b->npins >= INT_MAX) return BUILD_TOO_MANY;
  if (!Reserve__(&b->netind, &b->netind_capacity, b->npins + 1)) return BUILD_NO_MEMORY;
  b->netind[b->npins++] = v;
  b->merged = false;
  return BUILD_OK;
}

int MergeRepeatedPins__(HypergraphBuilder *b) {
  if (b->merged) return BUILD_OK;
  const long long start = b->netptr[b->nhedges], size = b->npins - start;
  int *pins = b->netind + start;
  long long kept = 0;
  if (size <= 32) {
    // A short hyperedge is searched directly.
    for (long long i = 0; i < size; i++) {
      long long j = 0;
      while (j < kept && pins[j] != pins[i]) j++;
      if (j == kept) pins[kept++] = pins[i];
    }
  } else {
    // A long one is sorted by (vertex, place): the first of each vertex's run is the place to
    // keep, the others are marked (vertices are never negative) and squeezed out.
    if (!Reserve__(&b->scratch, &b->scratch_capacity, size)) return BUILD_NO_MEMORY;
    for (long long i = 0; i < size; i++)
      b->scratch[i] = static_cast<uint64_t>(pins[i]) << 32 | static_cast<uint64_t>(i);
    std::sort(b->scratch, b->scratch + size);
    for (long long i = 1; i < size; i++)
      if (b->scratch[i] >> 32 == b->scratch[i - 1] >> 32) pins[b->scratch[i] & 0xffffffffu] = -1;
    for (long long i = 0; i < size; i++)
      if (pins[i] >= 0) pins[kept++] = pins[i];
  }
  b->npins = start + kept;
  b->merged = true;
  return BUILD_OK;
}

long long OpenPins__(const HypergraphBuilder *b) {
  return b->npins - b->netptr[b->nhedges];
}

int EndHyperedge__(HypergraphBuilder *b, bool weighted, int weight, bool drop_empty) {
  if (int s = MergeRepeatedPins__(b); s != BUILD_OK) return s;
  if (drop_empty && OpenPins__(b) == 0) return BUILD_OK;
  // One offset more than hyperedges must fit an int.
  if (b->nhedges >= INT_MAX - 1) return BUILD_TOO_MANY;
  const long long n = b->nhedges + 1;
  if (!Reserve__(&b->netptr, &b->netptr_capacity, n + 1)) return BUILD_NO_MEMORY;
  if (weighted) {
    if (!Reserve__(&b->netwgt, &b->netwgt_capacity, n)) return BUILD_NO_MEMORY;
    b->netwgt[b->nhedges] = weight;
  }
  b->netptr[n] = static_cast<int>(b->npins);
  b->nhedges++;
  return BUILD_OK;
}

void FinishBuilder__(HypergraphBuilder *b, int nvtxs, int *cellwgt, int fmt,
                     HypergraphArrays *out) {
  out->nvtxs = nvtxs;
  out->nhedges = b->nhedges;
  out->netptr = b->netptr;
  out->netind = b->netind;
  out->netwgt = fmt % 10 == 1 ? b->netwgt : nullptr;
  out->cellwgt = cellwgt;
  out->fmt = fmt;
  if (out->netwgt == nullptr) std::free(b->netwgt);
  b->netptr = b->netind = b->netwgt = nullptr;
  FreeBuilder__(b);
}

int CheckWeightLimits__(const TextReader *r, long line, const HypergraphArrays *h) {
  char why[256];
  if (WeightLimitProblem__(h->cellwgt != nullptr ? h->nvtxs : 0, h->nhedges, h->cellwgt, h->netptr,
                           h->netwgt, why, sizeof(why)) != 0)
    return Fail__(r, IO_ERR_FORMAT, line, "%s", why);
  return IO_OK;
}

}  // namespace hypra
