// Thread scheduling: one pool of worker threads per partitioning call, on which independent
// pieces of a run (the runs of a bisection, the two sides of a split) execute side by side.
// Everything else in the engine stays single-threaded and unaware of threads.
#pragma once

#include <mutex>

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

// The threads a scheduler runs tasks on (1 for a null one).
int SchedulerThreads__(const Scheduler *sched);

// Runs task(i) for i = 0 .. n - 1 and followup() once, and returns when all have finished. The
// follow-up starts on a thread that, having finished a task, finds at most `lead` tasks not yet
// started (or none at all), so that it overlaps the last tasks instead of waiting for them; on
// one thread it comes after every task. Tasks are started in index order.
template <typename Task, typename FollowUp>
void ForEachTaskWithFollowUp__(Scheduler *sched, int n, int lead, Task &&task,
                               FollowUp &&followup) {
  const int nthreads = SchedulerThreads__(sched);
  if (nthreads <= 1 || n <= 0) {
    for (int i = 0; i < n; i++) task(i);
    followup();
    return;
  }
  std::mutex lock;
  int next = 0;
  bool followed = false;
  ForEachTask__(sched, nthreads, [&](int) {
    bool finished = false;
    for (;;) {
      int i = -1;
      {
        std::lock_guard<std::mutex> guard(lock);
        if (!followed && (next == n || (finished && n - next <= lead)))
          followed = true;
        else if (next < n)
          i = next++;
        else
          return;
      }
      if (i < 0) {
        followup();
      } else {
        task(i);
        finished = true;
      }
    }
  });
}

}  // namespace hypra
