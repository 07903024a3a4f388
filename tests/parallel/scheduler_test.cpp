#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "parallel/parallel.h"

using namespace hypra;

namespace {

TEST(Scheduler, RunsEveryTaskOnceForAnyThreadCount) {
  for (int threads : {1, 2, 3, 8}) {
    Scheduler *sched = CreateScheduler__(threads);
    std::vector<std::atomic<int>> runs(100);
    ForEachTask__(sched, 100, [&](int i) { runs[i]++; });
    for (int i = 0; i < 100; i++) EXPECT_EQ(runs[i].load(), 1) << threads << " " << i;
    FreeScheduler__(sched);
  }
}

TEST(Scheduler, NestedTasksFinishWithoutBlockingEveryThread) {
  // Each of 6 tasks waits for 6 tasks of its own, which wait for 4 more: with fewer threads than
  // waiting tasks, only helping with queued work lets this finish.
  Scheduler *sched = CreateScheduler__(3);
  std::atomic<int> leaves{0};
  ForEachTask__(sched, 6, [&](int) {
    ForEachTask__(sched, 6, [&](int) { ForEachTask__(sched, 4, [&](int) { leaves++; }); });
  });
  EXPECT_EQ(leaves.load(), 6 * 6 * 4);
  FreeScheduler__(sched);
}

TEST(Scheduler, WithoutASchedulerTasksRunInOrderOnTheCaller) {
  std::vector<int> order;
  ForEachTask__(nullptr, 5, [&](int i) { order.push_back(i); });
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
  Scheduler *one = CreateScheduler__(1);
  order.clear();
  ForEachTask__(one, 5, [&](int i) { order.push_back(i); });
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
  FreeScheduler__(one);
}

TEST(Scheduler, FollowUpComesAfterEveryTaskOnOneThread) {
  for (int threads : {0, 1}) {
    Scheduler *sched = threads == 0 ? nullptr : CreateScheduler__(threads);
    std::vector<int> order;
    ForEachTaskWithFollowUp__(
        sched, 5, 1, [&](int i) { order.push_back(i); }, [&] { order.push_back(-1); });
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, -1})) << threads;
    FreeScheduler__(sched);
  }
}

TEST(Scheduler, FollowUpOverlapsTheLastTaskAndRunsOnce) {
  // The last task waits (a bounded while) for the follow-up to start: it can only see it when
  // the follow-up starts while the last task is still unfinished.
  for (int threads : {2, 3, 8}) {
    Scheduler *sched = CreateScheduler__(threads);
    std::vector<std::atomic<int>> runs(6);
    std::atomic<int> followups{0};
    std::atomic<bool> overlapped{false};
    ForEachTaskWithFollowUp__(
        sched, 6, 1,
        [&](int i) {
          runs[i]++;
          if (i != 5) return;
          for (int wait = 0; wait < 10000 && followups.load() == 0; wait++)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
          overlapped = followups.load() > 0;
        },
        [&] { followups++; });
    for (int i = 0; i < 6; i++) EXPECT_EQ(runs[i].load(), 1) << threads << " " << i;
    EXPECT_EQ(followups.load(), 1) << threads;
    EXPECT_TRUE(overlapped.load()) << threads;
    FreeScheduler__(sched);
  }
}

}  // namespace
