// Thread scheduling: one pool of worker threads per partitioning call, on which independent
// pieces of a run (the runs of a bisection, the two sides of a split) execute side by side.
// Everything else in the engine stays single-threaded and unaware of threads.
#pragma once

#include "core/core.h"

namespace hypra {

// A pool of nthreads - 1 workers; the thread that asks for tasks is the nth. With nthreads 1
// every task runs on the calling thread, in order.
Scheduler *CreateScheduler__(int nthreads);
void FreeScheduler__(Scheduler *sched);

// Runs task(context, i) for i = 0 .. n - 1 and returns when all have finished. Tasks may ask for
// tasks of their own: a thread waiting for its tasks runs queued ones meanwhile, so nesting
// never leaves every thread blocked. A null scheduler runs the tasks in order on the caller.
void RunTasks__(Scheduler *sched, int n, void (*task)(void *context, int i), void *context);

// The same for any callable taking the task index.
template <typename Task>
void ForEachTask__(Scheduler *sched, int n, Task &&task) {
  RunTasks__(
      sched, n, [](void *context, int i) { (*static_cast<Task *>(context))(i); },
      static_cast<void *>(&task));
}

}  // namespace hypra
