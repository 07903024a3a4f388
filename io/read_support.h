// What the file readers share: whole lines of any length, blank-separated tokens, whole-integer
// parsing that refuses anything else, messages that name the file and line, growable arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "io/io.h"

namespace hypra {

struct TextReader {
  FILE *fp;
  const char *path;
  IoError *err;  // may be null
  char *line;    // the current line, NUL-terminated (it may hold NUL bytes of its own)
  size_t capacity;
  long length;  // bytes in line, the newline included
  long lineno;  // the current line's number; 0 before the first
  long pos;     // where the next token is looked for
};

// Opens path for reading; IO_OK or IO_ERR_OPEN (message set).
int OpenText__(TextReader *r, const char *path, IoError *err);
void CloseText__(TextReader *r);

// Reads the next line: 1, 0 at the end of the file, or a negative status (IO_ERR_READ or
// IO_ERR_MEMORY, message set) on failure.
int NextLine__(TextReader *r);
// The next line that does not start with '%', with the same results.
int NextDataLine__(TextReader *r);
// Whether the current line starts with '%'.
bool IsComment__(const TextReader *r);

// The next blank-separated token of the current line: false at its end.
bool NextToken__(TextReader *r, const char **token, long *size);
// Whether nothing but blanks is left on the current line.
bool RestIsBlank__(TextReader *r);

enum : int { TOKEN_INTEGER = 0, TOKEN_NOT_INTEGER = 1, TOKEN_TOO_LARGE = 2 };
// Parses a whole decimal integer (an optional sign, then digits and nothing else). Values beyond
// +-2^62 are TOKEN_TOO_LARGE.
int ParseInteger__(const char *token, long size, long long *value);
// Whether the token is a decimal number: an integer or a fixed or floating point real.
bool IsDecimalNumber__(const char *token, long size);

// The token for a message: quoted, shortened when long, unprintable bytes as '?'.
void QuoteToken__(const char *token, long size, char *buf, int bufsize);

// Fills the error as "PATH:LINE: message" (no line when line is 0) and returns status.
int Fail__(const TextReader *r, int status, long line, const char *format, ...)
    __attribute__((format(printf, 4, 5)));
// The out-of-memory failure.
int OutOfMemory__(const TextReader *r);

// Makes room for need elements of size elsize in *array (capacity counted in elements),
// doubling; false when the allocation fails or the size cannot be represented. The array is
// kept as it was on failure.
bool ReserveBytes__(void **array, long long *capacity, long long need, size_t elsize);
template <typename T>
bool Reserve__(T **array, long long *capacity, long long need) {
  void *p = *array;
  const bool ok = ReserveBytes__(&p, capacity, need, sizeof(T));
  *array = static_cast<T *>(p);
  return ok;
}

// A hypergraph collected one hyperedge at a time: a pin repeated in a hyperedge is kept once,
// at its first place, and the arrays grow with what is read, never with what a header announces
// (nor with how large a vertex number is).
struct HypergraphBuilder {
  int *netptr;
  int *netind;
  int *netwgt;        // null when hyperedges are not weighted
  uint64_t *scratch;  // (vertex, place) keys for finding the repeated pins of a long hyperedge
  long long netptr_capacity, netind_capacity, netwgt_capacity, scratch_capacity;
  int nhedges;      // hyperedges kept
  long long npins;  // pins kept, and those of the open hyperedge
  bool merged;      // whether the open hyperedge's repeated pins are merged already
};

enum : int { BUILD_OK = 0, BUILD_NO_MEMORY = 1, BUILD_TOO_MANY = 2 };

// An empty builder (it allocates its first arrays, the weights' too when hyperedges are
// weighted); BUILD_OK or BUILD_NO_MEMORY.
int StartBuilder__(HypergraphBuilder *b, bool weighted);
void FreeBuilder__(HypergraphBuilder *b);
// Opens the next hyperedge.
void BeginHyperedge__(HypergraphBuilder *b);
// Adds vertex v (0-based) to the open hyperedge; BUILD_TOO_MANY when the pins would no longer
// fit an int.
int AddPin__(HypergraphBuilder *b, int v);
// Keeps each vertex of the open hyperedge once, at its first place.
int MergeRepeatedPins__(HypergraphBuilder *b);
// Pins of the open hyperedge (each vertex once after MergeRepeatedPins__).
long long OpenPins__(const HypergraphBuilder *b);

// Closes the open hyperedge with its weight (weighted: whether hyperedges carry weights), its
// repeated pins merged. An empty one is dropped when drop_empty is set. BUILD_TOO_MANY when the
// hyperedges would not fit.
int EndHyperedge__(HypergraphBuilder *b, bool weighted, int weight, bool drop_empty);
// Moves the arrays into out (the builder is left empty); the weights are the caller's.
void FinishBuilder__(HypergraphBuilder *b, int nvtxs, int *cellwgt, int fmt, HypergraphArrays *out);

// The readers of each format (out is empty on entry).
int ReadHgr__(TextReader *r, HypergraphArrays *out);
int ReadMatrixMarket__(TextReader *r, bool rownet, HypergraphArrays *out);
int ReadPatoh__(TextReader *r, HypergraphArrays *out);

// Refuses (IO_ERR_FORMAT, reported at line) weights whose sums the engine cannot hold; cellwgt
// and netwgt may be null (unit weights).
int CheckWeightLimits__(const TextReader *r, long line, const HypergraphArrays *h);

}  // namespace hypra
