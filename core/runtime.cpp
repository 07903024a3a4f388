// Runtime support: checked allocation, fatal exit, files, vector helpers, CPU time, timers.
#include <sys/resource.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/core.h"

namespace {
// Set when the process ends on a fatal error, with its data still allocated by design.
bool fatal_exit = false;
// Tests make the n-th allocation from now fail, to see every failure path (0: none).
std::atomic<long long> injected_failure{0};
// The exit status of a fatal error: 0 for the specified program, chosen once by a program that
// wants scripts to see failures.
int fatal_status = 0;
}  // namespace

#if defined(__SANITIZE_ADDRESS__)
#define HYPRA_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HYPRA_LEAK_CHECKED 1
#endif
#endif
#ifdef HYPRA_LEAK_CHECKED
// The leak checker's hook, asked at exit: after a fatal error every array the run was using is
// still allocated, which is no leak. The sanitizer runtime looks it up by name, so it stays
// visible although the library hides its other symbols.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off() {
  return fatal_exit ? 1 : 0;
}
#endif

namespace hypra {

void MarkFatalExit__() {
  fatal_exit = true;
}

void SetFatalExitStatus__(int status) {
  fatal_status = status;
}

int FatalExitStatus__() {
  return fatal_status;
}

void errexit__(const char *format, ...) {
  va_list args;
  va_start(args, format);
  if (FailureTrap *trap = CurrentTrap__()) FailTrappedCall__(trap, kFailedArguments, format, args);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fprintf(stderr, "\n");
  std::fflush(stderr);
  // Fatal errors end the process with status 0 by design (unless the program chose otherwise);
  // flush what the run printed so far.
  std::fflush(stdout);
  MarkFatalExit__();
  std::exit(fatal_status);
}

namespace {

[[noreturn]] void OutOfMemory() {
  errexit__("Memory allocation failed: out of memory.\n");
}

}  // namespace

void InstallOutOfMemoryHandler__() {
  std::set_new_handler(OutOfMemory);
}

void InjectAllocationFailure__(long long nth) {
  injected_failure.store(nth, std::memory_order_relaxed);
}

namespace {

// Whether this allocation is the one a test asked to fail (InjectAllocationFailure__).
bool TakeInjectedFailure() {
  return injected_failure.load(std::memory_order_relaxed) > 0 &&
         injected_failure.fetch_sub(1, std::memory_order_relaxed) == 1;
}

// Ends a failed allocation: the trapped call fails, or the program ends with the message.
[[noreturn]] void FailAllocation(FailureTrap *trap, long long nbytes, const char *msg) {
  if (trap != nullptr)
    FailTrappedCallf__(trap, nbytes > 0 ? kFailedMemory : kFailedArguments,
                       "Memory allocation failed for %s. Requested size: %lld bytes", msg, nbytes);
  errexit__("Memory allocation failed for %s. Requested size: %lld bytes\n", msg, nbytes);
}

}  // namespace

void *RVmalloc__(long long nbytes, const char *msg) {
  if (nbytes == 0) return nullptr;
  const bool injected = TakeInjectedFailure();
  void *ptr = nbytes > 0 && !injected ? std::malloc(static_cast<size_t>(nbytes)) : nullptr;
  FailureTrap *trap = CurrentTrap__();
  if (ptr == nullptr) FailAllocation(trap, nbytes, msg);
  if (trap != nullptr) TrackMemory__(trap, ptr);
  return ptr;
}

void *RVrealloc__(void *ptr, long long nbytes, const char *msg) {
  if (ptr == nullptr) return RVmalloc__(nbytes, msg);
  // An injected failure leaves the block alone, as a failed realloc does.
  const bool injected = TakeInjectedFailure();
  const auto before = reinterpret_cast<uintptr_t>(ptr);
  void *grown = nbytes > 0 && !injected ? std::realloc(ptr, static_cast<size_t>(nbytes)) : nullptr;
  FailureTrap *trap = CurrentTrap__();
  if (grown == nullptr) FailAllocation(trap, nbytes, msg);
  // The old address only names the block in the trap's list; it is never dereferenced.
  if (trap != nullptr && reinterpret_cast<uintptr_t>(grown) != before)
    RetrackMemory__(trap, before, grown);
  return grown;
}

int *imalloc__(long long n, const char *msg) {
  return static_cast<int *>(RVmalloc__(n * static_cast<long long>(sizeof(int)), msg));
}

int *ismalloc__(long long n, int value, const char *msg) {
  int *x = imalloc__(n, msg);
  for (long long i = 0; i < n; i++) x[i] = value;
  return x;
}

float *fmalloc__(long long n, const char *msg) {
  return static_cast<float *>(RVmalloc__(n * static_cast<long long>(sizeof(float)), msg));
}

float *fsmalloc__(long long n, float value, const char *msg) {
  float *x = fmalloc__(n, msg);
  for (long long i = 0; i < n; i++) x[i] = value;
  return x;
}

FILE *RVfopen__(const char *path, const char *mode, const char *msg) {
  FILE *fp = std::fopen(path, mode);
  if (fp == nullptr) {
    if (FailureTrap *trap = CurrentTrap__())
      FailTrappedCallf__(trap, kFailedArguments, "%s: %s", msg, std::strerror(errno));
    // The detailed text is composed but, as ever, only the description reaches the user.
    char detail[256];
    std::snprintf(detail, sizeof(detail), "file: %s, mode: %s, [%s]", path, mode, msg);
    (void)detail;
    std::perror(msg);
    std::fflush(stdout);
    MarkFatalExit__();
    std::exit(fatal_status);
  }
  return fp;
}

void RVfclose__(FILE *fp) {
  std::fclose(fp);
}

double seconds__() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  double user = usage.ru_utime.tv_sec + 1.0e-6 * usage.ru_utime.tv_usec;
  double sys = usage.ru_stime.tv_sec + 1.0e-6 * usage.ru_stime.tv_usec;
  return user + sys;
}

