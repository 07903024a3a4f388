// Output files that are complete or absent: regular files go through a temporary file in the
// target's folder and a rename, devices and FIFOs are written in place, symbolic links are
// followed to the file they name.
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "core/core.h"
#include "io/io.h"

namespace hypra {

namespace {

// The temporary file being written, if any. A signal that ends the run removes it; the buffer is
// filled before the flag is set, so the handler never reads half a name.
char pending_tmp[4160];
volatile sig_atomic_t pending = 0;
bool handlers_installed = false;

void RemovePendingAndDie(int sig) {
  if (pending) unlink(pending_tmp);
  pending = 0;
  // Die of the same signal, so the parent sees what happened.
  signal(sig, SIG_DFL);
  raise(sig);
}

void RemovePendingAtExit() {
  if (pending) unlink(pending_tmp);
  pending = 0;
}

void InstallHandlers() {
  if (handlers_installed) return;
  handlers_installed = true;
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction old;
    if (sigaction(sig, nullptr, &old) != 0) continue;
    // A signal the host program ignores or handles itself is left as it is.
    if ((old.sa_flags & SA_SIGINFO) != 0 || old.sa_handler != SIG_DFL) continue;
    struct sigaction act;
    std::memset(&act, 0, sizeof(act));
    act.sa_handler = RemovePendingAndDie;
    sigemptyset(&act.sa_mask);
    sigaction(sig, &act, nullptr);
  }
  std::atexit(RemovePendingAtExit);
}

void SetPending(const char *tmppath) {
  std::memcpy(pending_tmp, tmppath, std::strlen(tmppath) + 1);
  pending = 1;
}

[[noreturn]] void Fail(const char *msg, int status) {
  std::perror(msg);
  std::fflush(stdout);
  MarkFatalExit__();
  std::exit(status);
}

// Length of the folder part of path, its final '/' included (0 for a bare name).
int FolderLength(const char *path) {
  const char *slash = std::strrchr(path, '/');
  return slash == nullptr ? 0 : static_cast<int>(slash - path + 1);
}

// The temporary file for target: a hidden name in the same folder, so the rename is atomic.
bool TempPattern(const char *target, char *tmppath, int size) {
  const int dirlen = FolderLength(target);
  const int len =
      std::snprintf(tmppath, size, "%.*s.%s.hypra-XXXXXX", dirlen, target, target + dirlen);
  return len > 0 && len < size;
}

// The mode a new file gets: rw for everyone, less the process's umask.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Creates the temporary file for target with the given mode; returns its descriptor or -1.
int CreateTemp(const char *target, char *tmppath, int size, mode_t mode) {
  if (!TempPattern(target, tmppath, size)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const int fd = mkstemp(tmppath);
  if (fd < 0) return -1;
  if (fchmod(fd, mode) != 0) {
    const int saved = errno;
    close(fd);
    unlink(tmppath);
    errno = saved;
    return -1;
  }
  return fd;
}

// Creates the temporary file for target and registers it for removal, with SIGINT, SIGTERM and
// SIGHUP held off in between: a signal that came after the file existed but before it was
// registered would end the run and leave the file behind. A signal that arrives meanwhile is
// delivered when the mask is restored, and then finds the file registered. The output is written
// by the thread that started the run, after its workers have ended, so holding the signals on
// this thread is enough. Returns the descriptor or -1 (errno set, nothing registered).
int CreatePendingTemp(const char *target, char *tmppath, int size, mode_t mode) {
  sigset_t held, old;
  sigemptyset(&held);
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&held, sig);
  pthread_sigmask(SIG_BLOCK, &held, &old);
  const int fd = CreateTemp(target, tmppath, size, mode);
  const int saved = errno;
  if (fd >= 0) SetPending(tmppath);
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  errno = saved;
  return fd;
}

}  // namespace

