// Files that every program and binding writes the same way: an output file is complete or
// absent, is written through a symbolic link to the file the link names, and is written
// directly when it is a device or a FIFO.
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

}  // namespace hypra
