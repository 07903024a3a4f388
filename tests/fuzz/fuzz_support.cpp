// The exit wrapper and scratch files of the fuzz targets.
#include "fuzz/fuzz_support.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <unordered_set>
#include <vector>

extern "C" [[noreturn]] void __real_exit(int status);
extern "C" void *__real_malloc(size_t size);
extern "C" void __real_free(void *ptr);
extern "C" void *__real_realloc(void *ptr, size_t size);
extern "C" FILE *__real_fopen(const char *path, const char *mode);
extern "C" int __real_fclose(FILE *fp);

namespace fuzz {

std::jmp_buf exit_jump;
bool exit_armed = false;
namespace {
int last_status = 0;
}

int ExitStatus() {
  return last_status;
}

namespace {
// The library's arrays (malloc, realloc and free are wrapped too) allocated during the guarded call
// and not yet released; after a jump back they are released here.
std::unordered_set<void *> *live = nullptr;
// Likewise the streams the library opened (fopen and fclose are wrapped): a stream holds memory
// of the C library's own beside its descriptor, so it is closed as a stream, not by descriptor.
std::unordered_set<FILE *> *streams = nullptr;
constexpr int kMaxFd = 4096;
bool open_before[kMaxFd];

// Calls fn(fd) for every open descriptor below kMaxFd.
template <typename F>
void ForEachOpenFd(F fn) {
  DIR *dir = opendir("/proc/self/fd");
  if (dir == nullptr) return;
  const int own = dirfd(dir);
  while (const dirent *e = readdir(dir)) {
    const int fd = std::atoi(e->d_name);
    if (e->d_name[0] >= '0' && e->d_name[0] <= '9' && fd != own && fd < kMaxFd) fn(fd);
  }
  closedir(dir);
}
}  // namespace

void RememberOpenFiles() {
  if (live == nullptr) live = new std::unordered_set<void *>;
  live->clear();
  if (streams == nullptr) streams = new std::unordered_set<FILE *>;
  streams->clear();
  for (bool &b : open_before) b = false;
  ForEachOpenFd([](int fd) { open_before[fd] = true; });
}

void ReleaseAllocatedSince() {
  if (live == nullptr) return;
  for (void *p : *live) __real_free(p);
  live->clear();
}

void CloseFilesOpenedSince() {
  if (streams != nullptr) {
    for (FILE *fp : *streams) __real_fclose(fp);
    streams->clear();
  }
  std::vector<int> opened;
  ForEachOpenFd([&](int fd) {
    if (!open_before[fd]) opened.push_back(fd);
  });
  for (int fd : opened) close(fd);
  ReleaseAllocatedSince();
}

namespace {
// The folder's name outlives every static object, so the exit handler can still remove it.
char scratch[64];
void RemoveScratch() {
  char cmd[128];
  std::snprintf(cmd, sizeof(cmd), "rm -rf '%s'", scratch);
  if (std::system(cmd) != 0) return;
}
}  // namespace

const std::string &ScratchFolder() {
  static const std::string folder = [] {
    // In memory where the system offers it: every run writes its input to a file, and on a disk
    // the campaign spends half its time waiting for those writes.
    std::snprintf(scratch, sizeof(scratch), "/dev/shm/hypra-fuzz-XXXXXX");
    if (mkdtemp(scratch) == nullptr) {
      std::snprintf(scratch, sizeof(scratch), "/tmp/hypra-fuzz-XXXXXX");
      if (mkdtemp(scratch) == nullptr) Fail("cannot make a scratch folder");
    }
    std::atexit(RemoveScratch);
    return std::string(scratch);
  }();
  return folder;
}

std::string WriteScratch(const std::string &name, const uint8_t *data, size_t size) {
  const std::string path = ScratchFolder() + "/" + name;
  FILE *f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) Fail("cannot write %s", path.c_str());
  if (size > 0 && std::fwrite(data, 1, size, f) != size) Fail("cannot write %s", path.c_str());
  std::fclose(f);
  return path;
}

void QuietStdout() {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) Fail("cannot silence stdout");
}

void Fail(const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::fprintf(stderr, "FUZZ CHECK FAILED: ");
  std::vfprintf(stderr, format, args);
  std::fprintf(stderr, "\n");
  va_end(args);
  std::abort();
}

}  // namespace fuzz

// The library's threads allocate too (the parallel mode), so the lists are changed under a lock.
// Outside a guarded call they are empty and left alone.
namespace fuzz {
namespace {
std::mutex tracking;
}  // namespace
}  // namespace fuzz

extern "C" void *__wrap_malloc(size_t size) {
  void *p = __real_malloc(size);
  if (fuzz::exit_armed && p != nullptr && fuzz::live != nullptr) {
    std::lock_guard<std::mutex> guard(fuzz::tracking);
    fuzz::live->insert(p);
  }
  return p;
}

extern "C" void __wrap_free(void *ptr) {
  if (fuzz::exit_armed && ptr != nullptr && fuzz::live != nullptr) {
    std::lock_guard<std::mutex> guard(fuzz::tracking);
    fuzz::live->erase(ptr);
  }
  __real_free(ptr);
}

extern "C" void *__wrap_realloc(void *ptr, size_t size) {
  // The old address is only a key here once the block has moved.
  const auto before = reinterpret_cast<uintptr_t>(ptr);
  void *p = __real_realloc(ptr, size);
  if (fuzz::exit_armed && p != nullptr && reinterpret_cast<uintptr_t>(p) != before &&
      fuzz::live != nullptr) {
    // A block of the guarded call keeps being tracked; a new one (from null) starts to be.
    std::lock_guard<std::mutex> guard(fuzz::tracking);
    if (fuzz::live->erase(reinterpret_cast<void *>(before)) > 0 || before == 0)
      fuzz::live->insert(p);
  }
  return p;
}

extern "C" FILE *__wrap_fopen(const char *path, const char *mode) {
  FILE *fp = __real_fopen(path, mode);
  if (fuzz::exit_armed && fp != nullptr && fuzz::streams != nullptr) {
    std::lock_guard<std::mutex> guard(fuzz::tracking);
    fuzz::streams->insert(fp);
  }
  return fp;
}

extern "C" int __wrap_fclose(FILE *fp) {
  if (fuzz::exit_armed && fp != nullptr && fuzz::streams != nullptr) {
    std::lock_guard<std::mutex> guard(fuzz::tracking);
    fuzz::streams->erase(fp);
  }
  return __real_fclose(fp);
}

// Every call of exit in the linked objects comes here; during a guarded call it returns to the
// guard, at any other time it ends the process.
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (fuzz::exit_armed) {
    fuzz::exit_armed = false;
    fuzz::last_status = status;
    std::fflush(stdout);
    std::longjmp(fuzz::exit_jump, 1);
  }
  __real_exit(status);
}