int *iset__(int n, int value, int *x) {
  for (int i = 0; i < n; i++) x[i] = value;
  return x;
}

int *icopy__(int n, const int *src, int *dst) {
  // The refiners copy whole pin-count and gain arrays every pass; memcpy is the fastest copy
  // there is. An empty array may be null, which memcpy must not be handed.
  if (n > 0) std::memcpy(dst, src, sizeof(int) * static_cast<size_t>(n));
  return dst;
}

int iasum__(int n, const int *x) {
  int sum = 0;
  for (int i = 0; i < n; i++) sum += x[i];
  return sum;
}

int iamax__(int n, const int *x) {
  int max = 0;
  for (int i = 1; i < n; i++)
    if (x[i] > x[max]) max = i;
  return max;
}

int iamin__(int n, const int *x) {
  int min = 0;
  for (int i = 1; i < n; i++)
    if (x[i] < x[min]) min = i;
  return min;
}

double *dcopy__(int n, const double *src, double *dst) {
  for (int i = 0; i < n; i++) dst[i] = src[i];
  return dst;
}

float sasum__(int n, const float *x) {
  float sum = 0;
  for (int i = 0; i < n; i++) sum += x[i];
  return sum;
}

double dasum__(int n, const double *x) {
  double sum = 0;
  for (int i = 0; i < n; i++) sum += x[i];
  return sum;
}

double ddot__(int n, const double *x, const double *y) {
  double sum = 0;
  for (int i = 0; i < n; i++) sum += x[i] * y[i];
  return sum;
}

void daxpy__(int n, const double *x, double *y, double alpha) {
  for (int i = 0; i < n; i++) y[i] += alpha * x[i];
}

void dscal__(int n, double *x, double alpha) {
  for (int i = 0; i < n; i++) x[i] *= alpha;
}

void dswap__(int n, double *x, double *y) {
  for (int i = 0; i < n; i++) {
    double tmp = x[i];
    x[i] = y[i];
    y[i] = tmp;
  }
}

double dnrm2__(int n, const double *x) {
  return std::sqrt(ddot__(n, x, x));
}

void InitTimers__(RunTimers *time) {
  *time = RunTimers{};
}

void PrintTimers__(const RunTimers *time, int detail) {
  std::printf("\nTiming Information ---------------------------------------------------------");
  std::printf("\n Multilevel: \t\t %7.3f", time->MultilevelTmr);
  std::printf("\n     Coarsening: \t\t %7.3f", time->CoarsenTmr);
  std::printf("\n     Initial Partition: \t %7.3f", time->InitPartTmr);
  std::printf("\n     Uncoarsening: \t\t %7.3f", time->UncoarsenTmr);
  std::printf("\n             Aux1: \t\t %7.3f", time->AuxTmr1);
  std::printf("\n             Aux2: \t\t %7.3f", time->AuxTmr2);
  std::printf("\n             Aux3: \t\t %7.3f", time->AuxTmr3);
  std::printf("\n             Aux4: \t\t %7.3f", time->AuxTmr4);
  if (detail) {
    std::printf("\n        Refinement: \t\t\t %7.3f", time->RefTmr);
    std::printf("\n            Initialize: \t\t\t %7.3f", time->InitRefTmr);
    std::printf("\n            Iterate: \t\t\t\t %7.3f", time->IterTmr);
    std::printf("\n            Wrap Up: \t\t\t\t %7.3f", time->WrapUpTmr);
  }
  std::printf("\n Total: \t\t %7.3f", time->TotalTmr);
  std::printf("\n----------------------------------------------------------------------------");
}

}  // namespace hypra