int ResolveOutputTarget(const char *path, char *target, int size) {
  const int len = static_cast<int>(std::strlen(path));
  if (len == 0) return ENOENT;
  if (len >= size) return ENAMETOOLONG;
  std::memcpy(target, path, len + 1);
  for (int hops = 0;; hops++) {
    struct stat st;
    if (lstat(target, &st) != 0) return errno == ENOENT ? 0 : errno;
    if (!S_ISLNK(st.st_mode)) return 0;
    if (hops == 40) return ELOOP;
    char link[4096];
    const ssize_t n = readlink(target, link, sizeof(link) - 1);
    if (n < 0) return errno;
    link[n] = '\0';
    // A relative link is relative to the folder that holds it.
    const int dirlen = link[0] == '/' ? 0 : FolderLength(target);
    if (dirlen + n >= size) return ENAMETOOLONG;
    std::memmove(target + dirlen, link, static_cast<size_t>(n) + 1);
  }
}

void OpenOutputFile(const char *path, const char *msg, int failure_status, OutputFile *out) {
  const size_t len = std::strlen(path);
  if (len >= sizeof(out->path)) errexit__("Output file name too long: %.64s...", path);
  std::memcpy(out->path, path, len + 1);
  out->msg = msg;
  out->failure_status = failure_status;
  out->tmppath[0] = '\0';
  out->direct = 0;
  out->fp = nullptr;

  const int err = ResolveOutputTarget(path, out->target, sizeof(out->target));
  if (err != 0) {
    errno = err;
    Fail(msg, failure_status);
  }
  struct stat st;
  const bool exists = stat(out->target, &st) == 0;
  if (exists && !S_ISREG(st.st_mode)) {
    // A device, a FIFO or a folder: write (or fail to write) the target itself.
    out->direct = 1;
    out->fp = std::fopen(out->target, "w");
    if (out->fp == nullptr) Fail(msg, failure_status);
    return;
  }
  // An existing file that the user may not write is not replaced behind its back.
  if (exists && access(out->target, W_OK) != 0) Fail(msg, failure_status);

  InstallHandlers();
  const mode_t mode = exists ? (st.st_mode & 07777) : NewFileMode();
  const int fd = CreatePendingTemp(out->target, out->tmppath, sizeof(out->tmppath), mode);
  if (fd < 0) Fail(msg, failure_status);
  out->fp = fdopen(fd, "w");
  if (out->fp == nullptr) {
    const int saved = errno;
    close(fd);
    unlink(out->tmppath);
    pending = 0;
    errno = saved;
    Fail(msg, failure_status);
  }
}

void CloseOutputFile(OutputFile *out) {
  const bool written = std::ferror(out->fp) == 0;
  const bool closed = std::fclose(out->fp) == 0;
  out->fp = nullptr;
  if (out->direct) {
    if (!written || !closed) {
      std::fflush(stdout);
      std::fprintf(stderr, "%s: writing %s failed\n", out->msg, out->path);
      MarkFatalExit__();
      std::exit(out->failure_status);
    }
    return;
  }
  if (!written || !closed) {
    unlink(out->tmppath);
    pending = 0;
    std::fflush(stdout);
    std::fprintf(stderr, "%s: writing %s failed\n", out->msg, out->path);
    MarkFatalExit__();
    std::exit(out->failure_status);
  }
  if (std::rename(out->tmppath, out->target) != 0) {
    const int saved = errno;
    unlink(out->tmppath);
    pending = 0;
    errno = saved;
    Fail(out->msg, out->failure_status);
  }
  pending = 0;
}

int CheckOutputTarget(const char *path) {
  char target[4096];
  const int err = ResolveOutputTarget(path, target, sizeof(target));
  if (err != 0) return err;
  struct stat st;
  const bool exists = stat(target, &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) return EISDIR;
  if (exists && !S_ISREG(st.st_mode)) return access(target, W_OK) == 0 ? 0 : errno;
  if (exists && access(target, W_OK) != 0) return errno;
  InstallHandlers();
  char tmppath[4160];
  const int fd = CreatePendingTemp(target, tmppath, sizeof(tmppath), 0600);
  if (fd < 0) return errno;
  close(fd);
  unlink(tmppath);
  pending = 0;
  return 0;
}

}  // namespace hypra
