// Files as every program and binding reads and writes them. An output file is complete or
// absent, is written through a symbolic link to the file the link names, and is written
// directly when it is a device or a FIFO. The readers return an error record (file, line, what
// is wrong) instead of printing or ending the process.
#pragma once

#include <cstdio>

namespace hypra {

// An output file under construction. A regular file (or a new one) is written under a temporary
// name in its folder and renamed into place once complete, keeping the mode of the file it
// replaces; anything else is written in place.
struct OutputFile {
  FILE *fp;
  const char *msg;     // the description printed with a failure
  int failure_status;  // the exit status of a failed write
  char path[4096];     // the target as given
  char target[4096];   // the file written: the target with its symbolic links followed
  char tmppath[4160];  // the temporary file, empty when the target is written directly
  int direct;          // 1 when the target is a device, FIFO or other non-regular file
};

// Opens the target for writing; on failure reports msg through perror and ends the process with
// failure_status, as a failed open of the file itself would.
void OpenOutputFile(const char *path, const char *msg, int failure_status, OutputFile *out);
// Finishes the file: the temporary file is renamed to the target. A failed write ends the
// process with the output's failure status and leaves no temporary file behind.
void CloseOutputFile(OutputFile *out);

// Whether path could be written now, checked the way OpenOutputFile will write it (a temporary
// file is created and removed again in the target's folder). Returns 0, or the errno that
// explains why not.
int CheckOutputTarget(const char *path);

// Follows the symbolic links of path to the file they name (which need not exist) and stores it
// in target. Returns 0, or an errno (ELOOP, ENAMETOOLONG, or that of a failed lookup).
int ResolveOutputTarget(const char *path, char *target, int size);

// ---------------------------------------------------------------------------------------------
// Readers. They never print and never end the process: a failure returns a non-zero status and
// an IoError, and releases everything the reader had allocated.
// ---------------------------------------------------------------------------------------------

// What a reader returns.
enum : int {
  IO_OK = 0,
  IO_ERR_OPEN = 1,    // the file could not be opened
  IO_ERR_READ = 2,    // reading failed (an I/O error, not the content)
  IO_ERR_FORMAT = 3,  // the content is not a valid file of the format
  IO_ERR_MEMORY = 4,  // an allocation failed
  IO_ERR_ARGS = 5,    // the call itself is wrong (unknown format, null pointer, bad count)
};

// Why a read failed. message names the file and, when there is one, the line at fault, as
// "FILE:LINE: what is wrong"; line is that line (1-based), 0 when no line is at fault. A file
// that ends too early is reported at the line after its last line, where the missing text
// belongs.
struct IoError {
  int line;
  char message[512];
};

// The hypergraph file formats.
enum : int {
  FORMAT_HGR = 0,         // header "hyperedges vertices [fmt]", one line of pins per hyperedge
  FORMAT_MTX_COLNET = 1,  // Matrix Market coordinate: rows are vertices, columns hyperedges
  FORMAT_MTX_ROWNET = 2,  // Matrix Market coordinate: rows are hyperedges, columns vertices
  FORMAT_PATOH = 3,       // "base cells nets pins [scheme [constraints]]", then nets, cell weights
};

// The format named "hgr", "mtx-colnet", "mtx-rownet" or "patoh"; -1 for any other name.
int FormatFromName(const char *name);
// The format a file's name suggests: ".mtx" is mtx-colnet, ".patoh" is patoh (either case),
// anything else is hgr.
int FormatFromPath(const char *path);
// The name of a format, or "unknown".
const char *FormatName(int format);

// A hypergraph as the engine takes it: hyperedge e holds the vertices netind[netptr[e]] to
// netind[netptr[e + 1] - 1] (0-based). The arrays are malloc'ed; null weights mean unit weights.
struct HypergraphArrays {
  int nvtxs;
  int nhedges;
  int *netptr;   // nhedges + 1 offsets
  int *netind;   // netptr[nhedges] pins
  int *netwgt;   // nhedges hyperedge weights, or null
  int *cellwgt;  // nvtxs vertex weights, or null
  int fmt;       // the weights given, as the hgr header's code: 0, 1 (hyperedge), 10 (vertex), 11
};

// Releases the arrays and nulls them; the counts become 0. Harmless on a released record.
void FreeHypergraphArrays(HypergraphArrays *h);

// Reads a hypergraph file of the given format into out. Returns IO_OK, or a failure status with
// err filled in (err may be null) and out left empty. Lines may be of any length.
//
// hgr: the files the hypra program reads, held to its format: every file accepted here gives
// the hypra program the same hypergraph. Refused besides what that program refuses: a token that
// is not a whole integer, fmt other than 0, 1, 10 or 11, pins outside 1..vertices, hyperedge
// weights below 1, negative vertex weights, more than one vertex weight on a line, a hyperedge
// without pins (even the last, which that program lets through), and anything but comments and
// blank lines after the last expected line. (A line longer than 131071 bytes is read whole here,
// where that program takes it in pieces.) A pin repeated in a hyperedge is kept once, at its
// first place, as that program keeps it. Lines that start with '%' are comments wherever they
// are; a blank line is not skipped (it is an empty hyperedge, or a missing header or weight).
//
// mtx-colnet, mtx-rownet: "%%MatrixMarket matrix coordinate pattern|integer|real
// general|symmetric|skew-symmetric" (any case), comment lines and blank lines, the size line
// "rows columns entries", then the entries "row column [value]". Values are checked and
// ignored; a symmetric matrix gives both triangles; an entry given twice counts once; every
// hyperedge lists its vertices in increasing order; an empty row or column that would be a
// hyperedge is dropped, one that would be a vertex stays as an isolated vertex. No weights.
//
// patoh: comments start with '%'; the header "base cells nets pins [scheme [constraints]]"
// (base 0 or 1; scheme 0 none, 1 cell weights, 2 net costs, 3 both; one constraint only); one
// line per net, its cost first when nets have costs; then the cell weights, over any number of
// lines. The pins written (repeats included) must add up to the header's count. A net without
// pins (a blank line, or a cost alone) is dropped, as the engine takes no empty hyperedge; a pin
// repeated in a net is kept once.
//
// Every format refuses weights whose sums the engine could not hold.
int ReadHypergraphFile(const char *path, int format, HypergraphArrays *out, IoError *err);

// Reads a fix file: for each of the nvtxs vertices in turn, the part it is fixed to (0 to
// nparts - 1) or -1 for a free vertex, as whole integers separated by blanks or newlines (one
// per line is the usual layout). The file must hold exactly nvtxs entries. part is written only
// when the whole file is valid.
int ReadFixFile(const char *path, int nvtxs, int nparts, int *part, IoError *err);

}  // namespace hypra
