// Failure traps: how a library call reports an error instead of ending its host. While a trap is
// set on a thread, a fatal error records its message in the trap and unwinds to the call, and
// every array the engine allocates meanwhile is tracked, so that the call can release what the
// failed run left behind and the next call starts clean.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_set>

#include "core/core.h"

namespace hypra {

struct FailureTrap::Blocks {
  std::mutex lock;  // guards live
  std::unordered_set<void *> live;
  // Guards the status and message. A lock of its own, because a failure may be raised while
  // `lock` is held: growing `live` can run out of memory, and a program's out-of-memory handler
  // then fails the call from inside the insertion.
  std::mutex failure;
};

namespace {

thread_local FailureTrap *current_trap = nullptr;

}  // namespace

FailureTrap::FailureTrap() : status(0), message{}, blocks(new Blocks) {}

FailureTrap::~FailureTrap() {
  delete blocks;
}

FailureTrap *CurrentTrap__() {
  return current_trap;
}

void SetCurrentTrap__(FailureTrap *trap) {
  current_trap = trap;
}

void FailTrappedCall__(FailureTrap *trap, int status, const char *format, va_list args) {
  {
    std::lock_guard<std::mutex> guard(trap->blocks->failure);
    // The first failure explains the call; others (of runs beside it) follow from the same cause.
    if (trap->status == 0) {
      trap->status = status;
      std::vsnprintf(trap->message, sizeof(trap->message), format, args);
      size_t n = std::strlen(trap->message);
      while (n > 0 && (trap->message[n - 1] == '\n' || trap->message[n - 1] == ' '))
        trap->message[--n] = '\0';
    }
  }
  throw CallFailed{};
}

void FailTrappedCallf__(FailureTrap *trap, int status, const char *format, ...) {
  va_list args;
  va_start(args, format);
  FailTrappedCall__(trap, status, format, args);
}

void TrackMemory__(FailureTrap *trap, void *ptr) {
  try {
    std::lock_guard<std::mutex> guard(trap->blocks->lock);
    trap->blocks->live.insert(ptr);
  } catch (...) {
    std::free(ptr);
    FailTrappedCallf__(trap, kFailedMemory, "Memory allocation failed: out of memory");
  }
}

void RetrackMemory__(FailureTrap *trap, uintptr_t from, void *to) {
  bool tracked = true;
  {
    std::lock_guard<std::mutex> guard(trap->blocks->lock);
    trap->blocks->live.erase(reinterpret_cast<void *>(from));
    try {
      trap->blocks->live.insert(to);
    } catch (...) {
      tracked = false;
    }
  }
  if (!tracked) {
    std::free(to);
    FailTrappedCallf__(trap, kFailedMemory, "Memory allocation failed: out of memory");
  }
}

void ReleaseMemory__(void *ptr) {
  if (ptr == nullptr) return;
  if (FailureTrap *trap = current_trap) {
    std::lock_guard<std::mutex> guard(trap->blocks->lock);
    trap->blocks->live.erase(ptr);
  }
  std::free(ptr);
}

void ReleaseTrappedMemory__(FailureTrap *trap) {
  std::lock_guard<std::mutex> guard(trap->blocks->lock);
  for (void *ptr : trap->blocks->live) std::free(ptr);
  trap->blocks->live.clear();
}

}  // namespace hypra
