// The worker pool behind RunTasks__: a shared queue of tasks, each belonging to the group of the
// call that queued it. A caller runs its first task itself, then helps with whatever is queued
// until its group is done.
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "parallel/parallel.h"

namespace hypra {

namespace {

struct Group {
  int pending;
};

struct Task {
  void (*run)(void *, int);
  void *context;
  int index;
  Group *group;
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

// Runs one task and counts it done; takes and returns with the lock held.
void RunOne(Scheduler *sched, std::unique_lock<std::mutex> &lock, const Task &task) {
  lock.unlock();
  task.run(task.context, task.index);
  lock.lock();
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

void RunTasks__(Scheduler *sched, int n, void (*task)(void *context, int i), void *context) {
  if (n <= 0) return;
  if (sched == nullptr || sched->workers.empty()) {
    for (int i = 0; i < n; i++) task(context, i);
    return;
  }
  Group group{n};
  std::unique_lock<std::mutex> lock(sched->mutex);
  for (int i = 1; i < n; i++) sched->queue.push_back(Task{task, context, i, &group});
  if (n > 1) sched->changed.notify_all();
  RunOne(sched, lock, Task{task, context, 0, &group});
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
}

}  // namespace hypra
