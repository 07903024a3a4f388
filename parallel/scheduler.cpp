// The worker pool behind RunTasks__: a shared queue of tasks, each belonging to the group of the
// call that queued it. A caller runs its first task itself, then helps with whatever is queued
// until its group is done.
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "parallel/parallel.h"

namespace hypra {

namespace {

struct Group {
  int pending;
  std::exception_ptr error;  // the first failure of one of its tasks
};

struct Task {
  void (*run)(void *, int);
  void *context;
  int index;
  Group *group;
  FailureTrap *trap;  // the caller's, set on whichever thread runs the task
};

}  // namespace

struct Scheduler {
  std::mutex mutex;
  std::condition_variable changed;  // a task was queued or a group finished
  std::deque<Task> queue;
  std::vector<std::thread> workers;
  bool stopping = false;
};

namespace {

// Runs one task and counts it done; takes and returns with the lock held. A task that fails
// hands its exception to its group, whose caller rethrows it once every task of the group is
// over; the tasks of a failed group that have not started are skipped.
void RunOne(Scheduler *sched, std::unique_lock<std::mutex> &lock, const Task &task) {
  if (!task.group->error) {
    lock.unlock();
    FailureTrap *const own = CurrentTrap__();
    SetCurrentTrap__(task.trap);
    std::exception_ptr error;
    try {
      task.run(task.context, task.index);
    } catch (...) {
      error = std::current_exception();
    }
    SetCurrentTrap__(own);
    lock.lock();
    if (error && !task.group->error) task.group->error = error;
  }
  if (--task.group->pending == 0) sched->changed.notify_all();
}

void WorkerLoop(Scheduler *sched) {
  std::unique_lock<std::mutex> lock(sched->mutex);
  for (;;) {
    sched->changed.wait(lock, [sched] { return sched->stopping || !sched->queue.empty(); });
    if (sched->queue.empty()) return;  // stopping, and nothing left
    const Task task = sched->queue.front();
    sched->queue.pop_front();
    RunOne(sched, lock, task);
  }
}

}  // namespace

Scheduler *CreateScheduler__(int nthreads) {
  auto *sched = new Scheduler;
  if (nthreads > 1) sched->workers.reserve(static_cast<size_t>(nthreads) - 1);
  for (int i = 1; i < nthreads; i++) {
    // Out of threads or of memory for their stacks, the pool keeps the workers it has: the
    // result does not depend on how many there are, only the time does.
    try {
      sched->workers.emplace_back(WorkerLoop, sched);
    } catch (const std::system_error &) {
      break;
    }
  }
  return sched;
}

void FreeScheduler__(Scheduler *sched) {
  if (sched == nullptr) return;
  {
    std::lock_guard<std::mutex> lock(sched->mutex);
    sched->stopping = true;
  }
  sched->changed.notify_all();
  for (std::thread &worker : sched->workers) worker.join();
  delete sched;
}

int SchedulerThreads__(const Scheduler *sched) {
  return sched == nullptr ? 1 : static_cast<int>(sched->workers.size()) + 1;
}

void RunTasks__(Scheduler *sched, int n, void (*task)(void *context, int i), void *context) {
  if (n <= 0) return;
  if (sched == nullptr || sched->workers.empty()) {
    for (int i = 0; i < n; i++) task(context, i);
    return;
  }
  Group group{n, nullptr};
  FailureTrap *const trap = CurrentTrap__();
  std::unique_lock<std::mutex> lock(sched->mutex);
  // Out of memory for the queue, the caller runs what it could not queue itself: every task
  // queued refers to this frame's group, so nothing may leave it before they are all done.
  // A failed allocation may also come back as the library's own failure (a trap's exception):
  // it is passed on, like a task's, once the group is over.
  int queued = 1;
  std::exception_ptr queue_error;
  try {
    for (; queued < n; queued++) sched->queue.push_back(Task{task, context, queued, &group, trap});
  } catch (...) {
    queue_error = std::current_exception();
  }
  if (queued > 1) sched->changed.notify_all();
  RunOne(sched, lock, Task{task, context, 0, &group, trap});
  for (int i = queued; i < n; i++) RunOne(sched, lock, Task{task, context, i, &group, trap});
  while (group.pending > 0) {
    if (!sched->queue.empty()) {
      // The most recently queued task first: most likely one of ours, or a small nested one.
      const Task next = sched->queue.back();
      sched->queue.pop_back();
      RunOne(sched, lock, next);
    } else {
      sched->changed.wait(lock);
    }
  }
  if (group.error) std::rethrow_exception(group.error);
  if (queue_error && trap != nullptr) std::rethrow_exception(queue_error);
}

}  // namespace hypra
