// Whole-or-nothing output files: write under a temporary name, then rename into place.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "driver/driver_internal.h"

void OpenOutputFile(const char *path, const char *msg, OutputFile *out) {
  const size_t len = std::strlen(path);
  if (len >= sizeof(out->path)) errexit__("Output file name too long: %.64s...", path);
  std::memcpy(out->path, path, len + 1);
  out->msg = msg;

  // The temporary file must live in the target's directory so that the rename is atomic.
  const char *slash = std::strrchr(path, '/');
  const int dirlen = slash == nullptr ? 0 : static_cast<int>(slash - path + 1);
  std::snprintf(out->tmppath, sizeof(out->tmppath), "%.*s.hypra-%ld.tmp", dirlen, path,
                static_cast<long>(getpid()));
  out->fp = RVfopen__(out->tmppath, "w", msg);
}

void CloseOutputFile(OutputFile *out) {
  const bool written = std::ferror(out->fp) == 0;
  const bool closed = std::fclose(out->fp) == 0;
  out->fp = nullptr;
  if (!written || !closed) {
    std::remove(out->tmppath);
    errexit__("%s: writing %s failed", out->msg, out->path);
  }
  if (std::rename(out->tmppath, out->path) != 0) {
    std::perror(out->msg);
    std::remove(out->tmppath);
    std::fflush(stdout);
    std::exit(0);
  }
}
