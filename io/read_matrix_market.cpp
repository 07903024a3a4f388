// The Matrix Market reader: the pattern of a sparse coordinate matrix as a hypergraph, each
// column a hyperedge over the rows it holds (column-net) or each row a hyperedge over its
// columns (row-net).
#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "io/io.h"
#include "io/read_support.h"

namespace hypra {

namespace {

enum Field { kPattern, kInteger, kReal };
enum Symmetry { kGeneral, kSymmetric, kSkewSymmetric };

bool Is(const char *token, long size, const char *word) {
  return static_cast<long>(std::strlen(word)) == size && strncasecmp(token, word, size) == 0;
}

int Quoted(const TextReader *r, const char *format, const char *token, long size) {
  char quoted[64];
  QuoteToken__(token, size, quoted, sizeof(quoted));
  return Fail__(r, IO_ERR_FORMAT, r->lineno, format, quoted);
}

struct Banner {
  Field field;
  Symmetry symmetry;
};

int ReadBanner(TextReader *r, Banner *banner) {
  const int got = NextLine__(r);
  if (got < 0) return -got;
  const char *token = nullptr;
  long size = 0;
  if (got == 0 || !NextToken__(r, &token, &size) || !Is(token, size, "%%MatrixMarket"))
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "not a Matrix Market file: the first line must be \"%%%%MatrixMarket matrix "
                  "coordinate FIELD SYMMETRY\"");
  if (!NextToken__(r, &token, &size))
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the banner does not say what the file holds");
  if (!Is(token, size, "matrix"))
    return Quoted(r, "the file holds a %s; only matrices are read", token, size);
  if (!NextToken__(r, &token, &size))
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the banner does not give the matrix's format");
  if (Is(token, size, "array"))
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "only coordinate Matrix Market files are read, not array (dense) ones");
  if (!Is(token, size, "coordinate"))
    return Quoted(r, "unknown matrix format %s; only coordinate files are read", token, size);
  if (!NextToken__(r, &token, &size))
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the banner does not give the values' field");
  if (Is(token, size, "pattern")) {
    banner->field = kPattern;
  } else if (Is(token, size, "integer")) {
    banner->field = kInteger;
  } else if (Is(token, size, "real") || Is(token, size, "double")) {
    banner->field = kReal;
  } else if (Is(token, size, "complex")) {
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "complex matrices are not supported (pattern, integer and real are)");
  } else {
    return Quoted(r, "unknown field %s (pattern, integer and real are read)", token, size);
  }
  if (!NextToken__(r, &token, &size))
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "the banner does not give the symmetry");
  if (Is(token, size, "general")) {
    banner->symmetry = kGeneral;
  } else if (Is(token, size, "symmetric")) {
    banner->symmetry = kSymmetric;
  } else if (Is(token, size, "skew-symmetric")) {
    banner->symmetry = kSkewSymmetric;
  } else if (Is(token, size, "hermitian")) {
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "hermitian matrices are not supported (general, symmetric and skew-symmetric "
                  "are)");
  } else {
    return Quoted(r, "unknown symmetry %s (general, symmetric and skew-symmetric are read)", token,
                  size);
  }
  if (NextToken__(r, &token, &size))
    return Quoted(r, "unexpected %s at the end of the banner", token, size);
  return IO_OK;
}

// The next line holding something other than blanks, skipping comments.
int NextContentLine(TextReader *r) {
  for (;;) {
    const int got = NextDataLine__(r);
    if (got <= 0 || !RestIsBlank__(r)) return got;
  }
}

// A non-negative whole integer token no larger than limit.
int Count(const TextReader *r, const char *token, long size, const char *what, long long limit,
          long long *value) {
  const int kind = ParseInteger__(token, size, value);
  if (kind == TOKEN_NOT_INTEGER) {
    char quoted[64];
    QuoteToken__(token, size, quoted, sizeof(quoted));
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %s is not a whole number", what, quoted);
  }
  if (kind == TOKEN_TOO_LARGE || *value > limit)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %.*s is too large (at most %lld)", what,
                  static_cast<int>(size > 40 ? 40 : size), token, limit);
  if (*value < 0) return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s %lld is negative", what, *value);
  return IO_OK;
}

struct Size {
  long long rows, cols, entries;
};

int ReadSize(TextReader *r, const Banner &banner, Size *size) {
  const int got = NextContentLine(r);
  if (got < 0) return -got;
  if (got == 0)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the file ends before the size line \"rows columns entries\"");
  static const char *const kWhat[3] = {"the number of rows", "the number of columns",
                                       "the number of entries"};
  long long values[3];
  const char *token;
  long n = 0, tsize;
  while (NextToken__(r, &token, &tsize)) {
    if (n == 3)
      return Quoted(r, "unexpected %s after the numbers of rows, columns and entries", token,
                    tsize);
    if (int s = Count(r, token, tsize, kWhat[n], n < 2 ? INT_MAX : LLONG_MAX / 4, &values[n]);
        s != IO_OK)
      return s;
    n++;
  }
  if (n < 3)
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the size line must give the numbers of rows, columns and entries");
  size->rows = values[0];
  size->cols = values[1];
  size->entries = values[2];
  if (banner.symmetry != kGeneral && size->rows != size->cols)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "a symmetric matrix must be square, not %lld x %lld",
                  size->rows, size->cols);
  // Checked by division, which no product overflows.
  if (size->entries > 0 && (size->rows == 0 || (size->entries - 1) / size->rows >= size->cols))
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%lld entries do not fit a %lld x %lld matrix",
                  size->entries, size->rows, size->cols);
  return IO_OK;
}

