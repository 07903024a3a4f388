#include <gtest/gtest.h>

#include <string>

#include "common/test_run.h"
#include "core/core.h"

using namespace hypra;

namespace {

TEST(Runtime, ZeroElementAllocationIsNull) {
  EXPECT_EQ(imalloc__(0, "test: zero"), nullptr);
  EXPECT_EQ(ismalloc__(0, 5, "test: zero"), nullptr);
  EXPECT_EQ(fmalloc__(0, "test: zero"), nullptr);
  EXPECT_EQ(RVmalloc__(0, "test: zero"), nullptr);
}

TEST(Runtime, IsmallocSetsEveryElement) {
  int *x = ismalloc__(5, -1, "test: x");
  for (int i = 0; i < 5; i++) EXPECT_EQ(x[i], -1);
  RVfree__(&x);
  EXPECT_EQ(x, nullptr);
}

TEST(Runtime, FreeSkipsNullAndNullsTheRest) {
  int *a = imalloc__(3, "test: a");
  int *b = nullptr;
  float *c = fmalloc__(2, "test: c");
  RVfree__(&a, &b, &c);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(b, nullptr);
  EXPECT_EQ(c, nullptr);
  RVfree__(&a, &c);  // twice is harmless
}

TEST(RuntimeDeathTest, FailedAllocationNamesItsPurpose) {
  EXPECT_EXIT(imalloc__(-4, "Test: thing"), ::testing::ExitedWithCode(0),
              "Memory allocation failed for Test: thing. Requested size: -16 bytes");
}

TEST(Runtime, ReallocKeepsTheContentsAsTheBlockGrows) {
  int *x = static_cast<int *>(RVrealloc__(nullptr, 4 * sizeof(int), "test: x"));
  for (int i = 0; i < 4; i++) x[i] = i;
  // Large enough to leave the small-block heap, so the block moves at least once.
  for (long long n : {1000LL, 300000LL, 3000000LL}) {
    x = static_cast<int *>(RVrealloc__(x, n * static_cast<long long>(sizeof(int)), "test: x"));
    for (int i = 0; i < 4; i++) ASSERT_EQ(x[i], i);
    x[n - 1] = 7;  // the whole new size is there (sanitizers check)
  }
  RVfree__(&x);
}

TEST(Runtime, ReallocInsideATrappedCallIsReleasedByTheTrap) {
  // A block that moved is tracked under its new address: releasing the call's memory frees it
  // once (the leak checker and the address checker would see anything else).
  FailureTrap trap;
  SetCurrentTrap__(&trap);
  void *p = RVmalloc__(16, "test: p");
  p = RVrealloc__(p, 1 << 22, "test: p");
  static_cast<char *>(p)[(1 << 22) - 1] = 1;
  SetCurrentTrap__(nullptr);
  ReleaseTrappedMemory__(&trap);
}

TEST(Runtime, FailedReallocLeavesTheBlockToTheTrap) {
  FailureTrap trap;
  SetCurrentTrap__(&trap);
  int *p = imalloc__(8, "test: p");
  p[7] = 42;
  InjectAllocationFailure__(1);
  bool failed = false;
  try {
    RVrealloc__(p, 1 << 20, "test: grown p");
  } catch (const CallFailed &) {
    failed = true;
  }
  InjectAllocationFailure__(0);
  SetCurrentTrap__(nullptr);
  EXPECT_TRUE(failed);
  EXPECT_EQ(trap.status, kFailedMemory);
  EXPECT_NE(std::string(trap.message).find("test: grown p"), std::string::npos);
  EXPECT_EQ(p[7], 42);  // the block is untouched and still the trap's to release
  ReleaseTrappedMemory__(&trap);
}

TEST(RuntimeDeathTest, ErrexitPrintsAndExitsWithZero) {
  EXPECT_EXIT(errexit__("bad %d", 7), ::testing::ExitedWithCode(0), "^bad 7\n$");
}

TEST(RuntimeDeathTest, FailedOpenReportsDescription) {
  EXPECT_EXIT(RVfopen__("/nonexistent/dir/file", "r", "Can't open input file"),
              ::testing::ExitedWithCode(0), "Can't open input file: No such file or directory");
}

TEST(Runtime, IntegerHelpers) {
  int x[3] = {3, 7, 7};
  EXPECT_EQ(iamax__(3, x), 1);
  EXPECT_EQ(iamin__(3, x), 0);
  int y[4] = {4, 2, 9, 2};
  EXPECT_EQ(iamin__(4, y), 1);
  EXPECT_EQ(iamax__(1, y), 0);
  EXPECT_EQ(iamax__(0, y), 0);
  EXPECT_EQ(iasum__(4, y), 17);
  EXPECT_EQ(iasum__(0, y), 0);
  int z[4];
  icopy__(4, y, z);
  EXPECT_EQ(z[2], 9);
  iset__(4, 8, z);
  EXPECT_EQ(z[3], 8);
}

TEST(Runtime, FloatingHelpers) {
  double a[3] = {1, 2, 2}, b[3] = {3, 0, 1};
  EXPECT_DOUBLE_EQ(ddot__(3, a, b), 5.0);
  EXPECT_DOUBLE_EQ(dnrm2__(3, a), 3.0);
  EXPECT_DOUBLE_EQ(dasum__(3, a), 5.0);
  daxpy__(3, a, b, 2.0);
  EXPECT_DOUBLE_EQ(b[1], 4.0);
  dscal__(3, a, 0.5);
  EXPECT_DOUBLE_EQ(a[2], 1.0);
  dswap__(3, a, b);
  EXPECT_DOUBLE_EQ(a[0], 5.0);
  double c[3];
  dcopy__(3, b, c);
  EXPECT_DOUBLE_EQ(c[0], 0.5);
  float f[2] = {0.5f, 0.25f};
  EXPECT_FLOAT_EQ(sasum__(2, f), 0.75f);
  float *g = fsmalloc__(2, 1.5f, "test: g");
  EXPECT_EQ(g[1], 1.5f);
  RVfree__(&g);
}

TEST(Runtime, SecondsIsMonotoneCpuTime) {
  double t0 = seconds__();
  volatile double sink = 0;
  for (int i = 0; i < 2000000; i++) sink = sink + i;
  EXPECT_GE(seconds__(), t0);
}

TEST(Runtime, TimersPrintExactLayout) {
  RunTimers time{};
  time.TotalTmr = 99;
  InitTimers__(&time);
  EXPECT_EQ(time.TotalTmr, 0.0);
  time.MultilevelTmr = 1.5;
  time.RefTmr = 0.25;
  time.TotalTmr = 2.0;
  testing::internal::CaptureStdout();
  PrintTimers__(&time, 0);
  std::string plain = testing::internal::GetCapturedStdout();
  EXPECT_EQ(plain,
            "\nTiming Information ---------------------------------------------------------"
            "\n Multilevel: \t\t   1.500"
            "\n     Coarsening: \t\t   0.000"
            "\n     Initial Partition: \t   0.000"
            "\n     Uncoarsening: \t\t   0.000"
            "\n             Aux1: \t\t   0.000"
            "\n             Aux2: \t\t   0.000"
            "\n             Aux3: \t\t   0.000"
            "\n             Aux4: \t\t   0.000"
            "\n Total: \t\t   2.000"
            "\n----------------------------------------------------------------------------");
  testing::internal::CaptureStdout();
  PrintTimers__(&time, 1);
  std::string detailed = testing::internal::GetCapturedStdout();
  EXPECT_NE(detailed.find("\n        Refinement: \t\t\t   0.250"
                          "\n            Initialize: \t\t\t   0.000"
                          "\n            Iterate: \t\t\t\t   0.000"
                          "\n            Wrap Up: \t\t\t\t   0.000"
                          "\n Total: "),
            std::string::npos);
}

TEST(Runtime, TimersRunOnlyWithTheTimerBit) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  double tmr = 0;
  starttimer__(&ctrl, tmr);
  stoptimer__(&ctrl, tmr);
  EXPECT_EQ(tmr, 0.0);
  ctrl.run->now.dbglvl = DBG_TIME;
  starttimer__(&ctrl, tmr);
  EXPECT_LT(tmr, 0.0);
  stoptimer__(&ctrl, tmr);
  EXPECT_GE(tmr, 0.0);
}

}  // namespace