// An index token of entry k within 1..limit.
int Index(const TextReader *r, const char *token, long size, const char *what, long long k,
          long long limit, long long *value) {
  const int kind = ParseInteger__(token, size, value);
  if (kind == TOKEN_NOT_INTEGER) {
    char quoted[64];
    QuoteToken__(token, size, quoted, sizeof(quoted));
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "the %s index %s of entry %lld is not a whole number", what, quoted, k);
  }
  if (kind == TOKEN_TOO_LARGE || *value < 1 || *value > limit)
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "%s index %.*s is outside 1..%lld", what,
                  static_cast<int>(size > 40 ? 40 : size), token, limit);
  return IO_OK;
}

// Reads the entries as (hyperedge, vertex) pairs, hyperedge in the high half.
int ReadEntries(TextReader *r, const Banner &banner, const Size &size, bool rownet,
                uint64_t **pairs, long long *npairs) {
  long long capacity = 0;
  *npairs = 0;
  for (long long k = 1; k <= size.entries; k++) {
    const int got = NextContentLine(r);
    if (got < 0) return -got;
    if (got == 0)
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "the file ends before entry %lld of %lld", k,
                    size.entries);
    const char *token;
    long tsize;
    long long i, j;
    NextToken__(r, &token, &tsize);  // the line is not blank
    if (int s = Index(r, token, tsize, "row", k, size.rows, &i); s != IO_OK) return s;
    if (!NextToken__(r, &token, &tsize))
      return Fail__(r, IO_ERR_FORMAT, r->lineno, "entry %lld has no column index", k);
    if (int s = Index(r, token, tsize, "column", k, size.cols, &j); s != IO_OK) return s;
    if (banner.field != kPattern) {
      if (!NextToken__(r, &token, &tsize))
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the value of entry %lld is missing", k);
      long long ignored;
      // The value only has to be a number; its size does not matter.
      const bool number = banner.field == kInteger
                              ? ParseInteger__(token, tsize, &ignored) != TOKEN_NOT_INTEGER
                              : IsDecimalNumber__(token, tsize);
      if (!number) {
        char quoted[64];
        QuoteToken__(token, tsize, quoted, sizeof(quoted));
        return Fail__(r, IO_ERR_FORMAT, r->lineno, "the value %s of entry %lld is not %s", quoted,
                      k, banner.field == kInteger ? "a whole number" : "a number");
      }
    }
    if (NextToken__(r, &token, &tsize))
      return Quoted(r, "unexpected %s after the entry", token, tsize);
    const uint64_t row = static_cast<uint64_t>(i - 1), col = static_cast<uint64_t>(j - 1);
    if (!Reserve__(pairs, &capacity, *npairs + 2)) return OutOfMemory__(r);
    (*pairs)[(*npairs)++] = rownet ? row << 32 | col : col << 32 | row;
    if (banner.symmetry != kGeneral && i != j)
      (*pairs)[(*npairs)++] = rownet ? col << 32 | row : row << 32 | col;
  }
  for (;;) {
    const int got = NextContentLine(r);
    if (got < 0) return -got;
    if (got == 0) return IO_OK;
    const char *token;
    long tsize;
    NextToken__(r, &token, &tsize);
    char quoted[64];
    QuoteToken__(token, tsize, quoted, sizeof(quoted));
    return Fail__(r, IO_ERR_FORMAT, r->lineno,
                  "unexpected %s after the %lld entries the size line announces", quoted,
                  size.entries);
  }
}

}  // namespace

int ReadMatrixMarket__(TextReader *r, bool rownet, HypergraphArrays *out) {
  Banner banner{};
  if (int s = ReadBanner(r, &banner); s != IO_OK) return s;
  Size size{};
  if (int s = ReadSize(r, banner, &size); s != IO_OK) return s;
  uint64_t *pairs = nullptr;
  long long npairs = 0;
  if (int s = ReadEntries(r, banner, size, rownet, &pairs, &npairs); s != IO_OK) {
    std::free(pairs);
    return s;
  }
  // Sorted, the pairs list each hyperedge's vertices in increasing order, hyperedge after
  // hyperedge; a repeated entry lands next to its twin and is kept once.
  std::sort(pairs, pairs + npairs);
  HypergraphBuilder b;
  if (StartBuilder__(&b, false) != BUILD_OK) {
    std::free(pairs);
    return OutOfMemory__(r);
  }
  int status = BUILD_OK;
  for (long long k = 0; k < npairs && status == BUILD_OK; k++) {
    const uint64_t hedge = pairs[k] >> 32;
    if (k == 0 || hedge != pairs[k - 1] >> 32) {
      if (k > 0) status = EndHyperedge__(&b, false, 1, true);
      BeginHyperedge__(&b);
    }
    if (status == BUILD_OK && (k == 0 || pairs[k] != pairs[k - 1]))
      status = AddPin__(&b, static_cast<int>(pairs[k] & 0xffffffffu));
  }
  if (status == BUILD_OK && npairs > 0) status = EndHyperedge__(&b, false, 1, true);
  std::free(pairs);
  if (status != BUILD_OK) {
    FreeBuilder__(&b);
    if (status == BUILD_NO_MEMORY) return OutOfMemory__(r);
    return Fail__(r, IO_ERR_FORMAT, r->lineno, "too many pins to store");
  }
  FinishBuilder__(&b, static_cast<int>(rownet ? size.cols : size.rows), nullptr, 0, out);
  const int s = CheckWeightLimits__(r, r->lineno, out);
  if (s != IO_OK) FreeHypergraphArrays(out);
  return s;
}

}  // namespace hypra
